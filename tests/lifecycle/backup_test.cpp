#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include "lifecycle/failing_disk.h"
#include "lifecycle/test_host.h"

using namespace OrvoConfigStore;

namespace {

namespace fs = std::filesystem;

const std::string kStore = HaldenLib::kStoreFile;
const std::string kCopy = "/backups/copy";

class Backup : public testing::Test {
 protected:
  Backup() {
    fs::create_directories(host_.root.Resolve("/backups"));
    host_.Put(kTimeSource, "null, 'value', null, null, 1");  // in the log, not yet in the file
  }
  std::vector<std::string> FilesThere() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(host_.root.Resolve("/backups"))) {
      names.push_back(entry.path().filename());
    }
    return names;
  }
  // Returns what syslog has got, without prefixes, lines ended by "|".
  std::string Said() const {
    std::string said;
    for (const std::string& line : host_.root.Syslog()) said += line.substr(line.find(":] ") + 3) + "|";
    return said;
  }
  // Opens the copy as a read-only medium would have it opened.
  std::string ReadAlone() const {
    sqlite3* database = nullptr;
    const std::string uri = "file:" + host_.root.Resolve(kCopy) + "?immutable=1";
    sqlite3_open_v2(uri.c_str(), &database, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr);
    std::string value = "unreadable";
    const auto take = [](void* out, int, char** texts, char**) {
      *static_cast<std::string*>(out) = texts[0];
      return 0;
    };
    sqlite3_exec(database, "SELECT UserValue FROM Config;", take, &value, nullptr);
    sqlite3_close(database);
    return value;
  }

  const TestHost host_;
};

TEST_F(Backup, IsOneFileOfItsOwner) {
  for (int round = 0; round < 2; ++round) {  // a new one, and over one that is there
    EXPECT_EQ(0, backup(kStore, kCopy));
    EXPECT_EQ("value", ReadAlone());
    EXPECT_EQ("\1\1", host_.root.Read(kCopy).substr(18, 2)) << "its header asks for no log";
    EXPECT_EQ(std::vector<std::string>{"copy"}, FilesThere());
    struct stat status;
    ASSERT_EQ(0, stat(host_.root.Resolve(kCopy).c_str(), &status));
    EXPECT_EQ(0600u, status.st_mode & 0777);
    EXPECT_TRUE(IsConsistentStore(kCopy));
    host_.Run("PRAGMA user_version=7;");
  }
  const std::string success = "ConfigStore backup completed successfully|ConfigStore backup completed with rc = 101|";
  EXPECT_EQ(success + success, Said());
}

// What is refused, with which result; nothing is created or changed.
struct RefusalCase {
  const char* name;
  std::string source;
  std::string destination;
  int result;
  std::string said;
};

const std::string kNoConnection = "Cannot connect to sqlite database at ";
const RefusalCase kRefusalCases[] = {
    {"MissingSource", "/backups/none", kCopy, SQLITE_CANTOPEN, kNoConnection + "/backups/none, rc=14|"},
    {"AddressAsSource", "file:" + kStore, kCopy, SQLITE_CANTOPEN, kNoConnection + "file:" + kStore + ", rc=14|"},
    {"AddressAsDestination", kStore, "file:copy", SQLITE_CANTOPEN, kNoConnection + kStore + ", rc=14|"},
    {"SourceThatIsNoDatabase", "/backups/text", kCopy, SQLITE_NOTADB, kNoConnection + "/backups/text, rc=26|"},
    {"DestinationThatIsNoDatabase", kStore, "/backups/text", SQLITE_NOTADB, kNoConnection + kStore + ", rc=26|"},
    {"DestinationInNoDirectory", kStore, "/none/copy", SQLITE_CANTOPEN, kNoConnection + kStore + ", rc=14|"},
    {"DestinationBehindALink", kStore, "/backups/link", SQLITE_CANTOPEN, kNoConnection + kStore + ", rc=14|"},
    {"OneFile", kStore, kStore, SQLITE_ERROR, "Cannot initialize config store backup, rc=1|"},
};

class Refusals : public Backup, public testing::WithParamInterface<RefusalCase> {};

TEST_P(Refusals, ChangeNothing) {
  host_.root.Write("/backups/text", std::string(5000, 'x'));
  fs::create_symlink(host_.root.Resolve(kStore), host_.root.Resolve("/backups/link"));
  EXPECT_EQ(GetParam().result, backup(GetParam().source, GetParam().destination));
  EXPECT_EQ(GetParam().said, Said());
  EXPECT_EQ(2u, FilesThere().size());
  EXPECT_FALSE(fs::exists("file:copy"));
  EXPECT_EQ(std::string(5000, 'x'), host_.root.Read("/backups/text"));
  EXPECT_EQ("time_source value - 1", host_.Rows());
}

INSTANTIATE_TEST_SUITE_P(Kinds, Refusals, testing::ValuesIn(kRefusalCases),
                         [](const auto& test) { return std::string(test.param.name); });

// Counts the waits instead of waiting.
class CountedSleep {
 public:
  CountedSleep() : vfs_(sqlite3_vfs_find(nullptr)), before_(vfs_->xSleep) {
    Waited() = 0;
    vfs_->xSleep = [](sqlite3_vfs*, int microseconds) {
      Waited() += microseconds;
      return microseconds;
    };
  }
  CountedSleep(const CountedSleep&) = delete;
  CountedSleep& operator=(const CountedSleep&) = delete;
  ~CountedSleep() { vfs_->xSleep = before_; }
  static int& Waited() {
    static int waited = 0;
    return waited;
  }

 private:
  sqlite3_vfs* vfs_;
  int (*before_)(sqlite3_vfs*, int);
};

TEST_F(Backup, GivesUpOnABusyDatabaseAfterTenSeconds) {
  ASSERT_EQ(0, backup(kStore, kCopy));
  sqlite3* other = nullptr;
  ASSERT_EQ(SQLITE_OK, sqlite3_open(host_.root.Resolve(kCopy).c_str(), &other));
  ASSERT_EQ(SQLITE_OK, sqlite3_exec(other, "BEGIN IMMEDIATE;", nullptr, nullptr, nullptr));
  const size_t before = Said().size();
  {
    const CountedSleep sleep;
    EXPECT_EQ(1, backup(kStore, kCopy));
    EXPECT_EQ(10000000, CountedSleep::Waited());
  }
  std::string expected;
  for (int attempt = 0; attempt < 10; ++attempt) expected += "ConfigStore backup is halted, because it is busy|";
  EXPECT_EQ(expected + "ConfigStore backup completed with rc = 5|", Said().substr(before));
  sqlite3_close(other);
  EXPECT_EQ(0, backup(kStore, kCopy));
}

TEST_F(Backup, KeepsTheOldOneWhenTheDiskIsFull) {
  ASSERT_EQ(0, backup(kStore, kCopy));
  host_.Run("UPDATE Config SET UserValue='newer';");
  int writes = 0;
  const auto backUp = [&writes](const std::string& destination) {
    const FailingDisk disk(writes);
    return backup(kStore, destination);
  };
  for (int result = 1; result != 0; ++writes) {
    result = backUp(kCopy);
    EXPECT_TRUE(IsConsistentStore(kCopy)) << "after " << writes << " writes";
    const bool isCreated = backUp("/backups/new") == 0;
    EXPECT_EQ(isCreated ? 2u : 1u, FilesThere().size()) << "a new one is there whole or not at all";
    fs::remove(host_.root.Resolve("/backups/new"));
    const std::string value = ReadAlone();
    EXPECT_TRUE(result == 0 ? value == "newer" : value == "value" || value == "newer") << value;
  }
  EXPECT_GT(writes, 5) << "the writes go through the hook";
}

}  // namespace
