// Creating, placing and checking the files of the two databases.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>

#include "platform/host_log.h"
#include "platform/test_database.h"

using namespace DBStore;

namespace {

namespace fs = std::filesystem;
using Connection = TestDatabase::Connection;

const char kAllNames[] =
    "SELECT group_concat(name, ' ') FROM (SELECT name FROM sqlite_schema WHERE sql NOT NULL ORDER BY 1)";

TEST(CreateDatabases, MakesBothFilesForTheirOwnerAlone) {
  const TestDatabase host;
  EXPECT_EQ("Config ConfigSchema DefaultConfig DesiredUserConfig KVTable UpgradeStatus updateModifiedTime",
            host.Query(host.Connect(), kAllNames));
  EXPECT_EQ("ConfigSchema", host.Query(GetConnection(TYPE_SCHEMA_STORE), kAllNames));
  EXPECT_EQ("delete", host.Query(GetConnection(TYPE_SCHEMA_STORE), "PRAGMA journal_mode"));
  struct stat status;
  for (const char* file : {HaldenLib::kStoreFile, HaldenLib::kSchemaStoreFile}) {
    ASSERT_EQ(0, stat(host.root.Resolve(file).c_str(), &status));
    EXPECT_EQ(S_IFREG | 0600u, status.st_mode);
  }
  ASSERT_EQ(0, stat(host.root.Resolve(HaldenLib::kStoreDirectory).c_str(), &status));
  EXPECT_EQ(S_IFDIR | 0700u, status.st_mode);
}

TEST(CreateDatabases, AddsWhatIsMissingAndKeepsTheRest) {
  const TestDatabase host;
  ASSERT_EQ(0, host.Put(host.Connect(), "kept"));
  ASSERT_EQ(0, host.Run(host.Connect(), "DROP TABLE DefaultConfig"));
  ASSERT_EQ(0, host.Run(host.Connect(), "CREATE TABLE Guest(a)"));
  ASSERT_EQ(0, CreateDatabases());
  const Connection writer = host.Connect();
  ASSERT_EQ(0, BeginTransaction(writer));
  EXPECT_EQ(0, CreateDatabases()) << "nothing is missing, so no writer is in the way";
  EXPECT_EQ("Config ConfigSchema DefaultConfig DesiredUserConfig Guest KVTable UpgradeStatus updateModifiedTime",
            host.Query(host.Connect(), kAllNames));
  EXPECT_EQ("kept", host.StoredKeys());
}

TEST(CreateDatabases, RepairsAFileThatIsStillEmptyAndPlaysNoOldLogIntoIt) {
  const TestDatabase host;
  const Connection holdsTheLog = host.Connect();
  ASSERT_EQ(0, host.Put(holdsTheLog, "old"));
  const std::string log = host.root.Read(std::string(HaldenLib::kStoreFile) + "-wal");
  ASSERT_FALSE(log.empty());
  const TempRoot other;
  other.Write(HaldenLib::kStoreFile, "");
  other.Write(std::string(HaldenLib::kStoreFile) + "-wal", log);
  ASSERT_EQ(0, CreateDatabases());
  EXPECT_EQ("-", host.StoredKeys());
  EXPECT_TRUE(Check(HaldenLib::kStoreFile));
}

TEST(CreateDatabases, MayRunInManyProcessesAtOnce) {
  for (int round = 0; round < 5; ++round) {
    const TempRoot root;
    const int result = InChild([] {
      pid_t children[6];
      for (pid_t& child : children) {
        child = fork();
        if (child == 0) _exit(CreateDatabases());
      }
      int failures = 0;
      for (const pid_t child : children) {
        int status = 0;
        waitpid(child, &status, 0);
        failures += status == 0 ? 0 : 1;
      }
      return failures;
    });
    EXPECT_EQ(0, result);
    EXPECT_TRUE(Check(HaldenLib::kStoreFile));
    EXPECT_EQ("wal", TestDatabase::JournalMode());
  }
}

// What lies in the store's place.
struct PlaceCase {
  const char* name;
  void (*make)(const std::string& path);
  int code;
};

const PlaceCase kPlaceCases[] = {
    {"Missing", [](const std::string&) {}, SQLITE_CANTOPEN},
    {"Directory", [](const std::string& path) { mkdir(path.c_str(), 0700); }, SQLITE_CANTOPEN_ISDIR},
    {"Fifo", [](const std::string& path) { mkfifo(path.c_str(), 0600); }, SQLITE_NOTADB},
    {"Link",
     [](const std::string& path) {
       fs::rename(path + "-real", path + "-file");
       fs::create_symlink(path + "-file", path);
     },
     SQLITE_CANTOPEN_SYMLINK},
    {"DanglingLink", [](const std::string& path) { fs::create_symlink("nowhere", path); }, SQLITE_CANTOPEN_SYMLINK},
};

class StorePlace : public testing::TestWithParam<PlaceCase> {};

TEST_P(StorePlace, IsOpenedOnlyWhenItIsARegularFile) {
  const TestDatabase host;
  HaldenLib::Log_InitWithSyslogInt("test", {});
  const std::string path = host.root.Resolve(HaldenLib::kStoreFile);
  fs::rename(path, path + "-real");
  GetParam().make(path);
  EXPECT_EQ(nullptr, host.Connect());
  EXPECT_EQ(GetParam().code, LastFailure().code);
  EXPECT_EQ(GetParam().code == SQLITE_CANTOPEN ? 0u : 1u, host.root.Syslog().size());
  EXPECT_EQ(std::string::npos, LastFailure().message.find(host.root.Path())) << "the host's own path is named";
  EXPECT_FALSE(Check(HaldenLib::kStoreFile));
  EXPECT_EQ(GetParam().code == SQLITE_CANTOPEN ? 0 : 1, CreateDatabases());
  HaldenLib::Log_Exit();
}

INSTANTIATE_TEST_SUITE_P(Places, StorePlace, testing::ValuesIn(kPlaceCases),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(ForeignFile, IsNotChanged) {
  const TempRoot root;
  const std::string store = std::string("SQLite format 3") + '\0' + std::string(5000, 'x');
  for (const std::string& content : {std::string("not a database"), std::string(5000, 'x'), store}) {
    root.Write(HaldenLib::kStoreFile, content);
    const Connection connection = TestDatabase::Connect();
    EXPECT_EQ(1, BeginTransaction(connection));
    EXPECT_EQ(1, TestDatabase::Put(connection, "k"));
    EXPECT_EQ(1, CreateDatabases());
    EXPECT_FALSE(Check(HaldenLib::kStoreFile));
    EXPECT_EQ(content, root.Read(HaldenLib::kStoreFile));
  }
}

TEST(Check, LeavesNothingBesideTheFile) {
  const TestDatabase host;
  const std::string path = host.root.Resolve(HaldenLib::kStoreFile);
  host.root.Write("/b/copy #1%20?", host.root.Read(HaldenLib::kStoreFile));
  EXPECT_TRUE(Check("/b/copy #1%20?"));
  EXPECT_EQ(1, std::distance(fs::directory_iterator(host.root.Resolve("/b")), {}));
  fs::rename(host.root.Resolve("/b/copy #1%20?"), host.root.Resolve("/file:copy"));
  const fs::path before = fs::current_path();
  fs::current_path(host.root.Path());
  EXPECT_TRUE(Check("/file:copy"));
  EXPECT_FALSE(Check("file:copy"));
  fs::current_path(before);
  EXPECT_FALSE(Check("/b/none"));
}

TEST(Check, ReadsTheLogOfAStoreInUse) {
  const TestDatabase host;
  const Connection connection = host.Connect();
  ASSERT_EQ(0, host.Run(connection, "ALTER TABLE KVTable RENAME TO Gone"));
  EXPECT_FALSE(Check(HaldenLib::kStoreFile));
  ASSERT_EQ(0, host.Run(connection, "ALTER TABLE Gone RENAME TO KVTable"));
  EXPECT_TRUE(Check(HaldenLib::kStoreFile));
}

TEST(Check, FindsDamage) {
  const TestDatabase host;
  std::string content = host.root.Read(HaldenLib::kStoreFile);
  content.replace(content.size() - 4096, 2000, std::string(2000, '\x7f'));
  host.root.Write("/copy", content);
  EXPECT_FALSE(Check("/copy"));
}

}  // namespace
