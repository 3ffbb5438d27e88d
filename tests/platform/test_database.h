#pragma once

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "platform/db_store.h"
#include "platform/host_paths.h"
#include "platform/open_database.h"
#include "support/temp_root.h"

/// The two databases, made in a temporary root, and connections to the store.
class TestDatabase {
 public:
  using Connection = std::shared_ptr<DBStore::StoreConnection>;

  TestDatabase() { DBStore::CreateDatabases(); }

  static Connection Connect() { return DBStore::GetConnection(DBStore::TYPE_STORE); }

  static int Run(const Connection& connection, const std::string& sql, int timeoutMs = 0) {
    return DBStore::ExecuteV2(connection, sql, nullptr, nullptr, timeoutMs);
  }

  /// Returns the rows of a query: columns joined by a blank, "-" for NULL, rows
  /// by "; "; "failed" when it fails.
  static std::string Query(const Connection& connection, const std::string& sql) {
    std::string rows;
    return DBStore::ExecuteV2(connection, sql, AppendRow, &rows, 0) == 0 ? rows : "failed";
  }

  /// Adds the value as a row of its own.
  static int Put(const Connection& connection, const std::string& key, const std::string& value = "") {
    return Run(connection, "INSERT INTO KVTable(Key, Value) VALUES('" + key + "', '" + value + "');");
  }
  /// Returns the keys, in the order of their writing, that a connection finds; "-" for none.
  static std::string Keys(const Connection& connection) {
    return Query(connection, "SELECT group_concat(Key, ' ') FROM (SELECT Key FROM KVTable ORDER BY rowid)");
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

 private:
  static int AppendRow(void* rows, int columns, char** texts, char**) {
    std::string& all = *static_cast<std::string*>(rows);
    if (!all.empty()) all += "; ";
    for (int column = 0; column < columns; ++column) {
      all += (column > 0 ? " " : "") + std::string(texts[column] == nullptr ? "-" : texts[column]);
    }
    return 0;
  }
};

/// Runs `action` in a forked child and returns its result; -1 when it died.
template <class Action>
int InChild(Action action) {
  const pid_t child = fork();
  if (child == 0) _exit(action());
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

/// Returns a file's size, -1 when there is none.
inline long SizeOf(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 ? long{status.st_size} : -1;
}
