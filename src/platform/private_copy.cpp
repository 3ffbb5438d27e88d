#include <memory>
#include <string>
#include <string_view>

#include "platform/database_schema.h"
#include "platform/db_failure.h"
#include "platform/db_store.h"
#include "platform/host_files.h"
#include "platform/host_paths.h"
#include "platform/per_thread.h"
#include "platform/query_rows.h"
#include "platform/rehearsal.h"
#include "platform/store_connection.h"
#include "platform/store_tables.h"

namespace DBStore {

namespace {

/// What the state before is kept as; the indexes make looking it up fast.
constexpr char kKeepBefore[] =
    "CREATE TEMP TABLE BeforeConfig AS SELECT * FROM Config; "
    "CREATE UNIQUE INDEX temp.BeforeConfigKey ON BeforeConfig(Component, ConfigGroup, Name, Identifier); "
    "CREATE TEMP TABLE BeforeDefaultConfig AS SELECT * FROM DefaultConfig; "
    "CREATE UNIQUE INDEX temp.BeforeDefaultKey ON BeforeDefaultConfig(Component, ConfigGroup, Name, Identifier); "
    "CREATE TEMP TABLE BeforeDesiredUserConfig AS SELECT * FROM DesiredUserConfig; "
    "CREATE UNIQUE INDEX temp.BeforeDesiredKey ON BeforeDesiredUserConfig(Component, ConfigGroup, Name, Identifier); "
    "CREATE TEMP TABLE BeforeKVTable AS SELECT * FROM KVTable;";

/// The calling thread's rehearsal.
struct Rehearsal {
  std::shared_ptr<StoreConnection> connection;
  sqlite3* database = nullptr;  // the connection's
};

Rehearsal& OfThisThread() {
  return HaldenLib::PerThread<Rehearsal>::Get();
}

/// Opens a file to copy from. One that nobody has open leaves no trace of that.
Database OpenSource(const std::string& path) {
  if (path == HaldenLib::kStoreFile) return OpenDatabase(path, Access::ReadWrite, WhenMissing::Record, nullptr);
  const bool isAlone = !HaldenLib::FileExists(path + "-wal") && !HaldenLib::FileExists(path + "-journal");
  return OpenDatabase(path, isAlone ? Access::ReadAlone : Access::ReadOnly, WhenMissing::Record, nullptr);
}

Database CopyToMemory(const std::string& path) {
  ClearFailure();
  const Database source = OpenSource(path);
  Database copy = OpenInMemory();
  if (source == nullptr || copy == nullptr) return {};
  const int code = CopyIntoMemory(source.get(), copy.get());
  if (code == SQLITE_OK) return copy;
  ReportFailure(code, sqlite3_errstr(code), path);
  return {};
}

int CreateTables(sqlite3* database) {
  int code = SQLITE_OK;
  for (const Definition& each : StoreDefinitions()) {
    if (code == SQLITE_OK) code = sqlite3_exec(database, each.sql.c_str(), nullptr, nullptr, nullptr);
  }
  return code;
}

/// Returns "?, ?, ?" for "A, B, C".
std::string PlacesFor(std::string_view columns) {
  std::string places = "?";
  for (const char c : columns) {
    if (c == ',') places += ", ?";
  }
  return places;
}

/// Appends the rows to the table of the same name in `to`; returns SQLite's code.
int CopyRows(sqlite3* from, const RowSelection& rows, sqlite3* to) {
  const std::string table = rows.table, columns = rows.columns;
  const std::string sql = "INSERT INTO " + table + "(" + columns + ") VALUES(" + PlacesFor(columns) + ");";
  sqlite3_stmt* prepared = nullptr;
  int inserted = sqlite3_prepare_v2(to, sql.c_str(), -1, &prepared, nullptr);
  const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> insert(prepared, sqlite3_finalize);
  if (inserted != SQLITE_OK) return inserted;
  const auto take = [&](int count, const char* const* texts) {
    if (inserted != SQLITE_OK) return;
    // The texts outlive the step; a null one binds NULL.
    for (int i = 0; i < count; ++i) sqlite3_bind_text(insert.get(), i + 1, texts[i], -1, SQLITE_STATIC);
    sqlite3_step(insert.get());
    inserted = sqlite3_reset(insert.get());
  };
  const int read = QueryRows(from, ("SELECT " + columns + " FROM " + table + " " + rows.condition).c_str(), take);
  return read != SQLITE_OK ? read : inserted;
}

int CopySelections(sqlite3* from, const std::vector<RowSelection>& selections, sqlite3* to) {
  int code = sqlite3_exec(from, "BEGIN;", nullptr, nullptr, nullptr);
  for (const RowSelection& rows : selections) {
    if (code == SQLITE_OK) code = CopyRows(from, rows, to);
  }
  return code;  // the end of the transaction is that of its connection
}

}  // namespace

std::shared_ptr<StoreConnection> OpenPrivateCopyOf(const std::vector<RowSelection>& selections) {
  ClearFailure();
  const Database source = OpenSource(HaldenLib::kStoreFile);
  Database copy = OpenInMemory();
  if (source == nullptr || copy == nullptr) return {};
  int code = CreateTables(copy.get());
  if (code == SQLITE_OK) code = CopySelections(source.get(), selections, copy.get());
  if (code == SQLITE_OK) return std::make_shared<StoreConnection>(std::move(copy));
  ReportFailure(code, sqlite3_errstr(code), HaldenLib::kStoreFile);
  return {};
}

std::shared_ptr<StoreConnection> OpenPrivateCopy(const std::string& path) {
  Database copy = CopyToMemory(path);
  return copy == nullptr ? nullptr : std::make_shared<StoreConnection>(std::move(copy));
}

std::shared_ptr<StoreConnection> OpenPrivateCopy() {
  return OpenPrivateCopy(HaldenLib::kStoreFile);
}

std::shared_ptr<StoreConnection> BeginReading(const std::string& path) {
  Rehearsal& rehearsal = OfThisThread();
  if (rehearsal.connection != nullptr) {
    ReportFailure(SQLITE_MISUSE, "a rehearsal is on already", path);
    return {};
  }
  Database copy = CopyToMemory(path);
  if (copy == nullptr) return {};
  rehearsal.database = copy.get();
  rehearsal.connection = std::make_shared<StoreConnection>(std::move(copy));
  return rehearsal.connection;
}

std::shared_ptr<StoreConnection> BeginRehearsal() {
  std::shared_ptr<StoreConnection> connection = BeginReading(HaldenLib::kStoreFile);
  if (connection == nullptr) return {};
  sqlite3* const database = OfThisThread().database;
  const int code = sqlite3_exec(database, kKeepBefore, nullptr, nullptr, nullptr);
  if (code == SQLITE_OK) return connection;
  ReportFailure(code, sqlite3_errmsg(database), HaldenLib::kStoreFile);
  EndRehearsal();
  return {};
}

void EndRehearsal() {
  OfThisThread() = {};
}

std::shared_ptr<StoreConnection> RehearsalConnection() {
  return OfThisThread().connection;
}

int RestoreIntoRehearsal(const std::string& source) {
  const Database from = OpenSource(source);
  if (from == nullptr) return LastFailure().code;
  sqlite3* const copy = OfThisThread().database;
  int code = CopyIntoMemory(from.get(), copy);
  if (code == SQLITE_OK) code = DropForeign(copy, StoreDefinitions());
  if (code != SQLITE_OK) ReportFailure(code, sqlite3_errstr(code), source);
  return code;
}

}  // namespace DBStore
