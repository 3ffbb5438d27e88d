#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "configstore/configstore.h"
#include "platform/db_store.h"
#include "platform/host_paths.h"
#include "support/log_capture.h"
#include "support/temp_root.h"
#include "support/test_store.h"

/// A host in a temporary root, with packages, its log captured. Every statement
/// runs on a connection of its own: loading replaces the store.
class TestHost {
 public:
  /// Installs the example packages and loads the store for the first time.
  TestHost() {
    for (const char* package : {"netd", "clockd", "accessd"}) Install(package);
    OrvoConfigStore::ProcessSchemas({});
  }

  /// Puts the files of an example package in place.
  void Install(const std::string& package) const {
    namespace fs = std::filesystem;
    const fs::path to = PackagePath(package);
    fs::create_directories(to);
    fs::copy(ExampleFile("components/" + package), to, fs::copy_options::recursive);
  }
  std::string PackagePath(const std::string& package) const {
    return root.Resolve(HaldenLib::kComponentsDirectory) + "/" + package;
  }

  void Run(const std::string& sql) const {
    EXPECT_EQ(0, DBStore::ExecuteV2(DBStore::GetConnection(DBStore::TYPE_STORE), sql, nullptr, nullptr, 0)) << sql;
  }
  /// Returns the rows of a query: columns joined by a blank, "-" for NULL, rows by "; ".
  std::string Query(const std::string& sql, DBStore::Type type = DBStore::TYPE_STORE) const {
    std::string rows;
    const auto append = [](void* out, int columns, char** texts, char**) {
      std::string& all = *static_cast<std::string*>(out);
      if (!all.empty()) all += "; ";
      for (int i = 0; i < columns; ++i) all += std::string(i == 0 ? "" : " ") + (texts[i] == nullptr ? "-" : texts[i]);
      return 0;
    };
    EXPECT_EQ(0, DBStore::ExecuteV2(DBStore::GetConnection(type), sql, append, &rows, DBStore::kBusyTimeout)) << sql;
    return rows;
  }
  /// Returns "KEY[@INSTANCE] USER DESIRED SUCCESS" of all objects.
  std::string Rows() const {
    return Query(
        "SELECT Name || CASE Identifier WHEN '' THEN '' ELSE '@' || Identifier END, UserValue, DesiredValue, Success "
        "FROM Config ORDER BY Name, Identifier;");
  }
  /// Adds an object by hand: its layers are SQL expressions.
  void Put(const OrvoConfigStore::ConfigStoreObjectId& id, const std::string& layers) const {
    Run("INSERT OR REPLACE INTO Config(Component, ConfigGroup, Name, Identifier, AutoConfValue, UserValue, VitalValue, "
        "DesiredValue, Success) VALUES('" +
        id.component + "','" + id.group + "','" + id.key + "','" + id.instanceId + "'," + layers + ");");
  }

  static std::shared_ptr<OrvoConfigStore::ConfigStoreObject> Object(const OrvoConfigStore::ConfigStoreObjectId& id,
                                                                    const std::string& json) {
    return OrvoConfigStore::ConfigStore::CreateObject(id, json);
  }
  static void SetUser(const OrvoConfigStore::ConfigStoreObjectId& id, const std::string& json) {
    OrvoConfigStore::ConfigStore::GetStore("")->SetUserData(Object(id, json), {});
  }
  /// Returns what a client reads, "-" for nothing.
  static std::string Get(const OrvoConfigStore::ConfigStoreObjectId& id) {
    const auto object = OrvoConfigStore::ConfigStore::GetStore("")->Get(id);
    return object == nullptr ? "-" : object->GetData();
  }
  static bool Exists(const std::string& path) { return HaldenLib::FileExists(path); }

  /// Whether a line that holds `words` has been logged.
  bool Logged(const std::string& words) const {
    for (const std::string& line : log.Lines()) {
      if (line.find(words) != std::string::npos) return true;
    }
    return false;
  }

  const TempRoot root;
  const LogCapture log{root};
};
