#pragma once

#include <sqlite3.h>

#include <chrono>

namespace DBStore {

/// How long a connection waits for a database that others hold.
struct BusyWait {
  int timeoutMs = 0;
  std::chrono::steady_clock::time_point end = {};  // of the wait that is under way
};

/// Has `database` wait as `wait` says, which must outlive it. SQLite's own way is to
/// try ever less often, so that those who have waited long lose against those who
/// come later; here all try equally often, and the slowest of many is much faster.
void WaitWhileBusy(sqlite3* database, BusyWait* wait);

}  // namespace DBStore
