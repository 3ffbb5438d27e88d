#include "platform/busy_wait.h"

#include <thread>

namespace DBStore {

namespace {

/// Returns whether to try again.
int Wait(void* context, int tries) {
  using Clock = std::chrono::steady_clock;
  constexpr int kQuickTries = 10;
  constexpr std::chrono::microseconds kQuick(500), kPause(3000);
  auto& wait = *static_cast<BusyWait*>(context);
  if (wait.timeoutMs <= 0) return 0;
  const Clock::time_point now = Clock::now();
  if (tries == 0) wait.end = now + std::chrono::milliseconds(wait.timeoutMs);
  if (now >= wait.end) return 0;
  std::this_thread::sleep_for(tries < kQuickTries ? kQuick : kPause);
  return 1;
}

}  // namespace

void WaitWhileBusy(sqlite3* database, BusyWait* wait) {
  sqlite3_busy_handler(database, Wait, wait);
}

}  // namespace DBStore
