// The files of the databases: their log, their place under the host root, and
// what becomes of a connection whose file is replaced.

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

#include "platform/host_log.h"
#include "platform/test_database.h"

using namespace DBStore;

namespace {

namespace fs = std::filesystem;
using Connection = TestDatabase::Connection;

constexpr long kMiB = 1 << 20;
const char kAttach[] = "ATTACH DATABASE '/etc/halden/schemastore/schema-store-1' AS ss;";

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

TEST_F(StoreFiles, LogIsEmptiedAfterACommitThatLeavesMuch) {
  const Connection connection = host_.Connect();
  ASSERT_EQ(0, PutMiB(connection, "a", 3));
  EXPECT_LT(3 * kMiB, LogSize());
  ASSERT_EQ(0, PutMiB(connection, "b", 2));
  EXPECT_EQ(0, LogSize());
  ASSERT_EQ(0, BeginTransaction(connection));
  ASSERT_EQ(0, PutMiB(connection, "c", 5));
  ASSERT_EQ(0, CommitTransaction(connection));
  EXPECT_EQ(0, LogSize());
}

TEST_F(StoreFiles, LogThatAReaderHoldsIsEmptiedOnceItIsFree) {
  const Connection connection = host_.Connect();
  Connection reader = HoldLog();
  ASSERT_EQ(0, PutMiB(connection, "a", 5));
  ASSERT_EQ(0, PutMiB(connection, "b", 1));
  EXPECT_LT(6 * kMiB, LogSize());
  reader.reset();
  ASSERT_EQ(0, host_.Put(connection, "c"));
  EXPECT_EQ(0, LogSize());
  EXPECT_EQ("a b c", host_.StoredKeys());
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
  EXPECT_EQ(1, host_.Run(connection, "BEGIN IMMEDIATE;"));
  EXPECT_EQ("2", RowsOf(connection, "SELECT count(*) FROM KVTable")) << "reading goes on";

  reader.reset();
  EXPECT_EQ(0, host_.Put(connection, "c"));
  EXPECT_GT(kMiB, LogSize());
  EXPECT_EQ("a underway c", host_.StoredKeys());
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
  using Call = int (*)(const Connection&);
  const Call nothing = [](const Connection&) { return 0; };
  const Call beginText = [](const Connection& connection) { return TestDatabase::Run(connection, "BEGIN IMMEDIATE;"); };
  const Call begin = [](const Connection& connection) { return BeginTransaction(connection); };
  const Call commit = [](const Connection& connection) { return CommitTransaction(connection); };
  for (const auto& [before, after] : {std::make_pair(nothing, nothing), {begin, commit}, {beginText, commit}}) {
    const Connection connection = host_.Connect();
    ASSERT_EQ(0, host_.Put(connection, "old"));
    Replace("restored");
    const Connection other = host_.Connect();  // keeps the new log in use
    ASSERT_EQ(0, host_.Put(other, "beside"));
    ASSERT_EQ(0, before(connection));
    EXPECT_EQ(0, host_.Put(connection, "new"));
    ASSERT_EQ(0, after(connection));
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

TEST_F(StoreFiles, ConnectionWhoseFileIsGoneFailsUntilThereIsOneAgain) {
  const Connection connection = host_.Connect();
  ASSERT_EQ(0, host_.Put(connection, "old"));
  Remove();
  EXPECT_EQ(1, host_.Put(connection, "lost"));
  EXPECT_EQ(1, BeginTransaction(connection));
  EXPECT_EQ(2, CancelTransaction(connection));
  EXPECT_EQ(SQLITE_CANTOPEN, LastFailure().code);
  Replace("restored");
  EXPECT_EQ(0, host_.Put(connection, "new"));
  EXPECT_EQ("restored new", host_.StoredKeys());
}

// Two files with journals commit through a third, named after the first; a child
// dies between the steps, and the journals it leaves are found and undone.
TEST_F(StoreFiles, CommitOverTwoFilesIsUndoneUnderTheRootAfterACrash) {
  ASSERT_EQ("delete", RowsOf(host_.Connect(), "PRAGMA journal_mode=DELETE"));
  ASSERT_EQ(0, host_.Run(GetConnection(TYPE_SCHEMA_STORE), "INSERT INTO ConfigSchema(Name) VALUES('n')"));
  const auto crash = [] { _exit(7); };
  EXPECT_EQ(
      7, InChild([&] {
        const Database store = OpenDatabase(HaldenLib::kStoreFile, Access::ReadWrite, WhenMissing::Report, nullptr);
        sqlite3_exec(store.get(), kAttach, nullptr, nullptr, nullptr);
        sqlite3_exec(store.get(), "BEGIN; INSERT INTO KVTable(Key) VALUES('k'); UPDATE ss.ConfigSchema SET Value='v'",
                     nullptr, nullptr, nullptr);
        sqlite3_vfs* const vfs = sqlite3_vfs_find(nullptr);
        vfs->xSetSystemCall(vfs, "unlink", reinterpret_cast<sqlite3_syscall_ptr>(+crash));
        return sqlite3_exec(store.get(), "COMMIT", nullptr, nullptr, nullptr);
      }));
  int journals = 0;
  for (const auto& entry : fs::recursive_directory_iterator(host_.root.Path())) {
    const std::string name = entry.path().filename();
    journals += name.find("-journal") != std::string::npos || name.find("-mj") != std::string::npos ? 1 : 0;
  }
  EXPECT_EQ(3, journals) << "two journals and the one that joins them";
  EXPECT_EQ("-", host_.StoredKeys());
  EXPECT_EQ("-", RowsOf(GetConnection(TYPE_SCHEMA_STORE), "SELECT Value FROM ConfigSchema"));
}

}  // namespace
