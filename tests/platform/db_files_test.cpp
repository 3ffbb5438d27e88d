// The files of the databases: their log, their place under the host root, and
// what becomes of a connection whose file is replaced.

#include <sys/mman.h>

#include <cerrno>

#include "platform/host_log.h"
#include "platform/test_database.h"

using namespace DBStore;

namespace {

using Connection = TestDatabase::Connection;

constexpr long kMiB = 1 << 20;

class StoreFiles : public testing::Test {
 protected:
  StoreFiles() { HaldenLib::Log_InitWithSyslogInt("test", {}); }
  ~StoreFiles() override { HaldenLib::Log_Exit(); }

  long LogSize() const {
    std::error_code missing;
    const uintmax_t size = fs::file_size(store_ + "-wal", missing);
    return missing ? -1 : static_cast<long>(size);
  }
  int PutMiB(const Connection& connection, const std::string& key, long size) const {
    return Execute(connection, "INSERT INTO KVTable(Key, Value) VALUES(?, ?)",
                   {key, std::string(static_cast<size_t>(size * kMiB), 'x')}, {VALUE_TEXT, VALUE_TEXT}, 0);
  }
  // Begins a read that holds the log until the connection commits or goes.
  static Connection HoldLog() {
    const Connection reader = TestDatabase::Connect();
    EXPECT_EQ(0, TestDatabase::Run(reader, "BEGIN;"));
    EXPECT_EQ("0", RowsOf(reader, "SELECT count(*) FROM KVTable WHERE Value='held'"));
    return reader;
  }
  // Puts a store with one row in the place of the present one, as a restore does.
  void Replace(const std::string& key) const {
    Remove();
    EXPECT_EQ(0, CreateDatabases());
    EXPECT_EQ(0, host_.Put(host_.Connect(), key));
  }
  void Remove() const {
    for (const char* suffix : {"", "-wal", "-shm", "-journal"}) fs::remove(store_ + suffix);
  }
  bool LogHas(const std::string& words) const {
    return host_.root.Read(HaldenLib::kSyslogFile).find(words) != std::string::npos;
  }

  const TestDatabase host_;
  const std::string store_ = host_.root.Resolve(HaldenLib::kStoreFile);
};

TEST_F(StoreFiles, LogIsEmptiedAfterACommitThatLeavesMuchOnceNoReaderHoldsIt) {
  const Connection connection = host_.Connect();
  ASSERT_EQ(0, PutMiB(connection, "a", 3));
  EXPECT_LT(3 * kMiB, LogSize());
  ASSERT_EQ(0, PutMiB(connection, "b", 2));
  EXPECT_EQ(0, LogSize());
  Connection reader = HoldLog();
  ASSERT_EQ(0, BeginTransaction(connection));
  ASSERT_EQ(0, PutMiB(connection, "c", 5));
  ASSERT_EQ(0, CommitTransaction(connection));
  EXPECT_LT(5 * kMiB, LogSize());
  reader.reset();
  ASSERT_EQ(0, host_.Put(connection, "d"));
  EXPECT_EQ(0, LogSize());
  EXPECT_EQ("a b c d", host_.StoredKeys());
}

TEST_F(StoreFiles, LogThatNearsItsBoundIsWrittenFromItsBeginningAgain) {
  const Connection connection = host_.Connect();
  for (int i = 0; i < 40; ++i) {
    ASSERT_EQ(0, host_.Put(connection, std::to_string(i), std::string(kMiB / 4, 'x')));
    EXPECT_LT(0, LogSize());
    EXPECT_GE(4 * kMiB, LogSize());
  }
}

TEST_F(StoreFiles, LogOverItsBoundRefusesWritersWhileAReaderHoldsIt) {
  const Connection connection = host_.Connect();
  Connection reader = HoldLog();
  ASSERT_EQ(0, BeginTransaction(connection));
  ASSERT_EQ(0, PutMiB(connection, "a", 17));
  ASSERT_EQ(0, host_.Put(connection, "underway")) << "a transaction under way is not refused";
  ASSERT_EQ(0, CommitTransaction(connection));

  EXPECT_EQ(1, host_.Put(connection, "b"));
  EXPECT_EQ(SQLITE_BUSY, LastFailure().code);
  EXPECT_TRUE(LogHas("held by a reader"));
  EXPECT_EQ("a underway", host_.Keys(connection)) << "reading goes on";
  reader.reset();
  EXPECT_EQ(0, host_.Put(connection, "c"));
  EXPECT_GE(4 * kMiB, LogSize());
}

TEST_F(StoreFiles, StoreThatWasCopiedInGetsItsLogFromTheNextWriterWhenNobodyIsInTheWay) {
  const auto leaveLog = [] { return RowsOf(TestDatabase::Connect(), "PRAGMA journal_mode=DELETE"); };
  ASSERT_EQ("delete", leaveLog());
  Connection reader = HoldLog();
  EXPECT_EQ(1, host_.Put(host_.Connect(), "a")) << "a rollback journal makes a writer wait for readers";
  EXPECT_EQ("delete", host_.JournalMode());
  reader.reset();
  ASSERT_EQ(0, host_.Put(host_.Connect(), "b"));
  EXPECT_EQ("wal", host_.JournalMode());
  ASSERT_EQ("delete", leaveLog());
  ASSERT_EQ(0, CreateDatabases());
  EXPECT_EQ("wal", host_.JournalMode());
  ASSERT_EQ("delete", leaveLog());
  const Database store = OpenDatabase(HaldenLib::kStoreFile, Access::ReadWrite, WhenMissing::Report, nullptr);
  ASSERT_EQ(SQLITE_OK, sqlite3_exec(store.get(), "DROP TABLE Config", nullptr, nullptr, nullptr));
  ASSERT_EQ(0, host_.Put(host_.Connect(), "k"));
  EXPECT_EQ("delete", host_.JournalMode()) << "without its table it is no store";
}

void* NoSharedMapping(void*, size_t, int, int, int, off_t) {
  errno = ENODEV;
  return MAP_FAILED;
}

TEST_F(StoreFiles, StoreKeepsItsJournalWhereNoMemoryCanBeShared) {
  Remove();
  EXPECT_EQ(0, InChild([this] {
              sqlite3_vfs* const vfs = sqlite3_vfs_find(nullptr);
              vfs->xSetSystemCall(vfs, "mmap", reinterpret_cast<sqlite3_syscall_ptr>(NoSharedMapping));
              if (CreateDatabases() != 0) return 1;
              const Connection connection = host_.Connect();
              if (BeginTransaction(connection) != 0 || host_.Put(connection, "k") != 0) return 2;
              return CommitTransaction(connection);
            }));
  EXPECT_EQ("k", host_.StoredKeys());
  EXPECT_EQ("delete", host_.JournalMode());
  EXPECT_TRUE(LogHas("No write-ahead log is possible"));
  EXPECT_EQ(1, std::distance(fs::directory_iterator(fs::path(store_).parent_path()), {})) << "no probe is left";
}

TEST_F(StoreFiles, ConnectionFollowsAReplacedFileBeforeItWrites) {
  for (const std::string begin : {"", "text", "call"}) {
    const Connection connection = host_.Connect();
    ASSERT_EQ(0, host_.Put(connection, "old"));
    Replace("restored");
    const Connection other = host_.Connect();  // keeps the new log in use
    ASSERT_EQ(0, host_.Put(other, "beside"));
    ASSERT_EQ(0, begin == "text" ? host_.Run(connection, "BEGIN IMMEDIATE;") : 0);
    ASSERT_EQ(0, begin == "call" ? BeginTransaction(connection) : 0);
    EXPECT_EQ(0, host_.Put(connection, "new"));
    ASSERT_EQ(begin.empty() ? 1 : 0, CommitTransaction(connection));
    EXPECT_EQ("restored beside new", host_.StoredKeys());
    EXPECT_EQ("restored beside new", host_.Keys(other));
    Remove();
    ASSERT_EQ(0, CreateDatabases());
  }
}

TEST_F(StoreFiles, ConnectionIsNotReplacedUnderItsOwnReading) {
  const Connection connection = host_.Connect();
  ASSERT_EQ(0, host_.Put(connection, "old"));
  std::function<int()> replaceAndWrite = [&] {
    Replace("restored");
    return host_.Put(connection, "lost");
  };
  const RowCallback call = [](void* given, int, char**, char**) {
    return (*static_cast<std::function<int()>*>(given))();
  };
  EXPECT_EQ(1, ExecuteV2(connection, "SELECT * FROM KVTable", call, &replaceAndWrite, 0)) << "its file has no name";
  EXPECT_EQ(0, host_.Put(connection, "new"));
  EXPECT_EQ("restored new", host_.StoredKeys());
}

}  // namespace
