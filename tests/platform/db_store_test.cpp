#include "platform/db_store.h"

#include <random>
#include <set>
#include <stdexcept>

#include "platform/host_log.h"
#include "platform/test_database.h"

using namespace DBStore;

namespace {

using Connection = TestDatabase::Connection;

TEST(Connection, HasTheSettingsOfEveryConnection) {
  const TestDatabase host;
  const Connection connection = host.Connect();
  const char kSettings[] =
      "SELECT * FROM pragma_recursive_triggers, pragma_trusted_schema, pragma_cell_size_check, pragma_temp_store";
  EXPECT_EQ("0 0 1 2", RowsOf(connection, kSettings));
  EXPECT_EQ("failed", RowsOf(connection, "SELECT load_extension('x')"));
  EXPECT_EQ("", RowsOf(connection, "PRAGMA writable_schema=1"));
  EXPECT_EQ(1, host.Run(connection, "UPDATE sqlite_schema SET sql=''")) << "defensive mode";
}

// What the statement has put into KVTable, type and value of both columns; "" when it fails.
// clang-format off
const std::string kInsert = "INSERT INTO KVTable(Key, Value) VALUES";
const struct { std::string sql; std::vector<std::string> values; std::vector<int> types; const char* stored; }
kExecuteCases[] = {
    {kInsert + "(?, ?)", {"k", ""}, {3, 3}, "text k text "},
    {kInsert + "(?, ?)", {"k", "x"}, {3, 5}, "text k null -"},
    {kInsert + "(?, ? + 1)", {"k", "-8"}, {3, 1}, "text k text -7"},
    {kInsert + "(?, ?)", {"k", "8x"}, {3, 1}, ""},
    {kInsert + "('a''b', ?);", {"v"}, {3}, "text a'b text v"},
    {kInsert + "('a', ?)", {}, {}, ""},
    {kInsert + "('a', 'b')", {"v"}, {3}, ""},
    {"INSERT INTO 'KVTable'('Key', 'Value') VALUES('a', ?)", {"v"}, {3}, "text a text v"},
    {kInsert + "('a', ''); INSERT INTO KVTable(Key) VALUES('b')", {}, {}, ""},
    {kInsert + "('a''); DROP TABLE KVTable; --', 'v')", {}, {}, "text a'); DROP TABLE KVTable; -- text v"},
    {kInsert + "('a'); DROP TABLE KVTable; --', 'v')", {}, {}, ""},
};
// clang-format on

TEST(Execute, BindsInTextOrderAndRunsOneStatement) {
  const TestDatabase host;
  const Connection connection = host.Connect();
  for (const auto& row : kExecuteCases) {
    SCOPED_TRACE(row.sql);
    const bool fails = *row.stored == '\0';
    EXPECT_EQ(fails ? 1 : 0, Execute(connection, row.sql, row.values, row.types, kBusyTimeout));
    EXPECT_EQ(fails, LastFailure().code != 0);
    EXPECT_EQ(row.stored, RowsOf(connection, "SELECT typeof(Key), Key, typeof(Value), Value FROM KVTable"));
    ASSERT_EQ(0, host.Run(connection, "DELETE FROM KVTable"));
  }
}

TEST(Execute, KeepsTheBytesOfAValueAndNoSecretInLogOrRecord) {
  const TestDatabase host;
  HaldenLib::Log_InitWithSyslogInt("test", {});
  const Connection connection = host.Connect();
  const std::string text("a\0b\n%s;'\xC3\xA4", 10);
  ASSERT_EQ(0, Execute(connection, kInsert + "('k', ?)", {text}, {VALUE_TEXT}, 0));
  EXPECT_EQ("6100620A25733B27C3A4", RowsOf(connection, "SELECT hex(Value) FROM KVTable WHERE Key='k'"));
  EXPECT_EQ(1, Execute(connection, kInsert + "('k', ?)", {"s3cret"}, {3}, 0));
  EXPECT_EQ(1, Execute(connection, kInsert + "('s3cret', s3cret 's3cret')", {}, {}, 0));
  const std::string log = host.root.Read(HaldenLib::kSyslogFile);
  EXPECT_EQ(2, std::count(log.begin(), log.end(), '\n'));
  EXPECT_NE(std::string::npos, log.find(HaldenLib::kStoreFile));
  EXPECT_EQ(std::string::npos, log.find("s3cret"));
  EXPECT_EQ(std::string::npos, log.find(host.root.Path()));
  HaldenLib::Log_Exit();
}

const char kReadAll[] = "SELECT Key FROM KVTable WHERE NOT Key='it''s' ORDER BY rowid";

// Runs the text that is under way, and more texts than are kept, on the connection that is reading.
int ReadWithin(void* context, int, char** texts, char**) {
  const Connection& connection = *static_cast<Connection*>(context);
  const std::string key = texts[0];
  if (RowsOf(connection, kReadAll) != "a; b; c") return 1;
  for (int i = 0; i < 100; ++i) RowsOf(connection, "SELECT " + std::to_string(i) + " FROM KVTable WHERE Key='a''b'");
  return TestDatabase::Run(connection, "UPDATE KVTable SET Value='seen' WHERE Key='" + key + "'");
}

TEST(RowCallback, MayUseTheConnectionThrowAndRefuse) {
  const TestDatabase host;
  Connection connection = host.Connect();
  for (const char* key : {"a", "b", "it''s", "c"}) ASSERT_EQ(0, host.Put(connection, key));
  EXPECT_EQ(0, ExecuteV2(connection, kReadAll, ReadWithin, &connection, 0));
  const RowCallback fail = [](void*, int, char**, char**) -> int { throw std::runtime_error("from a row"); };
  EXPECT_THROW(ExecuteV2(connection, kReadAll, fail, nullptr, 0), std::runtime_error);
  const RowCallback refuse = [](void* rows, int, char**, char**) { return ++*static_cast<int*>(rows); };
  int rows = 0;
  EXPECT_EQ(1, ExecuteV2(connection, kReadAll, refuse, &rows, 0));
  EXPECT_EQ(1, rows) << "the first row that is refused is the last";
  EXPECT_EQ("3", RowsOf(host.Connect(), "SELECT count(*) FROM KVTable WHERE Value='seen'"));
  EXPECT_EQ("0 0 0", RowsOf(host.Connect(), "PRAGMA wal_checkpoint(TRUNCATE)")) << "no statement is left open";
}

TEST(PageRoom, IsLargeForAConnectionThatGoesOnWorkingAndSmallForItsScans) {
  static constexpr char kRoom[] = "PRAGMA cache_size";
  const TestDatabase host;
  const Connection connection = host.Connect();
  EXPECT_EQ("-2000", RowsOf(connection, kRoom));
  for (int i = 0; i < 64; ++i) host.Run(connection, "SELECT 1");
  EXPECT_EQ("-8000", RowsOf(connection, kRoom));
  struct Scan {
    const Connection& connection;
    std::set<std::string> rooms;
  } scan{connection, {}};
  const auto look = [](void* context, int, char**, char**) {
    auto& to = *static_cast<Scan*>(context);
    to.rooms.insert(RowsOf(to.connection, kRoom));
    return 0;
  };
  ASSERT_EQ(0, ExecuteV2(connection, "WITH n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n LIMIT 1200) SELECT i FROM n",
                         look, &scan, kBusyTimeout));
  EXPECT_EQ((std::set<std::string>{"-2000", "-8000"}), scan.rooms);
  EXPECT_EQ("-8000", RowsOf(connection, kRoom));
}

TEST(KeyValue, KeepsTheCreationTimeAndTellsNothingFromAFailure) {
  const TestDatabase host;
  const Connection connection = host.Connect();
  std::string value = "before";
  EXPECT_EQ(0, ReadKeyValue("k", &value, connection));
  EXPECT_EQ("", value);
  ASSERT_EQ(0, WriteKeyValue("k", "it's", connection));
  ASSERT_EQ(0, host.Run(connection, "UPDATE KVTable SET CreationTime='then', ModifiedTime='then'"));
  ASSERT_EQ(0, WriteKeyValue("k", "new", connection));
  EXPECT_EQ("new then 19", RowsOf(connection, "SELECT Value, CreationTime, length(ModifiedTime) FROM KVTable"));
  ASSERT_EQ(0, host.Run(connection, "DROP TABLE KVTable"));
  EXPECT_EQ(1, ReadKeyValue("k", &value, connection));
  const TempRoot withoutAStore;
  const Connection none = host.Connect();
  EXPECT_EQ(1, ReadKeyValue("k", &value, none));
  EXPECT_EQ(std::string("no such file: ") + HaldenLib::kStoreFile, LastFailure().message);
  EXPECT_EQ(1, BeginTransaction(none));
  EXPECT_EQ(1, CommitTransaction(none));
  EXPECT_EQ(2, CancelTransaction(none));
}

TEST(KeyValue, IsReadWhenTheConnectionHasLeftTheLog) {
  const TestDatabase host;
  const Connection connection = host.Connect();
  std::string value;
  EXPECT_EQ("delete", RowsOf(connection, "PRAGMA journal_mode=delete"));
  for (const char* const mode : {"delete", "wal", "delete"}) {
    ASSERT_EQ(0, WriteKeyValue("k", mode, connection));
    for (int i = 0; i < 3; ++i) ASSERT_EQ(0, ReadKeyValue("k", &value, connection));
    EXPECT_EQ(mode, RowsOf(connection, std::string("PRAGMA journal_mode=") + mode));
    EXPECT_EQ(CurrentState(connection), CurrentState(connection));
    ASSERT_EQ(0, ReadKeyValue("k", &value, connection));
    EXPECT_EQ(mode, value);
  }
}

// What is read of a key is current whoever has written it how; a connection that reads
// it between writes of its own to the objects is to find out without a look each time.
TEST(KeyValue, IsCurrentWhateverHappenedSince) {
  constexpr char kObject[] =
      "INSERT OR REPLACE INTO Config(Name, ConfigGroup, Component, Identifier, CreationTime) VALUES('n', 'g', 'c', "
      "'i', "
      "datetime(CURRENT_TIMESTAMP));";
  constexpr char kUpdate[] = "UPDATE Config SET UserValue=random() WHERE Name='n';";
  const TestDatabase host;
  const Connection reader = host.Connect(), other = host.Connect();
  std::string stored;
  const auto put = [&](const Connection& by, const std::string& value) {
    ASSERT_EQ(0, WriteKeyValue("k", value, by));
    stored = value;
  };
  std::mt19937 random(1);
  for (int i = 0; i < 1000; ++i) {
    switch (random() % 16) {
      case 0:
        put(other, "other " + std::to_string(i));
        break;
      case 1:
        put(reader, "own " + std::to_string(i));
        break;
      case 2:
        ASSERT_EQ(0, host.Run(other, kObject));
        break;
      case 3:  // writes nothing, so that no commit of its own follows that of the other
        put(other, "unseen " + std::to_string(i));
        ASSERT_EQ(0, host.Run(reader, "UPDATE Config SET UserValue=1 WHERE Name='none';"));
        break;
      case 4:
        ASSERT_EQ(0, BeginTransaction(reader));
        put(reader, "undone");
        ASSERT_EQ(0, ReadKeyValue("k", &stored, reader));
        EXPECT_EQ("undone", stored);
        ASSERT_EQ(0, CancelTransaction(reader));
        ASSERT_EQ(0, ReadKeyValue("k", &stored, other));
        break;
      case 5:
        ASSERT_EQ(0, host.Run(other, i % 2 == 0 ? "DROP TRIGGER IF EXISTS t"
                                                : "CREATE TRIGGER IF NOT EXISTS t AFTER UPDATE ON Config BEGIN UPDATE "
                                                  "KVTable SET Value='triggered' WHERE Key='k'; END;"));
        break;
      case 6:
        ASSERT_EQ(0, host.Run(reader, kUpdate));
        ASSERT_EQ(0, ReadKeyValue("k", &stored, other));
        break;
      default:
        ASSERT_EQ(0, host.Run(reader, kObject));
    }
    std::string value;
    ASSERT_EQ(0, ReadKeyValue("k", &value, reader));
    ASSERT_EQ(stored, value) << i;
  }
}

}  // namespace
