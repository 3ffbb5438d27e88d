// What others get to see of the store, and what they can bring into it.

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include "lifecycle/load_steps.h"
#include "lifecycle/test_host.h"
#include "platform/child_program.h"
#include "platform/json_reader.h"
#include "platform/json_values.h"
#include "platform/rehearsal.h"
#include "store/connection.h"

using namespace OrvoConfigStore;

namespace {

const std::string kStore = HaldenLib::kStoreFile, kBackup = HaldenLib::kBackupFile;

TEST(Files, ThatAreMadeAreTheirOwnersAloneWhateverTheMask) {
  const mode_t before = umask(0);
  const TempRoot root;
  const LogCapture log(root);
  CreateDatabases();
  SetupStoreRamDisk();  // records its request, and makes the directory of the backup
  for (int round = 0; round < 2; ++round) {
    LoadStore(true);
    SetKV("key", "value");
    EXPECT_EQ(0, backup(kStore, kBackup));
  }
  const auto open = ConfigStore::GetStore("");
  SetKV("key", "value");  // with its log beside it
  umask(before);
  size_t files = 0;
  for (const auto& entry : fs::recursive_directory_iterator(root.Path())) {
    EXPECT_EQ(fs::perms(entry.is_directory() ? 0700 : 0600), ModeOf(entry.path())) << entry.path();
    files += entry.is_directory() ? 0 : 1;
  }
  EXPECT_LT(6u, files) << "two databases, a log and its index, a backup, log files";
}

/// Returns how many descriptors of ours lead below the root.
size_t DescriptorsBelow(const std::string& root) {
  size_t count = 0;
  for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
    std::error_code gone;
    if (fs::read_symlink(entry.path(), gone).string().compare(0, root.size(), root) == 0) ++count;
  }
  return count;
}

TEST(Descriptors, StayWithTheProcess) {
  const TestHost host;
  const auto store = ConfigStore::GetStore("");
  const Connection connection = GetConn();
  const AttachedSchemaStore schemaStore(connection);
  void* const log = CSLogger::AddFileLogger("more");
  store->BeginTransaction();
  store->Set(host.Object(kTimeSource, R"({"method":"manual"})"), {});
  EXPECT_LT(6u, DescriptorsBelow(host.root.Path())) << "databases, logs, their index, log files";
  host.Program("/bin/tool", "ls -l /proc/self/fd > $HALDEN_ROOT/open\n");
  EXPECT_EQ(0, HaldenLib::RunCommand("/bin/tool"));
  const std::string open = host.root.Read("/open");
  const size_t own = open.find(host.root.Path() + "/open");
  EXPECT_NE(std::string::npos, own);
  EXPECT_EQ(own, open.find(host.root.Path())) << open;
  EXPECT_EQ(own, open.rfind(host.root.Path())) << open;
  store->CancelTransaction();
  CSLogger::RemoveFileLogger(log);
}

TEST(Links, AreNotFollowedToADatabase) {
  const TestHost host;
  const std::string schemas = host.root.Resolve(HaldenLib::kSchemaStoreFile);
  fs::rename(schemas, schemas + ".aside");
  fs::create_symlink(schemas + ".aside", schemas);
  EXPECT_FALSE(AttachedSchemaStore(GetConn()).IsAttached());
  fs::remove(schemas);
  fs::rename(schemas + ".aside", schemas);
  EXPECT_TRUE(AttachedSchemaStore(GetConn()).IsAttached());
  fs::create_directory_symlink(host.root.Path(), host.root.Path() + "-link");
  HaldenLib::SetHostRoot(host.root.Path() + "-link");
  EXPECT_TRUE(AttachedSchemaStore(GetConn()).IsAttached()) << "a directory on the way may be a link";
  fs::remove(host.root.Path() + "-link");
}

// How a file from elsewhere becomes the store.
const struct {
  const char* name;
  void (*take)(const TestHost& host);
} kWaysIn[] = {
    {"restored at boot", [](const TestHost&) { LoadStore(true); }},
    {"copied over the open store", [](const TestHost&) { EXPECT_EQ(0, backup(kBackup, kStore)); }},
    {"put there by hand",
     [](const TestHost& host) {
       for (const char* suffix : {"-wal", "-shm"}) fs::remove(host.root.Resolve(kStore + suffix));
       host.root.Write(kStore, host.root.Read(kBackup));
     }},
    {"restored in a rehearsal",
     [](const TestHost&) {
       ASSERT_NE(nullptr, DBStore::BeginRehearsal());
       EXPECT_EQ(0, backup(kBackup, kStore));
     }},
};

TEST(FileFromElsewhere, BringsNoTriggersAndViewsAlong) {
  for (const auto& way : kWaysIn) {
    for (const char* mode : {"DELETE", "WAL"}) {
      if (way.take == kWaysIn[2].take && std::string(mode) == "WAL") continue;  // as our own store, it is not looked at
      SCOPED_TRACE(std::string(way.name) + ", " + mode);
      const TestHost host;
      fs::create_directories(host.root.Resolve(HaldenLib::kBackupDirectory));
      SetKV("mine", "kept");
      ASSERT_EQ(0, backup(kStore, kBackup));
      sqlite3* database = nullptr;
      sqlite3_open(host.root.Resolve(kBackup).c_str(), &database);
      const std::string script =
          std::string("PRAGMA journal_mode=") + mode +
          "; DROP TRIGGER updateModifiedTime;"
          "CREATE TRIGGER updateModifiedTime AFTER UPDATE ON Config BEGIN DELETE FROM Config; END;"
          "CREATE TRIGGER \"e'v\"\"il\" AFTER INSERT ON Config BEGIN DELETE FROM KVTable; END;"
          "CREATE VIEW \"v--\" AS SELECT * FROM Config;"
          "CREATE TRIGGER inside INSTEAD OF INSERT ON \"v--\" BEGIN DELETE FROM KVTable; END;";
      ASSERT_EQ(SQLITE_OK, sqlite3_exec(database, script.c_str(), nullptr, nullptr, nullptr));
      sqlite3_close(database);

      const auto open = way.take == kWaysIn[1].take ? ConfigStore::GetStore("") : nullptr;
      if (open != nullptr) open->Get(kTimeSource);
      way.take(host);
      EndAutoConf();
      for (const char* method : {"manual", "ptp"}) {
        host.SetUser(kTimeSource, std::string(R"({"method":")") + method + "\"}");
      }
      EXPECT_EQ(R"({"method":"ptp"})", host.Get(kTimeSource));
      EXPECT_EQ("kept", GetKV("mine"));
      EXPECT_EQ("", host.Query("SELECT name FROM sqlite_schema WHERE type='view' OR sql LIKE '%DELETE FROM%';"));
      DBStore::EndRehearsal();
      EXPECT_TRUE(IsConsistentStore(kStore));
    }
  }
}

std::string Json(const std::string& text) {
  JsonStorage storage;
  return JsonText(TextValue(text, storage.allocator));
}

// Every name may be any text: it is never part of a statement, a format, a command or a path.
const char* const kNames[] = {"'; DROP TABLE Config; --",
                              "a' OR '1'='1",
                              "''",
                              "\"; --",
                              "%s%n%1$s%2$s",
                              "?1 :a @b $c",
                              "$(id) `id` *",
                              "a\nb; c",
                              "\\'"};

TEST(Names, AreNeverPartOfAStatementAFormatOrACommand) {
  for (const std::string name : kNames) {
    SCOPED_TRACE(name);
    const TestHost host;
    host.SetUser(kTimeSource, R"({"method":"manual"})");
    const std::string field = Json(name), data = "{" + field + ":" + field + "}";
    host.root.Write(
        std::string(HaldenLib::kComponentsDirectory) + "/" + name + "/schema/" + name + ".json",
        R"({"component":)" + field + R"(,"group":)" + field + R"(,"key":)" + field + R"(,"version":)" + field +
            R"(,"schema":{"type":"array","items":{"type":"object","required":["cs_generated_id"],"properties":{)" +
            field +
            R"(:{"type":"string"},"cs_generated_id":{"type":"string","instanceId":true}}},"instanceId":"cs_generated_id"}})");
    ASSERT_TRUE(ProcessSchemas({name})) << host.log.Lines().back();
    const ConfigStoreObjectId id(name, name, name, name);
    const auto store = ConfigStore::GetStore("");
    store->Set(host.Object(id, data), {});
    store->Update(host.Object(id, data), {});
    const auto filter =
        std::make_shared<FilterSpecObject>(ConfigStoreObjectId(name, name, name), CreateDocumentFromString(data));
    EXPECT_EQ(1u, store->GetInstances(filter).size());
    EXPECT_EQ(1u, store->GetInstances(std::make_shared<FilterSpecObject>(id)).size());
    ExportOptions all;
    all.secrets = SECRETS_INCLUDED;
    const std::string document = Export(all);
    EXPECT_EQ(2u, Import(document).objects);
    EXPECT_EQ(document, Export(all));
    SetDesiredUserConfig({host.Object(id, data), host.Object(kTimeSource, R"({"method":"ptp"})")});
    EXPECT_EQ(2u, ListStagedConfig().size());
    SetBootMode(BOOTMODE_APPLY);
    LoadStore(false);
    EndAutoConf();
    SetBootStatus(id, true);
    std::string value;
    store->Get(id)->GetValue(name.c_str(), &value);
    EXPECT_EQ(name, value);
    SetKV(name, name);
    EXPECT_EQ(name, GetKV(name));
    SetUpgradeLibStatus(true, name);
    EXPECT_EQ(name.find('\'') == std::string::npos ? 1 : 2, GetUpgradeLibStatus(name)) << "documented";
    ConfigWatcher watcher({id});
    EXPECT_EQ("1089 Failed to validate Set [/" + name + ": INCORRECT TYPE: expected string.]",
              Thrown([&] { store->Set(host.Object(id, "{" + field + ":1}"), {}); }));
    CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "%s", name.c_str());
    store->DeleteInstances(filter);
    EXPECT_EQ(1u, watcher.Poll().size());
    fs::create_directories(host.root.Resolve("/copies"));
    EXPECT_EQ(0, backup(kStore, "/copies/" + name));
    EXPECT_TRUE(fs::exists(host.root.Path() + "/copies/" + name));
    SetBootStatus(kTimeSource, true);
    EXPECT_EQ(R"({"method":"ptp"})", host.Get(kTimeSource));
    EXPECT_EQ("1 7", host.Query("SELECT (SELECT count(*) FROM Config), (SELECT count(*) FROM sqlite_schema WHERE sql "
                                "NOT NULL);"));
  }
}

}  // namespace
