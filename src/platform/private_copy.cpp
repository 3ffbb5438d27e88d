#include "platform/db_failure.h"
#include "platform/db_store.h"
#include "platform/host_paths.h"
#include "platform/store_connection.h"

namespace DBStore {

namespace {

/// Copies all pages; a database in memory has no log and takes those of one that has.
int CopyPages(sqlite3* from, sqlite3* to) {
  sqlite3_backup* const backup = sqlite3_backup_init(to, "main", from, "main");
  if (backup == nullptr) return sqlite3_errcode(to);
  sqlite3_backup_step(backup, -1);
  return sqlite3_backup_finish(backup);
}

}  // namespace

std::shared_ptr<StoreConnection> OpenPrivateCopy() {
  ClearFailure();
  const Database store = OpenDatabase(HaldenLib::kStoreFile, Access::ReadWrite, WhenMissing::Record, nullptr);
  Database copy = OpenInMemory();
  if (store == nullptr || copy == nullptr) return {};
  const int code = CopyPages(store.get(), copy.get());
  if (code == SQLITE_OK) return std::make_shared<StoreConnection>(std::move(copy));
  ReportFailure(code, sqlite3_errstr(code), HaldenLib::kStoreFile);
  return {};
}

}  // namespace DBStore
