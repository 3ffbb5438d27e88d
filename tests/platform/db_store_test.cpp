#include "platform/db_store.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <stdexcept>

#include "platform/host_log.h"
#include "platform/test_database.h"

using namespace DBStore;

namespace {

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
       std::filesystem::rename(path + "-real", path + "-file");
       std::filesystem::create_symlink(path + "-file", path);
     },
     SQLITE_CANTOPEN_SYMLINK},
    {"DanglingLink", [](const std::string& path) { std::filesystem::create_symlink("nowhere", path); },
     SQLITE_CANTOPEN_SYMLINK},
};

class StorePlace : public testing::TestWithParam<PlaceCase> {};

TEST_P(StorePlace, IsOpenedOnlyWhenItIsARegularFile) {
  const TestDatabase host;
  HaldenLib::Log_InitWithSyslogInt("test", {});
  const std::string path = host.root.Resolve(HaldenLib::kStoreFile);
  std::filesystem::rename(path, path + "-real");
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
  EXPECT_EQ(1, std::distance(std::filesystem::directory_iterator(host.root.Resolve("/b")), {}));
  EXPECT_FALSE(Check("file:/b/copy"));
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

TEST(Connection, HasTheSettingsOfEveryConnection) {
  const TestDatabase host;
  const std::pair<const char*, const char*> settings[] = {
      {"journal_mode", "wal"},  {"synchronous", "2"}, {"recursive_triggers", "0"}, {"trusted_schema", "0"},
      {"cell_size_check", "1"}, {"temp_store", "2"},  {"mmap_size", "0"},          {"wal_autocheckpoint", "0"},
  };
  const Connection connection = host.Connect();
  for (const auto& [name, value] : settings) {
    EXPECT_EQ(value, host.Query(connection, std::string("PRAGMA ") + name)) << name;
  }
  EXPECT_EQ("failed", host.Query(connection, "SELECT load_extension('x')"));
  EXPECT_EQ("", host.Query(connection, "PRAGMA writable_schema=1"));
  EXPECT_EQ(1, host.Run(connection, "UPDATE sqlite_schema SET sql=''")) << "defensive mode";
}

TEST(Connection, ThatMayOnlyReadRefusesWrites) {
  if (geteuid() != 0) GTEST_SKIP() << "needs another user";
  const TestDatabase host;
  const std::string path = host.root.Resolve(HaldenLib::kStoreFile);
  ASSERT_EQ("delete", host.Query(host.Connect(), "PRAGMA journal_mode=DELETE"));
  std::filesystem::permissions(host.root.Path(), std::filesystem::perms(0755));
  for (auto at = std::filesystem::path(path); at != host.root.Path(); at = at.parent_path()) {
    std::filesystem::permissions(at, std::filesystem::perms(0555));
  }
  EXPECT_EQ(0, InChild([] {
              if (seteuid(65534) != 0) return 1;
              const Connection connection = TestDatabase::Connect();
              if (TestDatabase::Query(connection, "SELECT count(*) FROM KVTable") != "0") return 2;
              if (TestDatabase::Put(connection, "k") != 1) return 3;
              return (LastFailure().code & 0xFF) == SQLITE_READONLY ? 0 : 4;
            }));
}

struct ExecuteCase {
  const char* name;
  const char* sql;
  std::vector<std::string> values;
  std::vector<int> types;
  const char* stored;  // typeof and value of what the statement has put into KVTable; "failed"
};

const ExecuteCase kExecuteCases[] = {
    {"Text", "INSERT INTO KVTable(Key, Value) VALUES(?, ?)", {"k", "v"}, {3, 3}, "text k text v"},
    {"EmptyText", "INSERT INTO KVTable(Key, Value) VALUES(?, ?)", {"k", ""}, {3, 3}, "text k text "},
    {"Null", "INSERT INTO KVTable(Key, Value) VALUES(?, ?)", {"k", "x"}, {3, 5}, "text k null -"},
    {"Integer", "INSERT INTO KVTable(Key, Value) VALUES(?, ? + 1)", {"k", "-8"}, {3, 1}, "text k text -7"},
    {"IntegerIsNone", "INSERT INTO KVTable(Key, Value) VALUES(?, ?)", {"k", "8x"}, {3, 1}, "failed"},
    {"IntegerTooLarge", "INSERT INTO KVTable(Key, Value) VALUES(?, ?)", {"k", "9223372036854775808"}, {3, 1}, "failed"},
    {"UnknownType", "INSERT INTO KVTable(Key, Value) VALUES(?, ?)", {"k", "v"}, {3, 2}, "failed"},
    {"LiteralsBetweenGiven", "INSERT INTO KVTable(Key, Value) VALUES('a''b', ?);", {"v"}, {3}, "text a'b text v"},
    {"TooFewValues", "INSERT INTO KVTable(Key, Value) VALUES('a', ?)", {}, {}, "failed"},
    {"TooManyValues", "INSERT INTO KVTable(Key, Value) VALUES('a', 'b')", {"v"}, {3}, "failed"},
    {"MissingType", "INSERT INTO KVTable(Key, Value) VALUES('a', ?)", {"v"}, {}, "failed"},
    {"NumberedParameters", "INSERT INTO KVTable(Key, Value) VALUES(?2, ?1)", {"v", "k"}, {3, 3}, "text k text v"},
    {"LiteralsThatAreNames", "INSERT INTO 'KVTable'('Key', 'Value') VALUES('a', ?)", {"v"}, {3}, "text a text v"},
    {"NoStatement", " ;", {}, {}, "failed"},
    {"SecondStatement", "INSERT INTO KVTable(Key) VALUES('a'); INSERT INTO KVTable(Key) VALUES('b')", {}, {}, "failed"},
    {"NameWithSql",
     "INSERT INTO KVTable(Key) VALUES('a''); DROP TABLE KVTable; --')",
     {},
     {},
     "text a'); DROP TABLE KVTable; -- null -"},
    {"OpenQuote", "INSERT INTO KVTable(Key) VALUES('a'); DROP TABLE KVTable; --')", {}, {}, "failed"},
    {"TrailingBlanks", "INSERT INTO KVTable(Key) VALUES('a') ; \n;", {}, {}, "text a null -"},
};

class Executing : public testing::TestWithParam<ExecuteCase> {};

TEST_P(Executing, BindsInTextOrder) {
  const TestDatabase host;
  const Connection connection = host.Connect();
  const ExecuteCase& each = GetParam();
  const bool fails = each.stored == std::string("failed");
  EXPECT_EQ(fails ? 1 : 0, Execute(connection, each.sql, each.values, each.types, kBusyTimeout));
  EXPECT_EQ(fails, LastFailure().code != 0);
  EXPECT_EQ(fails ? "" : each.stored,
            host.Query(connection, "SELECT typeof(Key), Key, typeof(Value), Value FROM KVTable"));
}

INSTANTIATE_TEST_SUITE_P(Statements, Executing, testing::ValuesIn(kExecuteCases),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(Execute, KeepsTheBytesOfValuesAndNames) {
  const TestDatabase host;
  const Connection connection = host.Connect();
  const std::string text("a\0b\n%s;'\xC3\xA4", 10);
  ASSERT_EQ(0, Execute(connection, "INSERT INTO KVTable(Key, Value) VALUES('k', ?)", {text}, {VALUE_TEXT}, 0));
  EXPECT_EQ("6100620A25733B27C3A4", host.Query(connection, "SELECT hex(Value) FROM KVTable WHERE Key='k'"));
  for (const char* name : {"n\n1", "100%", "a;b", "''", "\xC3\xA4", "?", "--x"}) {
    ASSERT_EQ(0, host.Put(connection, name)) << name;
  }
  EXPECT_EQ("n\n1 100% a;b ' \xC3\xA4 ? --x",
            host.Query(connection,
                       "SELECT group_concat(Key, ' ') FROM (SELECT Key FROM KVTable WHERE Key<>'k' ORDER BY rowid)"));
  EXPECT_EQ("a;b", host.Query(connection, "SELECT Key FROM KVTable WHERE Key='a;b'"));
}

TEST(Execute, KeepsNoSecretInLogOrRecord) {
  const TestDatabase host;
  HaldenLib::Log_InitWithSyslogInt("test", {});
  const Connection connection = host.Connect();
  ASSERT_EQ(0, host.Put(connection, "known"));
  EXPECT_EQ(1, Execute(connection, "INSERT INTO KVTable(Key, Value) VALUES('known', ?)", {"s3cret"}, {3}, 0));
  EXPECT_EQ(1, Execute(connection, "INSERT INTO KVTable(Key, Value) VALUES('s3cret', s3cret 's3cret')", {}, {}, 0));
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
  EXPECT_EQ("0", host.Query(connection, "SELECT count(*) FROM Config WHERE Identifier<>''"));
  EXPECT_EQ("1", host.Query(connection, "SELECT count(*) FROM Config WHERE ModifiedTime=''"))
      << "a row without component is not the trigger's";
  ASSERT_EQ(0, host.Run(connection, "UPDATE Config SET Component='c', ConfigGroup='g'"));
  EXPECT_EQ("19", host.Query(connection, "SELECT length(ModifiedTime) FROM Config"));
}

// A callback's context: runs statements of its own on the connection that is reading.
struct Reader {
  Connection connection;
  int rows = 0;
  static int Nested(void* context, int, char** texts, char**) {
    Reader& reader = *static_cast<Reader*>(context);
    ++reader.rows;
    const std::string key = texts[0];
    const std::string same =
        TestDatabase::Query(reader.connection, "SELECT Key FROM KVTable WHERE Key>='" + key + "' ORDER BY 1");
    if (same.compare(0, key.size(), key) != 0) return 1;
    return TestDatabase::Run(reader.connection, "UPDATE KVTable SET Value='seen' WHERE Key='" + key + "'");
  }
  static int Throw(void*, int, char**, char**) { throw std::runtime_error("from a row"); }
  static int Refuse(void* context, int, char**, char**) { return ++static_cast<Reader*>(context)->rows; }
};

TEST(RowCallback, MayUseTheConnectionThrowAndRefuse) {
  const TestDatabase host;
  Reader reader{host.Connect()};
  for (const char* key : {"a", "b", "c"}) ASSERT_EQ(0, host.Put(reader.connection, key));
  const std::string read = "SELECT Key FROM KVTable WHERE Key>='' ORDER BY 1";
  EXPECT_EQ(0, ExecuteV2(reader.connection, read, Reader::Nested, &reader, 0));
  EXPECT_EQ(3, reader.rows);
  EXPECT_THROW(ExecuteV2(reader.connection, read, Reader::Throw, &reader, 0), std::runtime_error);
  EXPECT_EQ(1, ExecuteV2(reader.connection, read, Reader::Refuse, &reader, 0));
  EXPECT_EQ(4, reader.rows) << "the first row that is refused is the last";
  EXPECT_EQ("a; b; c", host.Query(reader.connection, read));
  EXPECT_EQ("seen", host.Query(host.Connect(), "SELECT DISTINCT Value FROM KVTable"));
  EXPECT_EQ(0, host.Run(host.Connect(), "PRAGMA wal_checkpoint(TRUNCATE)")) << "no statement is left open";
}

TEST(StatementCache, SurvivesMoreTextsThanItKeepsAndASchemaChange) {
  const TestDatabase host;
  const Connection connection = host.Connect();
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 200; ++i) {
      const std::string sql = "SELECT Key, " + std::to_string(i) + " FROM KVTable WHERE Key='none'";
      ASSERT_EQ("", host.Query(connection, sql));
    }
    ASSERT_EQ(0, host.Run(host.Connect(), round == 0 ? "ALTER TABLE KVTable ADD COLUMN Extra" : "DROP TABLE KVTable"));
  }
  EXPECT_EQ("failed", host.Query(connection, "SELECT Key, 199 FROM KVTable WHERE Key='none'"));
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
  EXPECT_EQ("then 19", host.Query(connection, "SELECT CreationTime, length(ModifiedTime) FROM KVTable"));
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
