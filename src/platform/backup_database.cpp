#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <utility>
#include <vector>

#include "platform/database_schema.h"
#include "platform/db_failure.h"
#include "platform/db_store.h"
#include "platform/host_files.h"
#include "platform/host_log.h"
#include "platform/host_paths.h"
#include "platform/open_database.h"
#include "platform/query_rows.h"
#include "platform/rehearsal.h"

// Copying one database onto another:
//
//   1. Both are opened; the source first, so that nothing is created for a
//      source that is not there. Onto the store go no triggers and views of others.
//   2. All pages are copied in one transaction of the destination.
//   3. The copy says of itself that it has a write-ahead log when the source has
//      one. It is turned to the rollback journal, so that it is one file. A
//      destination that others have open keeps its log: they see the copy through it.
//   4. Both are closed. A file that was created for a copy that failed goes.

namespace DBStore {

namespace {

constexpr int kPrimaryCode = 0xFF;
constexpr int kMostAttempts = 10;
constexpr int kPauseMs = 1000;
constexpr int kFailed = 1;

void Say(const std::string& text) {
  HaldenLib::Log_ToSyslog(HaldenLib::LOG_LEVEL_ERROR, text);
}

std::string WithCode(const std::string& text, int code) {
  return text + "rc=" + std::to_string(code);
}

bool IsPlainPath(const std::string& path) {
  return path.compare(0, 5, "file:") != 0 && path.find('\0') == std::string::npos;
}

/// Opens one of the two; a failure gives SQLite's code.
int Open(const std::string& path, Database* database, FileIdentity* identity) {
  if (!IsPlainPath(path)) {
    ReportFailure(SQLITE_CANTOPEN, "a name, not an address, is copied", path);
    return SQLITE_CANTOPEN;
  }
  *database = OpenDatabase(path, Access::ReadWrite, WhenMissing::Report, identity);
  if (*database == nullptr) return LastFailure().code & kPrimaryCode;
  sqlite3_busy_timeout(database->get(), 0);  // the attempts are counted here
  return SQLITE_OK;
}

/// Whether the file was missing and is now there, empty.
bool CreateEmpty(const std::string& path) {
  if (!IsPlainPath(path)) return false;
  constexpr int kNewFileOnly = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  const int file = open(HaldenLib::ResolvePath(path).c_str(), kNewFileOnly, 0600);
  if (file >= 0) close(file);
  return file >= 0;
}

int CopyPages(sqlite3_backup* backup, int* code) {
  for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
    *code = sqlite3_backup_step(backup, -1) & kPrimaryCode;
    if (*code == SQLITE_DONE) {
      Say("ConfigStore backup completed successfully");
      return 0;
    }
    if (*code != SQLITE_BUSY) {
      Say("ConfigStore backup failed with rc = " + std::to_string(*code));
      return kFailed;
    }
    Say("ConfigStore backup is halted, because it is busy");
    sqlite3_sleep(kPauseMs);
  }
  return kFailed;
}

/// Step 3. Alone with the file, so that no memory need be shared for its log.
int LeaveLogMode(sqlite3* destination, bool isNew) {
  std::string mode;
  sqlite3_exec(destination, "PRAGMA locking_mode=EXCLUSIVE;", nullptr, nullptr, nullptr);
  const int code = QueryRows(destination, "PRAGMA journal_mode=DELETE;", [&mode](int, const char* const* texts) {
    if (texts[0] != nullptr) mode = texts[0];
  });
  if (code == SQLITE_OK && mode == "delete") return 0;
  const bool isInUse = !isNew && (code & kPrimaryCode) == SQLITE_BUSY;
  if (isInUse) return 0;
  Say("ConfigStore backup keeps its log: " + std::string(sqlite3_errmsg(destination)));
  return kFailed;
}

int Copy(sqlite3* source, sqlite3* destination, bool isNew) {
  sqlite3_backup* const backup = sqlite3_backup_init(destination, "main", source, "main");
  if (backup == nullptr) {
    const int code = sqlite3_errcode(destination) & kPrimaryCode;
    Say(WithCode("Cannot initialize config store backup, ", code));
    return code;
  }
  int code = SQLITE_OK;
  int result = CopyPages(backup, &code);
  sqlite3_backup_finish(backup);
  if (result == 0) result = LeaveLogMode(destination, isNew);
  Say("ConfigStore backup completed with rc = " + std::to_string(code));
  return result;
}

bool IsStore(const FileIdentity& file) {
  FileIdentity store;
  return IdentifyFile(HaldenLib::kStoreFile, &store) == SQLITE_OK && store == file;
}

/// What goes onto the store brings no triggers and views of others along: a source
/// that has some is copied to memory first, and loses them there.
int LeaveOutForeign(Database* source) {
  const std::vector<Definition> ours = StoreDefinitions();
  if (!HasForeign(source->get(), ours)) return SQLITE_OK;
  Database copy = OpenInMemory();
  if (copy == nullptr) return LastFailure().code & kPrimaryCode;
  int code = CopyIntoMemory(source->get(), copy.get());
  if (code == SQLITE_OK) code = DropForeign(copy.get(), ours);
  if (code == SQLITE_OK) *source = std::move(copy);
  return code & kPrimaryCode;
}

int CopyOpen(const std::string& source, const std::string& destination) {
  const auto cannotConnect = [&source](int code) {
    // Deliberate: it is the source that is named, also when the destination fails.
    Say(WithCode("Cannot connect to sqlite database at " + source + ", ", code));
    return code;
  };
  Database from, to;
  FileIdentity fromFile, toFile;
  int code = Open(source, &from, &fromFile);
  if (code != SQLITE_OK) return cannotConnect(code);
  const bool isNew = CreateEmpty(destination);
  code = Open(destination, &to, &toFile);
  int result = code == SQLITE_OK ? 0 : cannotConnect(code);
  if (result == 0 && fromFile == toFile) {
    Say(WithCode("Cannot initialize config store backup, ", SQLITE_ERROR));
    result = SQLITE_ERROR;
  }
  if (result == 0 && IsStore(toFile)) result = LeaveOutForeign(&from);
  if (result == 0) result = Copy(from.get(), to.get(), isNew);
  to.reset();
  if (result == 0 || !isNew) return result;
  HaldenLib::RemoveFile(destination);
  HaldenLib::RemoveSideFiles(destination);
  return result;
}

}  // namespace

int Backup(const std::string& source, const std::string& destination) {
  ClearFailure();
  if (destination == HaldenLib::kStoreFile && RehearsalConnection() != nullptr) return RestoreIntoRehearsal(source);
  return CopyOpen(source, destination);
}

}  // namespace DBStore
