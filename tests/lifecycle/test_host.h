#pragma once

#include "support/test_store.h"

/// A host in a temporary root, with packages, its log captured. Every statement
/// runs on a connection of its own: loading replaces the store.
struct TestHost {
  /// Installs the example packages and loads the store for the first time.
  TestHost() {
    for (const char* package : {"netd", "clockd", "accessd"}) Install(package);
    OrvoConfigStore::ProcessSchemas({});
  }

  /// Puts the files of an example package in place.
  void Install(const std::string& package) const {
    const fs::path to = PackagePath(package);
    fs::create_directories(to);
    fs::copy(ExampleFile("components/" + package), to, fs::copy_options::recursive);
  }
  std::string PackagePath(const std::string& package) const {
    return root.Resolve(HaldenLib::kComponentsDirectory) + "/" + package;
  }
  /// Writes a shell script of the host. The root's /bin comes before the machine's.
  void Program(const std::string& path, const std::string& script) const {
    fs::permissions(root.Write(path, "#!/bin/sh\n" + script), fs::perms::owner_all);
  }

  static void Run(const std::string& sql) { EXPECT_EQ("", Query(sql)) << sql; }
  static std::string Query(const std::string& sql, DBStore::Type type = DBStore::TYPE_STORE) {
    return RowsOf(DBStore::GetConnection(type), sql, DBStore::kBusyTimeout);
  }
  /// Returns "KEY[@INSTANCE] USER DESIRED SUCCESS" of all objects.
  static std::string Rows() {
    return Query(
        "SELECT Name || CASE Identifier WHEN '' THEN '' ELSE '@' || Identifier END, UserValue, DesiredValue, Success "
        "FROM Config ORDER BY Name, Identifier;");
  }
  /// Adds an object by hand: its layers are SQL expressions.
  static void Put(const OrvoConfigStore::ConfigStoreObjectId& id, const std::string& layers) {
    PutRow(id, "AutoConfValue, UserValue, VitalValue, DesiredValue, Success", layers);
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
  bool Logged(const std::string& words) const { return log.Has(words); }

  const TempRoot root;
  const LogCapture log{root};
};
