#include "platform/database_schema.h"
#include "platform/db_failure.h"
#include "platform/db_store.h"
#include "platform/host_files.h"
#include "platform/host_paths.h"
#include "platform/per_thread.h"
#include "platform/rehearsal.h"
#include "platform/store_connection.h"

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

}  // namespace

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
