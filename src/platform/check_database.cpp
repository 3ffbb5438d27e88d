#include <string>

#include "platform/database_schema.h"
#include "platform/db_failure.h"
#include "platform/db_store.h"
#include "platform/host_paths.h"
#include "platform/open_database.h"

namespace DBStore {

namespace {

bool HasSideFiles(const std::string& path) {
  return HaldenLib::FileExists(path + "-wal") || HaldenLib::FileExists(path + "-journal");
}

bool Inspect(const std::string& path, Access access) {
  const Database database = OpenDatabase(path, access, WhenMissing::Report, nullptr);
  if (database == nullptr) return false;
  if (!IsIntact(database.get())) {
    ReportFailure(SQLITE_CORRUPT, "the integrity check fails", path);
    return false;
  }
  if (HasAll(database.get(), StoreTables())) return true;
  ReportFailure(SQLITE_ERROR, "no such table", path);
  return false;
}

}  // namespace

bool Check(const std::string& path) {
  ClearFailure();
  if (path.compare(0, 5, "file:") == 0) {
    ReportFailure(SQLITE_CANTOPEN, "a name, not an address, is checked", path);
    return false;
  }
  // A file at rest is read without leaving a trace beside it. One that is in use
  // needs its log; it shows by that, at the latest when it was taken into use meanwhile.
  // What was left beside a file by a crash is settled by opening it to write.
  if (!HasSideFiles(path) && Inspect(path, Access::ReadAlone)) return true;
  return HasSideFiles(path) && (Inspect(path, Access::ReadWrite) || Inspect(path, Access::ReadOnly));
}

}  // namespace DBStore
