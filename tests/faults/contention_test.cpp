// Many processes at one store, some of them stopped or killed in the middle.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>

#include "faults/host.h"

using namespace OrvoConfigStore;

namespace {

constexpr int kWriters = 8, kReaders = 4;
constexpr long kMostLog = 17 << 20;

using Clock = std::chrono::steady_clock;

/// What a process says of one of its calls.
struct Line {
  int who;
  bool isDone;
  bool isTorn;
  long milliseconds;
};

template <class Action>
void Tell(int pipe, int who, Action action) {
  const Clock::time_point start = Clock::now();
  Line line{who, true, false, 0};
  try {
    line.isTorn = !action();
  } catch (const ConfigStoreException&) {
    line.isDone = false;
  }
  line.milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
  if (write(pipe, &line, sizeof line) != sizeof line) _exit(1);
}

/// Says on the pipe that it is where it is to be, and stays there.
[[noreturn]] void Stay(int ready) {
  if (write(ready, "", 1) != 1) _exit(1);
  for (;;) pause();
}

/// Counts one up in a transaction of its own, which it never leaves when it is
/// given a pipe.
bool CountUp(FaultHost& host, int who, int ready = -1) {
  const std::string name = "w" + std::to_string(who);
  ConfigStoreTransaction transaction(host.store);
  const auto before = host.store->Get(FaultType("moving", name));
  int n = 0;
  if (before != nullptr) before->GetValue("n", &n);
  const std::string number = std::to_string(n + 1);
  host.store->Set(
      ConfigStore::CreateObject(FaultType("moving", name), R"({"name":")" + name + R"(","n":)" + number +
                                                               R"(,"pad":")" + Repeated("x", 20000) + "\"}"),
      {});
  if (ready >= 0) Stay(ready);
  transaction.Commit();
  return true;
}

/// Writers count, and write sets that must be seen whole; a reader reads these.
[[noreturn]] void Work(FaultHost& host, int who, long writes, int pipe) {
  host.Open();
  for (int i = 1; i <= writes; ++i) {
    if (who >= kWriters) {
      Tell(pipe, who, [&] { return Parts()[1].read(host) != kTorn; });
    } else if (i % 10 == 0) {
      Tell(pipe, who, [&] { return Parts()[1].write(host, who * 1000 + i), true; });
    } else {
      Tell(pipe, who, [&] { return CountUp(host, who); });
    }
    usleep(1000);
  }
  _exit(0);
}

/// One that is stopped in the middle of writing, or of reading and so holds the log.
pid_t StartStuck(FaultHost& host, bool isReader) {
  int ready[2];
  EXPECT_EQ(0, pipe(ready));
  const pid_t child = fork();
  if (child != 0) {
    char byte = 0;
    close(ready[1]);
    EXPECT_EQ(1, read(ready[0], &byte, 1)) << "it is not where it is to be";
    close(ready[0]);
    kill(child, SIGSTOP);
    return child;
  }
  host.Open();
  if (!isReader) CountUp(host, kWriters, ready[1]);
  const auto connection = DBStore::GetConnection(DBStore::TYPE_STORE);
  RowsOf(connection, "BEGIN;");
  RowsOf(connection, "SELECT count(*) FROM Config;");
  Stay(ready[1]);
}

TEST(ReadersAndWriters, AreNeverRefusedAndSeeNothingByHalves) {
  const long writes = Times(100);
  FaultHost host;
  host.Close();
  int ends[2];
  ASSERT_EQ(0, pipe(ends));
  const pid_t heldReader = StartStuck(host, true);
  const pid_t inside = StartStuck(host, false);  // everybody waits for it
  std::vector<pid_t> workers;
  for (int who = 0; who < kWriters + kReaders; ++who) {
    workers.push_back(fork());
    if (workers.back() == 0) Work(host, who, writes, ends[1]);
  }
  usleep(500000);
  kill(inside, SIGKILL);
  usleep(1000000);
  kill(heldReader, SIGKILL);
  close(ends[1]);

  std::vector<int> counted(kWriters);
  long lines = 0, slowest = 0, log = 0;
  const std::string logFile = host.root.Resolve(HaldenLib::kStoreFile) + "-wal";
  for (Line line{}; read(ends[0], &line, sizeof line) == sizeof line; ++lines) {
    EXPECT_TRUE(line.isDone) << "refused: " << line.who << " after " << line.milliseconds << " ms";
    EXPECT_FALSE(line.isTorn) << line.who;
    slowest = std::max(slowest, line.milliseconds);
    std::error_code isGone;
    const auto size = fs::file_size(logFile, isGone);
    if (!isGone) log = std::max(log, static_cast<long>(size));
  }
  for (const pid_t worker : workers) waitpid(worker, nullptr, 0);
  waitpid(inside, nullptr, 0);
  waitpid(heldReader, nullptr, 0);
  std::printf("%ld calls, slowest %ld ms, log at most %ld bytes\n", lines, slowest, log);
  EXPECT_EQ((kWriters + kReaders) * writes, lines);
  EXPECT_LT(400, slowest) << "nobody has waited for the one that was stopped";
  EXPECT_GT(3000, slowest);
  EXPECT_GT(kMostLog, log);
  host.Open();
  for (int who = 0; who < kWriters; ++who) {
    int n = 0;
    host.store->Get(FaultType("moving", "w" + std::to_string(who)))->GetValue("n", &n);
    EXPECT_EQ(writes - writes / 10, n) << who;
  }
  EXPECT_EQ(nullptr, host.store->Get(FaultType("moving", "w" + std::to_string(kWriters)))) << "the killed one's";
}

}  // namespace
