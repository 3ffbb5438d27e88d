#include "platform/db_store.h"

#include <unistd.h>

#include <stdexcept>

#include "platform/host_log.h"
#include "platform/test_database.h"

using namespace DBStore;

namespace {

namespace fs = std::filesystem;
using Connection = TestDatabase::Connection;

TEST(Connection, HasTheSettingsOfEveryConnection) {
  const TestDatabase host;
  const std::pair<const char*, const char*> settings[] = {
      {"journal_mode", "wal"},  {"synchronous", "3"}, {"recursive_triggers", "0"}, {"trusted_schema", "0"},
      {"cell_size_check", "1"}, {"temp_store", "2"},  {"mmap_size", "0"},          {"wal_autocheckpoint", "0"},
  };
  const Connection connection = host.Connect();
  for (const auto& [name, value] : settings) {
    EXPECT_EQ(value, RowsOf(connection, std::string("PRAGMA ") + name)) << name;
  }
  EXPECT_EQ("failed", RowsOf(connection, "SELECT load_extension('x')"));
  EXPECT_EQ("", RowsOf(connection, "PRAGMA writable_schema=1"));
  EXPECT_EQ(1, host.Run(connection, "UPDATE sqlite_schema SET sql=''")) << "defensive mode";
}

TEST(Connection, ThatMayOnlyReadRefusesWrites) {
  if (geteuid() != 0) GTEST_SKIP() << "needs another user";
  const TestDatabase host;
  const std::string path = host.root.Resolve(HaldenLib::kStoreFile);
  ASSERT_EQ("delete", RowsOf(host.Connect(), "PRAGMA journal_mode=DELETE"));
  fs::permissions(host.root.Path(), fs::perms(0755));
  for (auto at = fs::path(path); at != host.root.Path(); at = at.parent_path()) {
    fs::permissions(at, fs::perms(0555));
  }
  EXPECT_EQ(0, InChild([] {
              if (seteuid(65534) != 0) return 1;
              const Connection connection = TestDatabase::Connect();
              if (RowsOf(connection, "SELECT count(*) FROM KVTable") != "0") return 2;
              if (TestDatabase::Put(connection, "k") != 1) return 3;
              return (LastFailure().code & 0xFF) == SQLITE_READONLY ? 0 : 4;
            }));
}

// What the statement has put into KVTable, type and value of both columns; "" when it fails.
// clang-format off
const std::string kInsert = "INSERT INTO KVTable(Key, Value) VALUES";
const struct { std::string sql; std::vector<std::string> values; std::vector<int> types; const char* stored; }
kExecuteCases[] = {
    {kInsert + "(?, ?)", {"k", "v"}, {3, 3}, "text k text v"},
    {kInsert + "(?, ?)", {"k", ""}, {3, 3}, "text k text "},
    {kInsert + "(?, ?)", {"k", "x"}, {3, 5}, "text k null -"},
    {kInsert + "(?, ? + 1)", {"k", "-8"}, {3, 1}, "text k text -7"},
    {kInsert + "(?, ?)", {"k", "8x"}, {3, 1}, ""},
    {kInsert + "(?, ?)", {"k", "9223372036854775808"}, {3, 1}, ""},
    {kInsert + "(?, ?)", {"k", "v"}, {3, 2}, ""},
    {kInsert + "('a''b', ?);", {"v"}, {3}, "text a'b text v"},
    {kInsert + "('a', ?)", {}, {}, ""},
    {kInsert + "('a', 'b')", {"v"}, {3}, ""},
    {kInsert + "('a', ?)", {"v"}, {}, ""},
    {kInsert + "(?2, ?1)", {"v", "k"}, {3, 3}, "text k text v"},
    {"INSERT INTO 'KVTable'('Key', 'Value') VALUES('a', ?)", {"v"}, {3}, "text a text v"},
    {" ;", {}, {}, ""},
    {kInsert + "('a', ''); INSERT INTO KVTable(Key) VALUES('b')", {}, {}, ""},
    {kInsert + "('a''); DROP TABLE KVTable; --', 'v')", {}, {}, "text a'); DROP TABLE KVTable; -- text v"},
    {kInsert + "('a'); DROP TABLE KVTable; --', 'v')", {}, {}, ""},
    {kInsert + "('a', 'v') ; \n;", {}, {}, "text a text v"},
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

TEST(Execute, KeepsTheBytesOfValuesAndNames) {
  const TestDatabase host;
  const Connection connection = host.Connect();
  const std::string text("a\0b\n%s;'\xC3\xA4", 10);
  ASSERT_EQ(0, Execute(connection, kInsert + "('k', ?)", {text}, {VALUE_TEXT}, 0));
  EXPECT_EQ("6100620A25733B27C3A4", RowsOf(connection, "SELECT hex(Value) FROM KVTable WHERE Key='k'"));
  for (const char* name : {"n\n1", "100%", "a;b", "''", "\xC3\xA4", "?", "--x"}) {
    ASSERT_EQ(0, host.Put(connection, name)) << name;
  }
  EXPECT_EQ("k n\n1 100% a;b ' \xC3\xA4 ? --x", host.Keys(connection));
  EXPECT_EQ("a;b", RowsOf(connection, "SELECT Key FROM KVTable WHERE Key='a;b'"));
}

TEST(Execute, KeepsNoSecretInLogOrRecord) {
  const TestDatabase host;
  HaldenLib::Log_InitWithSyslogInt("test", {});
  const Connection connection = host.Connect();
  ASSERT_EQ(0, host.Put(connection, "known"));
  EXPECT_EQ(1, Execute(connection, kInsert + "('known', ?)", {"s3cret"}, {3}, 0));
  EXPECT_EQ(1, Execute(connection, kInsert + "('s3cret', s3cret 's3cret')", {}, {}, 0));
  EXPECT_EQ(2u, host.root.Syslog().size());
  EXPECT_EQ(std::string::npos, host.root.Read(HaldenLib::kSyslogFile).find("s3cret"));
  EXPECT_NE(std::string::npos, host.root.Read(HaldenLib::kSyslogFile).find(HaldenLib::kStoreFile));
  EXPECT_EQ(std::string::npos, host.root.Read(HaldenLib::kSyslogFile).find(host.root.Path()));
  HaldenLib::Log_Exit();
}

TEST(Execute, RunsTheTriggerOfAnUpdate) {
  const TestDatabase host;
  const Connection connection = host.Connect();
  ASSERT_EQ(0, host.Run(connection, "INSERT INTO Config(Name, ModifiedTime) VALUES('n', '')"));
  ASSERT_EQ(0, host.Run(connection, "UPDATE Config SET UserValue='v'"));
  EXPECT_EQ("0", RowsOf(connection, "SELECT count(*) FROM Config WHERE Identifier<>''"));
  EXPECT_EQ("1", RowsOf(connection, "SELECT count(*) FROM Config WHERE ModifiedTime=''"))
      << "a row without component is not the trigger's";
  ASSERT_EQ(0, host.Run(connection, "UPDATE Config SET Component='c', ConfigGroup='g'"));
  EXPECT_EQ("19", RowsOf(connection, "SELECT length(ModifiedTime) FROM Config"));
}

const char kReadAll[] = "SELECT Key FROM KVTable WHERE NOT Key='it''s' ORDER BY rowid";

// A callback's context: runs statements of its own on the connection that is reading.
struct Reader {
  Connection connection;
  int rows = 0;

  // The text that is under way, more texts than are kept, and literals with two quotes.
  static int Nested(void* context, int, char** texts, char**) {
    Reader& reader = *static_cast<Reader*>(context);
    const std::string key = texts[0];
    ++reader.rows;
    if (RowsOf(reader.connection, kReadAll) != "a; b; c") return 1;
    for (int i = 0; i < 100; ++i) {
      RowsOf(reader.connection, "SELECT " + std::to_string(i) + " FROM KVTable WHERE Key='a''b'");
    }
    return TestDatabase::Run(reader.connection, "UPDATE KVTable SET Value='seen' WHERE Key='" + key + "'");
  }
  static int Throw(void*, int, char**, char**) { throw std::runtime_error("from a row"); }
  static int Refuse(void* context, int, char**, char**) { return ++static_cast<Reader*>(context)->rows; }
};

TEST(RowCallback, MayUseTheConnectionThrowAndRefuse) {
  const TestDatabase host;
  Reader reader{host.Connect()};
  for (const char* key : {"a", "b", "it''s", "c"}) ASSERT_EQ(0, host.Put(reader.connection, key));
  EXPECT_EQ(0, ExecuteV2(reader.connection, kReadAll, Reader::Nested, &reader, 0));
  EXPECT_EQ(3, reader.rows);
  EXPECT_THROW(ExecuteV2(reader.connection, kReadAll, Reader::Throw, &reader, 0), std::runtime_error);
  EXPECT_EQ(1, ExecuteV2(reader.connection, kReadAll, Reader::Refuse, &reader, 0));
  EXPECT_EQ(4, reader.rows) << "the first row that is refused is the last";
  EXPECT_EQ("a; b; c", RowsOf(reader.connection, kReadAll));
  EXPECT_EQ("3", RowsOf(host.Connect(), "SELECT count(*) FROM KVTable WHERE Value='seen'"));
  EXPECT_EQ("0 0 0", RowsOf(host.Connect(), "PRAGMA wal_checkpoint(TRUNCATE)")) << "no statement is left open";
}

TEST(StatementCache, SurvivesMoreTextsThanItKeepsAndASchemaChange) {
  const TestDatabase host;
  const Connection connection = host.Connect();
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 200; ++i) {
      const std::string sql = "SELECT Key, " + std::to_string(i) + " FROM KVTable WHERE Key='none'";
      ASSERT_EQ("", RowsOf(connection, sql));
    }
    ASSERT_EQ(0, host.Run(host.Connect(), round == 0 ? "ALTER TABLE KVTable ADD COLUMN Extra" : "DROP TABLE KVTable"));
  }
  EXPECT_EQ("failed", RowsOf(connection, "SELECT Key, 199 FROM KVTable WHERE Key='none'"));
}

TEST(KeyValue, KeepsTheCreationTime) {
  const TestDatabase host;
  const Connection connection = host.Connect();
  std::string value = "before";
  EXPECT_EQ(0, ReadKeyValue("k", &value, connection));
  EXPECT_EQ("", value);
  ASSERT_EQ(0, WriteKeyValue("k", "it's", connection));
  ASSERT_EQ(0, host.Run(connection, "UPDATE KVTable SET CreationTime='then', ModifiedTime='then'"));
  ASSERT_EQ(0, WriteKeyValue("k", "new", connection));
  ASSERT_EQ(0, ReadKeyValue("k", &value, host.Connect()));
  EXPECT_EQ("new", value);
  EXPECT_EQ("then 19", RowsOf(connection, "SELECT CreationTime, length(ModifiedTime) FROM KVTable"));
  ASSERT_EQ(0, host.Run(connection, "DROP TABLE KVTable"));
  EXPECT_EQ(1, ReadKeyValue("k", &value, connection));
}

TEST(WithoutConnection, EverythingFailsAndThereIsNothingToCancel) {
  const TempRoot root;
  const Connection none = TestDatabase::Connect();
  std::string value;
  EXPECT_EQ(1, BeginTransaction(none));
  EXPECT_EQ(1, CommitTransaction(none));
  EXPECT_EQ(2, CancelTransaction(none));
  EXPECT_EQ(1, TestDatabase::Put(none, "k"));
  EXPECT_EQ(1, ReadKeyValue("k", &value, none));
  EXPECT_EQ(std::string("no such file: ") + HaldenLib::kStoreFile, LastFailure().message);
}

}  // namespace
