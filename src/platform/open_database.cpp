#include "platform/open_database.h"

#include <sys/stat.h>

#include <cerrno>
#include <string_view>
#include <utility>

#include "platform/db_failure.h"
#include "platform/db_store.h"
#include "platform/host_paths.h"
#include "platform/host_vfs.h"

namespace DBStore {

namespace {

struct Switch {
  int option;
  int value;
};

const Switch kSwitches[] = {
    {SQLITE_DBCONFIG_DEFENSIVE, 1},
    {SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0},
    {SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0},
};

// Recursive triggers would make every update of the store fail: its trigger updates its own table.
// EXTRA is FULL, and where there is a rollback journal it also syncs the directory after deleting
// that: a journal that came back with the power would undo the last transaction.
constexpr char kSettings[] =
    "PRAGMA cell_size_check=ON; PRAGMA recursive_triggers=OFF; PRAGMA temp_store=MEMORY; PRAGMA mmap_size=0; "
    "PRAGMA synchronous=EXTRA;";

int Configure(sqlite3* database) {
  sqlite3_extended_result_codes(database, 1);
  sqlite3_busy_timeout(database, kBusyTimeout);
  for (const Switch& each : kSwitches) sqlite3_db_config(database, each.option, each.value, nullptr);
  return sqlite3_exec(database, kSettings, nullptr, nullptr, nullptr);
}

/// The only name that SQLite may read as a URI is made here, of a path with
/// every special character coded.
std::string UriOf(const std::string& path) {
  constexpr std::string_view kPlain = "/._-0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string uri = "file:";
  for (const char each : path) {
    const auto byte = static_cast<unsigned char>(each);
    if (kPlain.find(each) != std::string_view::npos) {
      uri += each;
    } else {
      uri.append({'%', kDigits[byte >> 4], kDigits[byte & 0xF]});
    }
  }
  return uri + "?immutable=1";
}

Database OpenFile(const std::string& path, Access access, int* code) {
  constexpr int kShared = SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE;
  sqlite3* database = nullptr;
  if (access == Access::ReadAlone) {
    *code = sqlite3_open_v2(UriOf(path).c_str(), &database, kShared | SQLITE_OPEN_READONLY | SQLITE_OPEN_URI,
                            HostVfsName());
  } else {
    const int mode = access == Access::ReadWrite ? SQLITE_OPEN_READWRITE : SQLITE_OPEN_READONLY;
    *code = sqlite3_open_v2(path.c_str(), &database, kShared | mode, HostVfsName());
  }
  return Database(database);
}

/// Says why, where SQLite says no more than that it could not open the file.
int RefineOpenFailure(sqlite3* database, int code) {
  if (code != SQLITE_CANTOPEN || database == nullptr) return code;
  const int reason = sqlite3_system_errno(database);
  if (reason == EROFS) return SQLITE_READONLY;
  return reason == EACCES || reason == EPERM ? SQLITE_PERM : code;
}

/// Returns the configured database, or the reason reported that there is none.
Database Finish(Database database, int code, const std::string& path) {
  if (code == SQLITE_OK) code = Configure(database.get());
  if (code == SQLITE_OK) return database;
  code = RefineOpenFailure(database.get(), code);
  ReportFailure(code, sqlite3_errstr(code), path);
  return {};
}

/// Side files have the mode that the database had when they were made. Those made
/// while it could only be read would keep writers out for good.
void MendSideFiles(const std::string& path) {
  struct stat database, side;
  if (lstat(HaldenLib::ResolvePath(path).c_str(), &database) != 0 || (database.st_mode & S_IWUSR) == 0) return;
  for (const char* suffix : {"-wal", "-shm"}) {
    const std::string file = HaldenLib::ResolvePath(path) + suffix;
    if (lstat(file.c_str(), &side) != 0 || !S_ISREG(side.st_mode) || (side.st_mode & S_IWUSR) != 0) continue;
    chmod(file.c_str(), database.st_mode & 0777);  // somebody else's stays as it is
  }
}

Database OpenOnce(const std::string& path, Access access) {
  int code = SQLITE_OK;
  Database database = OpenFile(path, access, &code);
  return Finish(std::move(database), code, path);
}

void ReportUnusable(int code, const std::string& path, WhenMissing whenMissing) {
  if (code == SQLITE_NOTFOUND && whenMissing == WhenMissing::Record) {
    RecordFailure(SQLITE_CANTOPEN, "no such file", path);
  } else if (code == SQLITE_NOTFOUND) {
    ReportFailure(SQLITE_CANTOPEN, "no such file", path);
  } else {
    const bool isOutOfReach = code == SQLITE_PERM || code == SQLITE_IOERR;
    ReportFailure(code, isOutOfReach ? sqlite3_errstr(code) : "not a regular file", path);
  }
}

}  // namespace

int IdentifyFile(const std::string& path, FileIdentity* identity) {
  struct stat status;
  if (lstat(HaldenLib::ResolvePath(path).c_str(), &status) != 0) {
    if (errno == ENOENT || errno == ENOTDIR) return SQLITE_NOTFOUND;
    return errno == EACCES ? SQLITE_PERM : SQLITE_IOERR;
  }
  if (S_ISLNK(status.st_mode)) return SQLITE_CANTOPEN_SYMLINK;
  if (S_ISDIR(status.st_mode)) return SQLITE_CANTOPEN_ISDIR;
  if (!S_ISREG(status.st_mode)) return SQLITE_NOTADB;
  *identity = {status.st_dev, status.st_ino};
  return SQLITE_OK;
}

Database OpenDatabase(const std::string& path, Access access, WhenMissing whenMissing, FileIdentity* identity) {
  SeparateFromParent();
  FileIdentity before, after;
  Database database;
  // The file may be replaced while it is opened; then it is not known which one it is.
  do {
    database.reset();
    const int code = IdentifyFile(path, &before);
    if (code != SQLITE_OK) {
      ReportUnusable(code, path, whenMissing);
      return {};
    }
    if (access == Access::ReadWrite) MendSideFiles(path);
    database = OpenOnce(path, access);
  } while (database != nullptr && IdentifyFile(path, &after) == SQLITE_OK && !(before == after));
  if (identity != nullptr) *identity = before;
  return database;
}

Database OpenInMemory() {
  constexpr char kMemory[] = ":memory:";
  SeparateFromParent();
  sqlite3* database = nullptr;
  constexpr int kFlags = SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE | SQLITE_OPEN_READWRITE;
  const int code = sqlite3_open_v2(kMemory, &database, kFlags, HostVfsName());
  return Finish(Database(database), code, kMemory);
}

int CopyIntoMemory(sqlite3* from, sqlite3* memory) {
  sqlite3_backup* const backup = sqlite3_backup_init(memory, "main", from, "main");
  if (backup == nullptr) return sqlite3_errcode(memory);
  sqlite3_backup_step(backup, -1);
  return sqlite3_backup_finish(backup);
}

}  // namespace DBStore
