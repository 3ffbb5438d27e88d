// The process is killed at any moment while it writes. The pipe holds what it had
// begun and what it had been told was done.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "faults/host.h"

namespace {

/// One entry of the ledger: a part, and whether its write is done or just begun.
struct Entry {
  size_t part;
  bool isDone;
};

[[noreturn]] void WriteUntilKilled(FaultHost& host, Ledger ledger, std::mt19937 random, int pipe) {
  host.Open();
  for (;;) {
    const size_t part = random() % Parts().size();
    for (const bool isDone : {false, true}) {
      if (isDone) Parts()[part].write(host, ++ledger.acknowledged[part]);
      const Entry entry{part, isDone};
      if (write(pipe, &entry, sizeof entry) != sizeof entry) _exit(1);
    }
  }
}

/// Reads the pipe to its end; returns how many writes were acknowledged.
int Take(int pipe, Ledger* ledger) {
  int done = 0;
  for (Entry entry{}; read(pipe, &entry, sizeof entry) == sizeof entry;) {
    ledger->underWay = entry.isDone ? Parts().size() : entry.part;
    if (!entry.isDone) continue;
    ++ledger->acknowledged[entry.part];
    ++done;
  }
  return done;
}

TEST(KillLedger, KeepsEveryAcknowledgedWriteAndNothingByHalves) {
  constexpr unsigned kMostMicroseconds = 30000;
  std::mt19937 random = Random();
  FaultHost host;
  Ledger ledger;
  int done = 0;
  for (long round = 0; round < Times(500); ++round) {
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    if (round % 2 == 0) host.Close();
    random.discard(1);
    const pid_t child = fork();
    if (child == 0) WriteUntilKilled(host, ledger, random, ends[1]);
    close(ends[1]);
    usleep(static_cast<useconds_t>(random() % kMostMicroseconds));
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    done += Take(ends[0], &ledger);
    close(ends[0]);
    ASSERT_TRUE(WIFSIGNALED(status)) << "round " << round << ": a write failed";
    ASSERT_EQ("", ledger.Judge(host)) << "round " << round;
  }
  std::printf("%d writes acknowledged\n", done);
  EXPECT_LT(0, done);
}

}  // namespace
