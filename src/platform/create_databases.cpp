#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>
#include <vector>

#include "platform/database_schema.h"
#include "platform/db_failure.h"
#include "platform/db_store.h"
#include "platform/host_paths.h"
#include "platform/open_database.h"
#include "platform/store_tables.h"
#include "platform/wal_upkeep.h"

// Creating a database, safe against another process that does the same, and
// against one that was stopped half way:
//
//   1. The directories.
//   2. The file, empty, unless the name is taken. SQLite never creates it.
//   3. What the database lacks of its tables and trigger, in one transaction; in it
//      what came along from elsewhere goes.
//   4. The journal mode, also of a file that was copied in.

namespace DBStore {

namespace {

using HaldenLib::ResolvePath;

int FailWithErrno(const std::string& path) {
  const int reason = errno;
  const int code = reason == EACCES || reason == EPERM ? SQLITE_PERM
                   : reason == EROFS                   ? SQLITE_READONLY
                   : reason == ENOSPC                  ? SQLITE_FULL
                                                       : SQLITE_CANTOPEN;
  return ReportFailure(code, std::generic_category().message(reason), path);
}

std::string DirectoryOf(const std::string& path) {
  return path.substr(0, path.rfind('/'));
}

/// Makes a new name in the directory outlast a loss of power.
void SyncDirectory(const std::string& directory) {
  const int file = open(ResolvePath(directory + "/").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (file < 0) return;
  fsync(file);
  close(file);
}

int CreateDirectories(const std::string& directory) {
  for (size_t end = directory.find('/', 1);; end = directory.find('/', end + 1)) {
    const std::string part = directory.substr(0, end);
    if (mkdir(ResolvePath(part).c_str(), 0700) == 0) {
      SyncDirectory(DirectoryOf(part));
    } else if (errno != EEXIST) {
      return FailWithErrno(part);
    }
    if (end == std::string::npos) return 0;
  }
}

/// The file is closed before SQLite opens it: closing it later would drop the
/// locks that this process then has on it.
int CreateFile(const std::string& path) {
  constexpr int kNewFileOnly = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  const int file = open(ResolvePath(path).c_str(), kNewFileOnly, 0600);
  if (file < 0) return errno == EEXIST ? 0 : FailWithErrno(path);
  close(file);
  SyncDirectory(DirectoryOf(path));
  return 0;
}

Database CreateDatabase(const std::string& path, const std::vector<Definition>& definitions, Origin origin) {
  if (CreateDirectories(DirectoryOf(path)) != 0 || CreateFile(path) != 0) return {};  // 1, 2
  Database database = OpenDatabase(path, Access::ReadWrite, WhenMissing::Report, nullptr);
  if (database == nullptr || Complete(database.get(), definitions, path, origin) != 0) return {};  // 3
  return database;
}

int CreateStore(Origin origin) {
  const Database store = CreateDatabase(HaldenLib::kStoreFile, StoreDefinitions(), origin);
  if (store == nullptr) return 1;
  EnsureWriteAheadLog(store.get(), HaldenLib::kStoreFile);  // 4
  return 0;
}

/// Its size and time tell others that it has changed, which a log would hide.
int CreateSchemaStore() {
  const Database schemaStore = CreateDatabase(HaldenLib::kSchemaStoreFile, {ConfigSchemaTable()}, Origin::Here);
  if (schemaStore == nullptr) return 1;
  sqlite3_exec(schemaStore.get(), "PRAGMA journal_mode=DELETE;", nullptr, nullptr, nullptr);  // 4
  return 0;
}

}  // namespace

int CreateDatabases(Origin store) {
  ClearFailure();
  const int created = CreateStore(store);
  return CreateSchemaStore() == 0 ? created : 1;
}

}  // namespace DBStore
