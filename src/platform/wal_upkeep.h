#pragma once

#include <sqlite3.h>

#include <string>

/// Upkeep of the store's write-ahead log: setting the mode, and keeping the log
/// short without ever making a writer wait behind a reader. SQLite's automatic
/// checkpoint is off; what it would do is done here after commits.

namespace DBStore {

/// Has `*pages` set to the length of the log after every commit of `database`;
/// this replaces the automatic checkpoint.
void WatchLog(sqlite3* database, int* pages);

/// Sees to it that the store at `path` is in write-ahead mode. A file that
/// somebody else uses stays as it is until a later call; one whose file system
/// has no shared memory stays for good, with a line in the log.
void EnsureWriteAheadLog(sqlite3* database, const std::string& path);

/// Empties the log when the last commit has left more than 4 MiB in it and
/// nobody holds it. Expects a busy time-out of 0.
void TrimLog(sqlite3* database, int pages);

/// Empties a log of more than 16 MiB before a write transaction: as long as a
/// reader holds it, tries again until `timeoutMs` have passed. Returns whether
/// the transaction may begin. Expects a busy time-out of 0.
bool MakeRoomInLog(sqlite3* database, const std::string& path, int timeoutMs);

}  // namespace DBStore
