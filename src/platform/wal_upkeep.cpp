#include "platform/wal_upkeep.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <thread>
#include <utility>

#include "platform/database_schema.h"
#include "platform/host_log.h"
#include "platform/host_paths.h"
#include "platform/open_database.h"
#include "platform/query_rows.h"
#include "platform/store_tables.h"

namespace DBStore {

namespace {

constexpr int64_t kReuseAbove = int64_t{7} << 19;
constexpr int64_t kCutAbove = int64_t{4} << 20;

int NoteLogLength(void* watch, sqlite3*, const char* database, int length) {
  if (std::strcmp(database, "main") == 0) static_cast<LogWatch*>(watch)->pages = length;
  return SQLITE_OK;
}

/// Runs a query of one value; returns SQLite's code.
int QueryText(sqlite3* database, const char* query, std::string* text) {
  return QueryRows(database, query, [text](int, const char* const* texts) {
    if (text != nullptr && texts[0] != nullptr) *text = texts[0];
  });
}

int64_t PageSize(sqlite3* database) {
  std::string pageSize;
  QueryText(database, "PRAGMA page_size;", &pageSize);
  return std::atoi(pageSize.c_str());
}

int64_t BytesOf(int64_t pages, int64_t pageSize) {
  constexpr int64_t kFrameHeader = 24;
  return pages * (pageSize + kFrameHeader);
}

int64_t FileSize(const std::string& path) {
  struct stat status;
  return stat(HaldenLib::ResolvePath(path).c_str(), &status) == 0 ? int64_t{status.st_size} : 0;
}

/// The size of the log's file, of which SQLite knows where it is: asking for it by
/// name would cost more.
std::optional<int64_t> LogSize(sqlite3* database) {
  sqlite3_file* log = nullptr;
  sqlite3_int64 bytes = 0;
  sqlite3_file_control(database, "main", SQLITE_FCNTL_JOURNAL_POINTER, &log);
  const bool isOpen = log != nullptr && log->pMethods != nullptr;
  if (!isOpen || log->pMethods->xFileSize(log, &bytes) != SQLITE_OK) return std::nullopt;
  return bytes;
}

enum class LogState { Emptied, Held, Broken };

LogState StateAfter(int code) {
  const int kind = code & 0xFF;
  if (kind == SQLITE_OK) return LogState::Emptied;
  return kind == SQLITE_BUSY || kind == SQLITE_LOCKED ? LogState::Held : LogState::Broken;
}

/// Moves what it can into the file, and begins the log anew, as `mode` says, when that
/// was all of it; one that waited for a reader would keep every writer waiting meanwhile.
/// `pages` gets the length of the log, -1 when another connection is at it.
LogState EmptyLog(sqlite3* database, int mode, int* pages) {
  int moved = 0;
  const int code = sqlite3_wal_checkpoint_v2(database, "main", SQLITE_CHECKPOINT_PASSIVE, pages, &moved);
  if (code != SQLITE_OK) return StateAfter(code);
  if (moved < *pages) return LogState::Held;
  return StateAfter(sqlite3_wal_checkpoint_v2(database, "main", mode, nullptr, nullptr));
}

/// The file system on which the mode did not work, so that it is not tried again.
std::atomic<dev_t>& DeviceWithoutLog() {
  static std::atomic<dev_t> device{0};
  return device;
}

void RemoveDatabase(const std::string& path) {
  for (const char* suffix : {"", "-wal", "-shm", "-journal"}) unlink(HaldenLib::ResolvePath(path + suffix).c_str());
}

bool LogWorksIn(const std::string& path) {
  const Database probe = OpenDatabase(path, Access::ReadWrite, WhenMissing::Report, nullptr);
  std::string mode;
  return probe != nullptr &&
         QueryText(probe.get(), "PRAGMA synchronous=OFF; PRAGMA journal_mode=WAL;", &mode) == SQLITE_OK &&
         mode == "wal" && QueryText(probe.get(), "CREATE TABLE Probe(Value);", nullptr) == SQLITE_OK;
}

/// Tries the mode on an empty database beside `path`. A store that was switched
/// where the mode cannot work could be read by nobody.
bool LogWorksBeside(const std::string& path) {
  std::string realName = HaldenLib::ResolvePath(path) + "-probe-XXXXXX";
  const int file = mkostemp(realName.data(), O_CLOEXEC);
  if (file < 0) return false;
  close(file);
  const std::string probe = path + realName.substr(HaldenLib::ResolvePath(path).size());
  const bool works = LogWorksIn(probe);
  RemoveDatabase(probe);
  return works;
}

bool HasStoreTable(sqlite3* database) {
  return sqlite3_table_column_metadata(database, "main", kConfigTable, nullptr, nullptr, nullptr, nullptr, nullptr,
                                       nullptr) == SQLITE_OK;
}

}  // namespace

bool TryPace::IsDue() {
  constexpr int kMostDoublings = 6;
  if (commits_-- > 0) return false;
  commits_ = (1 << tries_) - 1;
  if (tries_ < kMostDoublings) ++tries_;
  return true;
}

void WatchLog(sqlite3* database, LogWatch* watch) {
  *watch = {};
  sqlite3_wal_hook(database, NoteLogLength, watch);
}

void EnsureWriteAheadLog(sqlite3* database, const std::string& path) {
  std::string mode;
  FileIdentity file;
  // A log that is begun anew is cut to this by the first commit.
  QueryText(database, ("PRAGMA journal_size_limit=" + std::to_string(kCutAbove) + ";").c_str(), nullptr);
  if (QueryText(database, "PRAGMA journal_mode;", &mode) != SQLITE_OK || mode == "wal") return;
  if (sqlite3_db_readonly(database, "main") != 0 || !HasStoreTable(database)) return;  // nothing foreign is changed
  if (IdentifyFile(path, &file) != SQLITE_OK || file.device == DeviceWithoutLog()) return;
  // It has been copied in: what would run within our statements goes before them.
  if (Complete(database, StoreDefinitions(), path, Origin::Elsewhere) != 0) return;
  if (LogWorksBeside(path)) {
    QueryText(database, "PRAGMA journal_mode=WAL;", &mode);  // a busy file is left to the next connection
    return;
  }
  DeviceWithoutLog() = file.device;
  HaldenLib::LogLine(HaldenLib::LOG_LEVEL_WARNING, "No write-ahead log is possible beside %s; it keeps its journal",
                     path.c_str());
}

void TrimLog(sqlite3* database, LogWatch* watch) {
  if (watch->pageSize == 0) watch->pageSize = PageSize(database);
  int pages = std::exchange(watch->pages, 0);
  const int64_t bytes = BytesOf(pages, watch->pageSize);
  if (bytes <= kReuseAbove) watch->pace = {};
  if (bytes <= kReuseAbove || !watch->pace.IsDue()) return;
  if (bytes <= kCutAbove && LogSize(database).value_or(0) <= kMostLogBytes) {
    sqlite3_wal_checkpoint_v2(database, "main", SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
  } else if (EmptyLog(database, SQLITE_CHECKPOINT_TRUNCATE, &pages) == LogState::Emptied) {
    watch->pace = {};
  }
}

bool MakeRoomInLog(sqlite3* database, const std::string& path, int timeoutMs) {
  using Clock = std::chrono::steady_clock;
  // Readers that come and go are gone within the quick pauses.
  constexpr int kQuickTries = 20;
  constexpr std::chrono::microseconds kQuick(500), kPause(20000);
  const std::optional<int64_t> size = LogSize(database);
  if ((size.has_value() ? *size : FileSize(path + "-wal")) <= kMostLogBytes) return true;
  const Clock::time_point end = Clock::now() + std::chrono::milliseconds(timeoutMs);
  for (int tries = 0;; ++tries) {
    int pages = -1;
    // A failure other than a held log shows in the write itself, which also cuts the log.
    if (EmptyLog(database, SQLITE_CHECKPOINT_RESTART, &pages) != LogState::Held) return true;
    const bool isLong =
        pages < 0 || BytesOf(pages, PageSize(database)) > kMostLogBytes;  // the file may be longer than its log
    if (!isLong) return true;
    if (Clock::now() >= end) return false;
    std::this_thread::sleep_for(tries < kQuickTries ? kQuick : kPause);
  }
}

}  // namespace DBStore
