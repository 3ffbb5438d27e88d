// Loading at boot: whatever lies about, and whenever it is cut off.

#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "faults/host.h"
#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

namespace fs = std::filesystem;

const std::string kStore = HaldenLib::kStoreFile, kBackup = HaldenLib::kBackupFile;

/// Runs a script on a file of the host in a process that dies with the file open.
void RunAndDie(const FaultHost& host, const std::string& path, const std::string& sql) {
  InChild([&] {
    sqlite3* database = nullptr;
    sqlite3_open(host.root.Resolve(path).c_str(), &database);
    sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr);
    return raise(SIGKILL);
  });
}

// What others leave beside a file: rows that were never meant for the one restored.
const char kLog[] = "PRAGMA journal_mode=WAL; PRAGMA wal_autocheckpoint=0; DELETE FROM Config;";
const char kJournal[] =
    "PRAGMA journal_mode=DELETE; PRAGMA cache_size=1; BEGIN; DELETE FROM Config; INSERT INTO KVTable(Key, Value) "
    "SELECT 'other', zeroblob(1000000);";

struct Situation {
  const char* name;
  void (*make)(const FaultHost& host);
  bool isRestored = true;  // what this makes of the backup
};

const Situation kBesideTheStore[] = {
    {"nothing", [](const FaultHost&) {}},
    {"a log", [](const FaultHost& host) { RunAndDie(host, kStore, kLog); }},
    {"a journal", [](const FaultHost& host) { RunAndDie(host, kStore, kJournal); }},
    {"a log alone",
     [](const FaultHost& host) {
       RunAndDie(host, kStore, kLog);
       fs::remove(host.root.Resolve(kStore));
     }},
    {"a journal alone",
     [](const FaultHost& host) {
       RunAndDie(host, kStore, kJournal);
       fs::remove(host.root.Resolve(kStore));
     }},
    {"a broken log", [](const FaultHost& host) { host.root.Write(kStore + "-wal", std::string(9000, '\x37')); }},
    {"a broken journal", [](const FaultHost& host) { host.root.Write(kStore + "-journal", std::string(9000, 'j')); }},
    {"a broken index", [](const FaultHost& host) { host.root.Write(kStore + "-shm", std::string(32768, '\x7f')); }},
};

const Situation kBackups[] = {
    {"good", [](const FaultHost&) {}},
    {"of the first boot",
     [](const FaultHost& host) {
       host.root.Write(HaldenLib::kFirstBootBackupFile, host.root.Read(kBackup));
       fs::remove(host.root.Resolve(kBackup));
     }},
    {"none", [](const FaultHost& host) { fs::remove(host.root.Resolve(kBackup)); }, false},
    {"cut", [](const FaultHost& host) { fs::resize_file(host.root.Resolve(kBackup), 5000); }, false},
    {"zeroed", [](const FaultHost& host) { host.root.Write(kBackup, std::string(40960, '\0')); }, false},
    {"a text", [](const FaultHost& host) { host.root.Write(kBackup, "no database"); }, false},
    {"with a log",
     [](const FaultHost& host) {
       RunAndDie(host, kBackup, "PRAGMA journal_mode=WAL; INSERT INTO KVTable(Key) VALUES('x');");
     }},
    {"with a journal", [](const FaultHost& host) { RunAndDie(host, kBackup, kJournal); }},
};

TEST(Boot, RestoresTheBackupWholeOrBeginsAfresh) {
  for (const Situation& beside : kBesideTheStore) {
    for (const Situation& kept : kBackups) {
      SCOPED_TRACE(std::string("store with ") + beside.name + ", backup " + kept.name);
      FaultHost host;
      Parts()[0].write(host, 7);
      ASSERT_EQ(0, backup(kStore, kBackup));
      Parts()[0].write(host, 8);
      host.Close();
      beside.make(host);
      kept.make(host);
      LoadStore(true);
      SetBootStatus(FaultType("single"), true);
      host.Open();
      EXPECT_EQ(kept.isRestored ? 7 : 0, Parts()[0].read(host));
      EXPECT_TRUE(IsConsistentStore(kStore));
      EXPECT_EQ("", GetKV("other"));
    }
  }
}

TEST(Boot, KilledAtAnyMomentAppliesTheStagedConfigurationWhollyOrNotAtAll) {
  constexpr unsigned kMostMicroseconds = 20000;
  std::mt19937 random = Random();
  FaultHost host;
  host.Close();
  for (int n = 1; n <= Times(200); ++n) {
    const bool restores = n % 2 == 0;
    StageAndApply(host, n);
    if (restores) {
      ASSERT_EQ(0, backup(kStore, kBackup));
    }
    const pid_t child = fork();
    if (child == 0) {
      setpgid(0, 0);  // the programs that it runs go with it
      LoadStore(restores);
      _exit(0);
    }
    usleep(static_cast<useconds_t>(random() % kMostMicroseconds));
    kill(-child, SIGKILL);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    if (!restores) {
      const int found = AppliedGeneration();
      ASSERT_TRUE(found == n || found == n - 1) << n << ": " << found;
    }
    LoadStore(restores);
    ASSERT_EQ(n, AppliedGeneration());
    ASSERT_TRUE(IsConsistentStore(kStore)) << n;
    ASSERT_FALSE(GetNextBootMode());
  }
}

TEST(Boot, WaitsForAProcessThatHoldsTheStoreAndHasItsProgramsWhateverSigchldDoes) {
  FaultHost host;
  StageAndApply(host, 1);
  int ends[2];
  ASSERT_EQ(0, pipe(ends));
  const pid_t holder = fork();
  if (holder == 0) {
    sqlite3* database = nullptr;
    sqlite3_open(host.root.Resolve(kStore).c_str(), &database);
    const int code = sqlite3_exec(database, "BEGIN IMMEDIATE;", nullptr, nullptr, nullptr);
    if (write(ends[1], &code, 1) != 1) _exit(1);
    usleep(700000);
    _exit(0);
  }
  char isHeld = 1;
  ASSERT_EQ(1, read(ends[0], &isHeld, 1));
  LoadStore(false);
  EXPECT_EQ(1, AppliedGeneration());
  waitpid(holder, nullptr, 0);
  ASSERT_EQ(0, backup(kStore, kBackup));
  signal(SIGCHLD, SIG_IGN);
  LoadStore(true);
  signal(SIGCHLD, SIG_DFL);
  EXPECT_EQ(1, AppliedGeneration());
}

}  // namespace
