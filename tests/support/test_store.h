#pragma once

// What nearly every test needs.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "configstore/configstore.h"
#include "platform/db_store.h"
#include "platform/host_paths.h"
#include "platform/schema_store.h"
#include "support/log_capture.h"
#include "support/temp_root.h"

/// Returns `text` `times` over.
std::string Repeated(const std::string& text, size_t times);
/// Returns the permission bits of a file.
fs::perms ModeOf(const std::string& path);
/// Runs `action` in a forked child, which ends with its result.
pid_t StartChild(const std::function<int()>& action);
/// Waits for a child's end and returns its result; -1 when it died or threw.
int ResultOf(pid_t child);
int InChild(const std::function<int()>& action);
/// Returns the rows of a query: columns joined by a blank, "-" for NULL, rows by
/// "; "; "failed" when it fails.
std::string RowsOf(const std::shared_ptr<DBStore::StoreConnection>& connection, const std::string& sql,
                   int timeoutMs = 0);

/// Puts a row in place by hand: columns, "UserValue, Success", and what they hold, as SQL.
void PutRow(const OrvoConfigStore::ConfigStoreObjectId& id, const std::string& columns, const std::string& values,
            const std::string& table = "Config");

/// Has every statement of that kind fail, "UPDATE OF Success ON Config".
void FailAt(const std::string& kind);
/// Returns JSON with " for '.
std::string Quoted(std::string json);
/// Returns a value as text.
std::string JsonText(const OrvoConfigStore::JsonValue& value);

/// Returns the path of one of the example files, "components/netd/schema/stack_settings.json".
std::string ExampleFile(const std::string& name);
/// Returns its content.
std::string ExampleText(const std::string& name);

/// The example types.
const OrvoConfigStore::ConfigStoreObjectId kStackSettings("stack_settings", "ipstack", "netd");
const OrvoConfigStore::ConfigStoreObjectId kTimeSource("time_source", "sync", "clockd");
OrvoConfigStore::ConfigStoreObjectId UserAccount(const std::string& instanceId);

/// A store in a temporary host root, with types registered.
class TestStore {
 public:
  /// Registers the example types and those of `schemaFiles`, texts of schema files.
  explicit TestStore(const std::vector<std::string>& schemaFiles = {});
  ~TestStore();

  const TempRoot& Root() const { return root_; }
  OrvoConfigStore::ConfigStore& operator*() { return *store; }
  OrvoConfigStore::ConfigStore* operator->() { return store.get(); }

  /// Registers a type from the text of a schema file.
  void Register(const std::string& schemaFile);
  static std::shared_ptr<OrvoSchemaStore::SchemaObject> Schema(const OrvoConfigStore::ConfigStoreObjectId& id);

  /// Sets an object from its JSON text, as an outside caller.
  void Set(const OrvoConfigStore::ConfigStoreObjectId& id, const std::string& json);
  /// Returns the merged object's data, "-" when nothing is stored.
  std::string Get(const OrvoConfigStore::ConfigStoreObjectId& id);

  /// Runs a statement on a connection of its own; fails the test when it fails.
  void Run(const std::string& sql);
  /// Returns the rows of a query: columns joined by a blank, "-" for NULL, rows by "; ".
  std::string Query(const std::string& sql);
  /// Returns "AutoConf User Vital Cached Desired Success" of the rows of a key.
  std::string Layers(const std::string& key);

 private:
  TempRoot root_;

 public:
  std::shared_ptr<OrvoConfigStore::ConfigStore> store;
  std::shared_ptr<DBStore::StoreConnection> connection;
};

/// Runs `action` and returns what it threw, "CODE MESSAGE [field: error; ...]", or "" for nothing.
template <class Action>
std::string Thrown(Action action) {
  try {
    action();
  } catch (const OrvoConfigStore::ValidationException& e) {
    std::string text = std::to_string(e.GetErrorCode()) + " " + e.what();
    const char* separator = " [";
    for (const OrvoConfigStore::ErrorInfo& info : e.GetErrors()) {
      text += separator + info.field + ": " + info.error;
      separator = "; ";
    }
    return e.GetErrors().empty() ? text : text + "]";
  } catch (const OrvoConfigStore::ConfigStoreException& e) {
    return std::to_string(e.GetErrorCode()) + " " + e.what();
  } catch (const std::exception& e) {
    return std::string("std ") + e.what();
  }
  return "";
}
