// Loading at boot: whatever lies about, and whenever it is cut off.

#include <signal.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include "faults/host.h"

using namespace OrvoConfigStore;

namespace {

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

/// What lies in the place of the store or of the backup: a file's own side files, left by a script, or a file that
/// is written as it is.
struct Situation {
  const char* name;
  std::string script = "", suffix = "", content = "";
  bool isAlone = false;    // its file is gone
  bool isRestored = true;  // what this makes of the backup

  void Make(const FaultHost& host, const std::string& path) const {
    if (!script.empty()) RunAndDie(host, path, script);
    if (!content.empty()) host.root.Write(path + suffix, content);
    if (isAlone) fs::remove(host.root.Resolve(path));
  }
};

const Situation kBesideTheStore[] = {
    {"nothing"},
    {"a log", kLog},
    {"a journal", kJournal},
    {"a log alone", kLog, "", "", true},
    {"a journal alone", kJournal, "", "", true},
    {"a broken log", "", "-wal", std::string(9000, '\x37')},
    {"a broken journal", "", "-journal", std::string(9000, 'j')},
    {"a broken index", "", "-shm", std::string(32768, '\x7f')},
};

const Situation kBackups[] = {
    {"good"},
    {"of the first boot", "", "", "", true},
    {"none", "", "", "", true, false},
    {"zeroed", "", "", std::string(40960, '\0'), false, false},
    {"a text", "", "", "no database", false, false},
    {"with a log", "PRAGMA journal_mode=WAL; INSERT INTO KVTable(Key) VALUES('x');"},
    {"with a journal", kJournal},
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
      beside.Make(host, kStore);
      if (&kept == &kBackups[1]) host.root.Write(HaldenLib::kFirstBootBackupFile, host.root.Read(kBackup));
      kept.Make(host, kBackup);
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

}  // namespace
