// What a boot load makes of each kind of backup, and of what lies beside the store.

#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include "lifecycle/test_host.h"

using namespace OrvoConfigStore;

namespace {

namespace fs = std::filesystem;

const std::string kStore = HaldenLib::kStoreFile;
const std::string kBackup = HaldenLib::kBackupFile;
const char kValid[] = "ConfigStore backup [/var/lib/halden/configstore/backup/current-store-1] is valid.";
const char kInconsistent[] =
    "ConfigStore backup [/var/lib/halden/configstore/backup/current-store-1] is inconsistent, creating new "
    "ConfigStore.";

// A host whose backup holds the key "backup" and whose store the key "lost".
class RestoringHost : public TestHost {
 public:
  RestoringHost() {
    MarkStore("backup");
    fs::create_directories(root.Resolve(HaldenLib::kBackupDirectory));
    EXPECT_EQ(0, backup(kStore, kBackup));
    Run("DELETE FROM KVTable;");
    MarkStore("lost");
  }
  void MarkStore(const std::string& key) const { Run("INSERT INTO KVTable(Key) VALUES('" + key + "');"); }
  std::string Keys() const {
    return Query("SELECT group_concat(Key) FROM KVTable WHERE Key IN ('backup', 'lost', 'log', 'other');");
  }
  void Move(const std::string& from, const std::string& to) const {
    fs::create_directories(fs::path(root.Resolve(to)).parent_path());
    fs::rename(root.Resolve(from), root.Resolve(to));
  }
  // Runs a script on a file of the host as another program would, which then dies
  // with the file open: its side files stay.
  void RunAndDie(const std::string& path, const std::string& sql) const {
    const pid_t child = fork();
    if (child == 0) {
      sqlite3* database = nullptr;
      sqlite3_open(root.Resolve(path).c_str(), &database);
      sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr);
      raise(SIGKILL);
    }
    waitpid(child, nullptr, 0);
  }
  void Overwrite(const std::string& path, size_t from, const std::string& bytes) const {
    std::string content = root.Read(path);
    root.Write(path, content.substr(0, from) + bytes);
  }
};

struct BackupCase {
  const char* name;
  void (*spoil)(const RestoringHost& host);
  const char* keys;  // in the store after the load
  const char* logged;
};

const BackupCase kBackupCases[] = {
    {"Good", [](const RestoringHost&) {}, "backup", kValid},
    {"None", [](const RestoringHost& h) { fs::remove(h.root.Resolve(kBackup)); }, "-", "ConfigStore backup not found "},
    {"OfTheFirstBoot", [](const RestoringHost& h) { h.Move(kBackup, HaldenLib::kFirstBootBackupFile); }, "backup",
     "ConfigStore backup [/var/lib/halden/configstore/firstbootBackup/current-store-1] is valid."},
    {"BesideOneOfTheFirstBoot",
     [](const RestoringHost& h) { h.root.Write(HaldenLib::kFirstBootBackupFile, "not looked at"); }, "backup", kValid},
    {"Truncated", [](const RestoringHost& h) { fs::resize_file(h.root.Resolve(kBackup), 6000); }, "-", kInconsistent},
    {"CutToNothing", [](const RestoringHost& h) { fs::resize_file(h.root.Resolve(kBackup), 0); }, "-", kInconsistent},
    {"Zeroed", [](const RestoringHost& h) { h.root.Write(kBackup, std::string(65536, '\0')); }, "-", kInconsistent},
    {"Damaged", [](const RestoringHost& h) { h.Overwrite(kBackup, 8192, std::string(65536, '\x7f')); }, "-",
     kInconsistent},
    {"Foreign",
     [](const RestoringHost& h) {
       h.root.Write(kBackup, "");
       h.RunAndDie(kBackup, "CREATE TABLE Config(Name);");
     },
     "-", kInconsistent},
    {"Directory",
     [](const RestoringHost& h) {
       fs::remove(h.root.Resolve(kBackup));
       fs::create_directories(h.root.Resolve(kBackup));
     },
     "-", kInconsistent},
    {"ReadOnly", [](const RestoringHost& h) { fs::permissions(h.root.Resolve(kBackup), fs::perms::owner_read); },
     "backup", kValid},
    {"WithItsLog",
     [](const RestoringHost& h) {
       h.RunAndDie(kBackup, "PRAGMA journal_mode=WAL; INSERT INTO KVTable(Key) VALUES('log');");
       ASSERT_TRUE(h.Exists(kBackup + "-wal"));
     },
     "backup,log", kValid},
    {"WithAHotJournal",
     [](const RestoringHost& h) {
       h.RunAndDie(kBackup,
                   "PRAGMA cache_size=1; PRAGMA cache_spill=1; BEGIN; DELETE FROM KVTable; INSERT INTO "
                   "KVTable(Key, Value) SELECT 'log', zeroblob(1000000);");
       ASSERT_TRUE(h.Exists(kBackup + "-journal"));
     },
     "backup", kValid},
};

class Backups : public testing::TestWithParam<BackupCase> {};

TEST_P(Backups, AreRestoredWhenConsistent) {
  const RestoringHost host;
  GetParam().spoil(host);
  LoadStore(true);
  EXPECT_EQ(GetParam().keys, host.Keys());
  EXPECT_TRUE(host.Logged(GetParam().logged));
  const bool isRestored = std::string(GetParam().keys) != "-";
  EXPECT_EQ(isRestored, host.Logged("ConfigStore restored successfully from backup"));
  EXPECT_EQ("ok", host.Query("PRAGMA integrity_check;"));
  struct stat status;
  ASSERT_EQ(0, stat(host.root.Resolve(kStore).c_str(), &status));
  EXPECT_EQ(0600u, status.st_mode & 0777);
}

INSTANTIATE_TEST_SUITE_P(Kinds, Backups, testing::ValuesIn(kBackupCases),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(Restore, TakesALogAlongThatAReaderKeepsOutOfTheBackup) {
  const RestoringHost host;
  sqlite3* reader = nullptr;
  ASSERT_EQ(SQLITE_OK, sqlite3_open(host.root.Resolve(kBackup).c_str(), &reader));
  ASSERT_EQ(SQLITE_OK,
            sqlite3_exec(reader, "PRAGMA journal_mode=WAL; BEGIN; SELECT * FROM KVTable;", nullptr, nullptr, nullptr));
  host.RunAndDie(kBackup, "INSERT INTO KVTable(Key) VALUES('log');");
  LoadStore(true);
  EXPECT_EQ("backup,log", host.Keys());
  sqlite3_close(reader);
}

// What was left beside the store by others is never played into the restored file.
struct SideFileCase {
  const char* name;
  void (*leave)(const RestoringHost& host);
};

const SideFileCase kSideFileCases[] = {
    {"LogOfTheStore",
     [](const RestoringHost& h) {
       h.RunAndDie(kStore, "INSERT INTO KVTable(Key) VALUES('other');");
       ASSERT_TRUE(h.Exists(kStore + "-wal"));
     }},
    {"HotJournalOfTheStore",
     [](const RestoringHost& h) {
       h.RunAndDie(kStore,
                   "PRAGMA journal_mode=DELETE; PRAGMA cache_size=1; PRAGMA cache_spill=1; BEGIN; DELETE FROM "
                   "KVTable; INSERT INTO KVTable(Key, Value) SELECT 'other', zeroblob(1000000);");
       ASSERT_TRUE(h.Exists(kStore + "-journal"));
     }},
    {"LogWithoutItsStore",
     [](const RestoringHost& h) {
       h.RunAndDie(kStore, "INSERT INTO KVTable(Key) VALUES('other');");
       fs::remove(h.root.Resolve(kStore));
     }},
};

class SideFiles : public testing::TestWithParam<SideFileCase> {};

TEST_P(SideFiles, GoWithTheStoreTheyBelongTo) {
  for (const bool hasBackup : {true, false}) {
    const RestoringHost host;
    if (!hasBackup) fs::remove(host.root.Resolve(kBackup));
    GetParam().leave(host);
    LoadStore(true);
    EXPECT_EQ(hasBackup ? "backup" : "-", host.Keys());
    EXPECT_EQ("ok", host.Query("PRAGMA integrity_check;"));
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, SideFiles, testing::ValuesIn(kSideFileCases),
                         [](const auto& test) { return std::string(test.param.name); });

// A host of its own programs: the root's /bin comes before the machine's.
void Program(const RestoringHost& host, const std::string& path, const std::string& script) {
  fs::permissions(host.root.Write(path, "#!/bin/sh\n" + script), fs::perms::owner_all);
}

TEST(Restore, StoreThatCannotBeRemovedIsReplacedWithItsSideFiles) {
  const RestoringHost host;
  Program(host, "/bin/rm", "exit 1\n");
  host.RunAndDie(kStore, "INSERT INTO KVTable(Key) VALUES('other');");
  LoadStore(true);
  EXPECT_TRUE(host.Logged("Error removing sticky ConfigStore file"));
  EXPECT_EQ("backup", host.Keys());
}

TEST(Restore, CopyThatFailsLeavesANewStoreOrTheOneThatCouldNotBeRemoved) {
  for (const bool isStuck : {false, true}) {
    const RestoringHost host;
    Program(host, "/bin/cp", isStuck ? "exit 1\n" : "/usr/bin/head -c 6000 \"$1\" > \"$2\"; exit 1\n");
    if (isStuck) Program(host, "/bin/rm", "exit 1\n");
    LoadStore(true);
    EXPECT_TRUE(host.Logged("Cannot copy ConfigStore from backup [" + kBackup + "], creating new ConfigStore."));
    EXPECT_EQ(isStuck ? "lost" : "-", host.Keys());
    EXPECT_FALSE(host.Logged("ConfigStore restored successfully from backup"));
  }
}

TEST(Restore, CommandsAreThoseTheHostKnows) {
  const RestoringHost host;
  host.RunAndDie(kStore, "INSERT INTO KVTable(Key) VALUES('other');");
  for (const char* name : {"rm", "cp"}) {
    Program(host, std::string("/bin/") + name,
            "ls $HALDEN_ROOT/etc/halden/configstore | xargs >> $HALDEN_ROOT/commands; echo " + std::string(name) +
                " \"$@\" >> $HALDEN_ROOT/commands; exec /usr/bin/" + name + " \"$@\"\n");
  }
  LoadStore(true);
  std::string commands = host.root.Read("/commands");
  for (size_t at; (at = commands.find(host.root.Path())) != std::string::npos;) {
    commands.erase(at, host.root.Path().size());
  }
  EXPECT_EQ(
      "current-store-1 current-store-1-shm current-store-1-wal\n"
      "rm -f /etc/halden/configstore/current-store-1\n"
      "\n"
      "cp /var/lib/halden/configstore/backup/current-store-1 /etc/halden/configstore/current-store-1\n",
      commands);
}

}  // namespace
