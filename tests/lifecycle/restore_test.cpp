// What a boot load makes of each kind of backup, and by which commands.

#include <signal.h>
#include <sqlite3.h>

#include <regex>

#include "lifecycle/test_host.h"

using namespace OrvoConfigStore;

namespace {

const std::string kStore = HaldenLib::kStoreFile, kBackup = HaldenLib::kBackupFile;
const char kValid[] = "ConfigStore backup [/var/lib/halden/configstore/backup/current-store-1] is valid.";
const char kInconsistent[] =
    "ConfigStore backup [/var/lib/halden/configstore/backup/current-store-1] is inconsistent, creating new "
    "ConfigStore.";
const char kAddOther[] = "INSERT INTO KVTable(Key) VALUES('other');";

// A host whose backup holds the key "backup" and whose store the key "lost".
struct RestoringHost : TestHost {
  RestoringHost() {
    Run("INSERT INTO KVTable(Key) VALUES('backup');");
    fs::create_directories(root.Resolve(HaldenLib::kBackupDirectory));
    EXPECT_EQ(0, backup(kStore, kBackup));
    Run("UPDATE KVTable SET Key='lost' WHERE Key='backup';");
  }
  static std::string Keys() {
    return Query("SELECT group_concat(Key) FROM KVTable WHERE Key IN ('backup', 'lost', 'log', 'other');");
  }
  void Remove(const std::string& path) const { fs::remove(root.Resolve(path)); }
  void Cut(const std::string& path, size_t size) const { fs::resize_file(root.Resolve(path), size); }
  // Runs a script on a file of the host as another program would, which then dies
  // with the file open: its side files stay.
  void RunAndDie(const std::string& path, const std::string& sql, const char* sideFile) const {
    EXPECT_EQ(-1, InChild([&] {
      sqlite3* database = nullptr;
      sqlite3_open(root.Resolve(path).c_str(), &database);
      sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr);
      return raise(SIGKILL);
    }));
    EXPECT_TRUE(Exists(path + sideFile));
  }
};

// The keys that are in the store after the load, and what is logged of the backup.
// clang-format off
using Host = const RestoringHost&;
const struct { const char* name; void (*spoil)(Host); const char *keys, *logged; } kBackupCases[] = {
    {"good", [](Host) {}, "backup", kValid},
    {"none", [](Host h) { h.Remove(kBackup); }, "-", "ConfigStore backup not found "},
    {"of the first boot", [](Host h) {
       h.root.Write(HaldenLib::kFirstBootBackupFile, h.root.Read(kBackup));
       h.Remove(kBackup);
     }, "backup", "ConfigStore backup [/var/lib/halden/configstore/firstbootBackup/current-store-1] is valid."},
    {"beside one of the first boot", [](Host h) { h.root.Write(HaldenLib::kFirstBootBackupFile, "bad"); }, "backup",
     kValid},
    {"damaged", [](Host h) { h.root.Write(kBackup, h.root.Read(kBackup).substr(0, 8192) + Repeated("\x7f", 65536)); },
     "-", kInconsistent},
    {"foreign", [](Host h) { h.Cut(kBackup, 0); h.RunAndDie(kBackup, "CREATE TABLE Config(Name);", ""); }, "-",
     kInconsistent},
    {"directory", [](Host h) { h.Remove(kBackup); fs::create_directories(h.root.Resolve(kBackup)); }, "-",
     kInconsistent},
    {"read-only", [](Host h) { fs::permissions(h.root.Resolve(kBackup), fs::perms::owner_read); }, "backup", kValid},
};
// clang-format on

TEST(Backups, AreRestoredWhenConsistent) {
  for (const auto& row : kBackupCases) {
    SCOPED_TRACE(row.name);
    const RestoringHost host;
    row.spoil(host);
    LoadStore(true);
    EXPECT_EQ(row.keys, host.Keys());
    EXPECT_TRUE(host.Logged(row.logged));
    EXPECT_EQ(std::string(row.keys) != "-", host.Logged("ConfigStore restored successfully from backup"));
    EXPECT_EQ("ok", host.Query("PRAGMA integrity_check;"));
    EXPECT_EQ(fs::perms(0600), ModeOf(host.root.Resolve(kStore)));
  }
}

TEST(Restore, TakesALogAlongThatAReaderKeepsOutOfTheBackup) {
  const RestoringHost host;
  sqlite3* reader = nullptr;
  ASSERT_EQ(SQLITE_OK, sqlite3_open(host.root.Resolve(kBackup).c_str(), &reader));
  ASSERT_EQ(SQLITE_OK,
            sqlite3_exec(reader, "PRAGMA journal_mode=WAL; BEGIN; SELECT * FROM KVTable;", nullptr, nullptr, nullptr));
  host.RunAndDie(kBackup, "INSERT INTO KVTable(Key) VALUES('log');", "-wal");
  LoadStore(true);
  EXPECT_EQ("backup,log", host.Keys());
  sqlite3_close(reader);
}

// Whether the host's rm and cp work, and what is in the store then.
TEST(Restore, CommandsThatFailLeaveTheBackupANewStoreOrTheOneThatCouldNotBeRemoved) {
  const char kCutCopy[] = "/usr/bin/head -c 6000 \"$1\" > \"$2\"; exit 1\n", kFail[] = "exit 1\n";
  // clang-format off
  const struct { const char *rm, *cp, *keys, *logged; } kCases[] = {
      {kFail, nullptr, "backup", "Error removing sticky ConfigStore file"},
      {nullptr, kCutCopy, "-", "Cannot copy ConfigStore from backup ["},
      {kFail, kFail, "lost,other", "/backup/current-store-1], creating new ConfigStore."},
  };
  // clang-format on
  for (const auto& row : kCases) {
    const RestoringHost host;
    if (row.rm != nullptr) host.Program("/bin/rm", row.rm);
    if (row.cp != nullptr) host.Program("/bin/cp", row.cp);
    host.RunAndDie(kStore, kAddOther, "-wal");
    LoadStore(true);
    EXPECT_EQ(row.keys, host.Keys());
    EXPECT_TRUE(host.Logged(row.logged)) << row.logged;
    EXPECT_EQ(row.cp == nullptr, host.Logged("ConfigStore restored successfully from backup"));
  }
}

TEST(Restore, CommandsAreThoseTheHostKnows) {
  const RestoringHost host;
  host.RunAndDie(kStore, kAddOther, "-wal");
  for (const std::string name : {"rm", "cp"}) {
    host.Program("/bin/" + name, "ls $HALDEN_ROOT/etc/halden/configstore | xargs >> $HALDEN_ROOT/commands; echo " +
                                     name + " \"$@\" >> $HALDEN_ROOT/commands; exec /usr/bin/" + name + " \"$@\"\n");
  }
  LoadStore(true);
  const std::string commands = std::regex_replace(host.root.Read("/commands"), std::regex(host.root.Path()), "");
  EXPECT_EQ(
      "current-store-1 current-store-1-shm current-store-1-wal\n"
      "rm -f /etc/halden/configstore/current-store-1\n"
      "\n"
      "cp /var/lib/halden/configstore/backup/current-store-1 /etc/halden/configstore/current-store-1\n",
      commands);
}

}  // namespace
