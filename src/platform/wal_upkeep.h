#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <string>

/// Upkeep of the store's write-ahead log: setting the mode, and keeping the log
/// short without ever making a writer wait behind a reader. SQLite's automatic
/// checkpoint is off; what it would do is done here after commits.

namespace DBStore {

/// How long a log may be for a write transaction to begin.
constexpr int64_t kMostLogBytes = int64_t{16} << 20;

/// When to try again after a commit what was tried in vain, and costs: at first after
/// each, then after every other, and ever more seldom, after every 64th at last.
class TryPace {
 public:
  bool IsDue();

 private:
  int tries_ = 0;
  int commits_ = 0;  // that pass before the next try
};

/// What a connection knows of the log.
struct LogWatch {
  int pages = 0;         // its length, set by a commit and cleared by TrimLog
  int64_t pageSize = 0;  // in bytes, 0 while unknown; with a write-ahead log it never changes
  TryPace pace;          // of TrimLog, while the log is held
};

/// Has `watch->pages` set to the length of the log after every commit of
/// `database`; this replaces the automatic checkpoint.
void WatchLog(sqlite3* database, LogWatch* watch);

/// Sees to it that the store at `path` is in write-ahead mode. A file that
/// somebody else uses stays as it is until a later call; one whose file system
/// has no shared memory stays for good, with a line in the log.
void EnsureWriteAheadLog(sqlite3* database, const std::string& path);

/// Keeps the log within 4 MiB after a commit, unless somebody holds it. One that
/// nears the bound is moved into the file and then written from its beginning
/// again; one that is over it is cut, which costs more. While it is held, it is tried
/// ever more seldom: each try sorts the pages of the log. Expects a busy time-out of 0.
void TrimLog(sqlite3* database, LogWatch* watch);

/// Empties a log of more than 16 MiB before a write transaction: as long as a
/// reader holds it, tries again until `timeoutMs` have passed. Returns whether
/// the transaction may begin. Expects a busy time-out of 0.
bool MakeRoomInLog(sqlite3* database, const std::string& path, int timeoutMs);

}  // namespace DBStore
