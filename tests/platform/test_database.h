#pragma once

#include <sqlite3.h>

#include "platform/open_database.h"
#include "support/test_store.h"

/// The two databases, made in a temporary root, and connections to the store.
struct TestDatabase {
  using Connection = std::shared_ptr<DBStore::StoreConnection>;

  TestDatabase() { DBStore::CreateDatabases(); }

  static Connection Connect() { return DBStore::GetConnection(DBStore::TYPE_STORE); }
  static int Run(const Connection& connection, const std::string& sql) {
    return DBStore::ExecuteV2(connection, sql, nullptr, nullptr, 0);
  }
  /// Adds the value as a row of its own.
  static int Put(const Connection& connection, const std::string& key, const std::string& value = "") {
    return Run(connection, "INSERT INTO KVTable(Key, Value) VALUES('" + key + "', '" + value + "');");
  }
  /// Returns the keys, in the order of their writing, that a connection finds; "-" for none.
  static std::string Keys(const Connection& connection) {
    return RowsOf(connection, "SELECT group_concat(Key, ' ') FROM (SELECT Key FROM KVTable ORDER BY rowid)");
  }
  static std::string StoredKeys() { return Keys(Connect()); }

  /// Returns the store's journal mode, without a statement of a connection, which
  /// would see to the mode first.
  static std::string JournalMode() {
    using namespace DBStore;
    const Database store = OpenDatabase(HaldenLib::kStoreFile, Access::ReadOnly, WhenMissing::Report, nullptr);
    std::string mode;
    const auto take = [](void* result, int, char** texts, char**) {
      *static_cast<std::string*>(result) = texts[0];
      return 0;
    };
    sqlite3_exec(store.get(), "PRAGMA journal_mode", take, &mode, nullptr);
    return mode;
  }

  const TempRoot root;
};
