// Creating, placing and checking the files of the two databases.

#include <sys/stat.h>

#include <fstream>

#include "platform/test_database.h"

using namespace DBStore;

namespace {

using Connection = TestDatabase::Connection;

const std::string kStore = HaldenLib::kStoreFile;
const char kAllNames[] =
    "SELECT group_concat(name, ' ') FROM (SELECT name FROM sqlite_schema WHERE sql NOT NULL ORDER BY 1)";

TEST(CreateDatabases, AddsWhatIsMissingAndKeepsTheRest) {
  const TestDatabase host;
  for (const char* sql :
       {"INSERT INTO KVTable(Key) VALUES('kept')", "DROP TABLE DefaultConfig", "CREATE TABLE Guest(a)"}) {
    ASSERT_EQ(0, host.Run(host.Connect(), sql));
  }
  ASSERT_EQ(0, CreateDatabases());
  const Connection writer = host.Connect();
  ASSERT_EQ(0, BeginTransaction(writer));
  EXPECT_EQ(0, CreateDatabases()) << "nothing is missing, so no writer is in the way";
  EXPECT_EQ("Config ConfigSchema DefaultConfig DesiredUserConfig Guest KVTable UpgradeStatus updateModifiedTime",
            RowsOf(host.Connect(), kAllNames));
  EXPECT_EQ("kept", host.StoredKeys());
}

TEST(CreateDatabases, RepairsAFileThatIsStillEmptyAndPlaysNoOldLogIntoIt) {
  const TestDatabase host;
  const Connection holdsTheLog = host.Connect();
  ASSERT_EQ(0, host.Put(holdsTheLog, "old"));
  const std::string log = host.root.Read(kStore + "-wal");
  ASSERT_FALSE(log.empty());
  const TempRoot other;
  other.Write(kStore, "");
  other.Write(kStore + "-wal", log);
  ASSERT_EQ(0, CreateDatabases());
  EXPECT_EQ("-", host.StoredKeys());
  EXPECT_TRUE(Check(kStore));
}

TEST(CreateDatabases, MayRunInManyProcessesAtOnce) {
  for (int round = 0; round < 5; ++round) {
    const TempRoot root;
    std::vector<pid_t> children;
    for (int i = 0; i < 6; ++i) children.push_back(StartChild([] { return CreateDatabases(); }));
    for (const pid_t child : children) EXPECT_EQ(0, ResultOf(child));
    EXPECT_TRUE(Check(kStore));
    EXPECT_EQ("wal", TestDatabase::JournalMode());
  }
}

// What lies in the store's place, and the code that opening it ends with.
// clang-format off
const char kHeader[] = "SQLite format 3";
const struct { const char* name; void (*make)(const std::string& path); int code; } kPlaceCases[] = {
    {"directory", [](const std::string& path) { mkdir(path.c_str(), 0700); }, SQLITE_CANTOPEN_ISDIR},
    {"fifo", [](const std::string& path) { mkfifo(path.c_str(), 0600); }, SQLITE_NOTADB},
    {"link to a store", [](const std::string& path) { fs::create_symlink(path + "-real", path); },
     SQLITE_CANTOPEN_SYMLINK},
    {"dangling link", [](const std::string& path) { fs::create_symlink("nowhere", path); }, SQLITE_CANTOPEN_SYMLINK},
    {"text", [](const std::string& path) { std::ofstream(path) << "text"; }, SQLITE_NOTADB},
    {"header", [](const std::string& path) { std::ofstream(path) << kHeader << '\0' << std::string(5000, 'x'); },
     SQLITE_NOTADB},
};
// clang-format on

TEST(StoreFile, ThatIsNoneIsRefusedAndNotChanged) {
  for (const auto& row : kPlaceCases) {
    SCOPED_TRACE(row.name);
    const TestDatabase host;
    const std::string path = host.root.Resolve(kStore);
    fs::rename(path, path + "-real");
    row.make(path);
    const bool isFile = fs::symlink_status(path).type() == fs::file_type::regular;
    const std::string before = isFile ? host.root.Read(kStore) : "";
    const Connection connection = host.Connect();
    EXPECT_EQ(nullptr, connection);
    EXPECT_EQ(1, host.Put(connection, "k"));
    EXPECT_EQ(row.code, LastFailure().code);
    EXPECT_EQ(std::string::npos, LastFailure().message.find(host.root.Path())) << "the host's own path is named";
    EXPECT_EQ(1, CreateDatabases());
    EXPECT_FALSE(Check(kStore));
    EXPECT_EQ(before, isFile ? host.root.Read(kStore) : "");
  }
}

TEST(Check, LeavesNothingBesideTheFileAndTakesNoAddress) {
  const TestDatabase host;
  host.root.Write("/b/copy #1%20?", host.root.Read(kStore));
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

}  // namespace
