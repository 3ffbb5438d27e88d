#include <sqlite3.h>

#include "lifecycle/test_host.h"

using namespace OrvoConfigStore;

namespace {

const std::string kStore = HaldenLib::kStoreFile;
const std::string kCopy = "/backups/copy";

class Backup : public testing::Test {
 protected:
  Backup() {
    fs::create_directories(host_.root.Resolve("/backups"));
    host_.Put(kTimeSource, "null, 'value', null, null, 1");  // in the log, not yet in the file
  }
  ptrdiff_t FilesThere() const { return std::distance(fs::directory_iterator(host_.root.Resolve("/backups")), {}); }
  // Returns what syslog has got, without prefixes, lines ended by "|".
  std::string Said() const {
    std::string said;
    for (const std::string& line : host_.root.Syslog()) said += line.substr(line.find(":] ") + 3) + "|";
    return said;
  }
  const TestHost host_;
};

TEST_F(Backup, IsOneFileOfItsOwner) {
  for (int round = 0; round < 2; ++round) {  // a new one, and over one that is there
    EXPECT_EQ(0, backup(kStore, kCopy));
    {
      const TempRoot elsewhere;  // where no log of the store lies
      elsewhere.Write(kStore, host_.root.Read(kCopy));
      EXPECT_EQ("time_source value - 1", host_.Rows());
    }
    EXPECT_EQ("\1\1", host_.root.Read(kCopy).substr(18, 2)) << "its header asks for no log";
    EXPECT_EQ(1, FilesThere());
    EXPECT_EQ(fs::perms(0600), ModeOf(host_.root.Resolve(kCopy)));
    EXPECT_TRUE(IsConsistentStore(kCopy));
    host_.Run("PRAGMA user_version=7;");
  }
  const std::string success = "ConfigStore backup completed successfully|ConfigStore backup completed with rc = 101|";
  EXPECT_EQ(success + success, Said());
}

// What is refused, with which result, and what syslog says of "Cannot connect to sqlite database at ".
// clang-format off
const struct { std::string source, destination; int result; std::string said; } kRefusalCases[] = {
    {"/backups/none", kCopy, SQLITE_CANTOPEN, "/backups/none, rc=14|"},
    {"file:" + kStore, kCopy, SQLITE_CANTOPEN, "file:" + kStore + ", rc=14|"},
    {kStore, "file:copy", SQLITE_CANTOPEN, kStore + ", rc=14|"},
    {"/backups/text", kCopy, SQLITE_NOTADB, "/backups/text, rc=26|"},
    {kStore, "/backups/text", SQLITE_NOTADB, kStore + ", rc=26|"},
    {kStore, "/none/copy", SQLITE_CANTOPEN, kStore + ", rc=14|"},
    {kStore, "/backups/link", SQLITE_CANTOPEN, kStore + ", rc=14|"},
    {kStore, kStore, SQLITE_ERROR, ""},
};
// clang-format on

TEST_F(Backup, ThatIsRefusedChangesNothing) {
  host_.root.Write("/backups/text", std::string(5000, 'x'));
  fs::create_symlink(host_.root.Resolve(kStore), host_.root.Resolve("/backups/link"));
  for (const auto& row : kRefusalCases) {
    SCOPED_TRACE(row.source + " to " + row.destination);
    const size_t before = Said().size();
    EXPECT_EQ(row.result, backup(row.source, row.destination));
    EXPECT_EQ(row.said.empty() ? "Cannot initialize config store backup, rc=1|"
                               : "Cannot connect to sqlite database at " + row.said,
              Said().substr(before));
    EXPECT_EQ(2, FilesThere());
    EXPECT_FALSE(fs::exists("file:copy"));
    EXPECT_EQ(std::string(5000, 'x'), host_.root.Read("/backups/text"));
    EXPECT_EQ("time_source value - 1", host_.Rows());
  }
}

// Counts the waits instead of waiting.
int waited = 0;
int CountSleep(sqlite3_vfs*, int microseconds) {
  waited += microseconds;
  return microseconds;
}

TEST_F(Backup, GivesUpOnABusyDatabaseAfterTenSeconds) {
  ASSERT_EQ(0, backup(kStore, kCopy));
  sqlite3* other = nullptr;
  ASSERT_EQ(SQLITE_OK, sqlite3_open(host_.root.Resolve(kCopy).c_str(), &other));
  ASSERT_EQ(SQLITE_OK, sqlite3_exec(other, "BEGIN IMMEDIATE;", nullptr, nullptr, nullptr));
  const size_t before = Said().size();
  sqlite3_vfs* const vfs = sqlite3_vfs_find(nullptr);
  const auto sleep = std::exchange(vfs->xSleep, CountSleep);
  EXPECT_EQ(1, backup(kStore, kCopy));
  vfs->xSleep = sleep;
  EXPECT_EQ(10000000, waited);
  EXPECT_EQ(
      Repeated("ConfigStore backup is halted, because it is busy|", 10) + "ConfigStore backup completed with rc = 5|",
      Said().substr(before));
  sqlite3_close(other);
  EXPECT_EQ(0, backup(kStore, kCopy));
}

}  // namespace
