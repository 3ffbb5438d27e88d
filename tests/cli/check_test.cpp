#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "cli/host.h"
#include "platform/db_store.h"

// Faults, and what the check says of each.
struct CheckCase {
  const char* name;
  std::string sql;
  int exit;
  std::string shown;
};

const std::string kRow = "INSERT INTO Config(Component,ConfigGroup,Name,Identifier,UserValue) VALUES(";

const CheckCase kCheckCases[] = {
    {"Sound", "", 0, "nothing is wrong\n"},
    {"TriggerGone", "DROP TRIGGER updateModifiedTime;", 1, "tables: store: updateModifiedTime is missing\n"},
    {"TableChanged", "ALTER TABLE KVTable ADD COLUMN x;", 1,
     "tables: store: KVTable is not as this release makes it\n"},
    {"TableUnknown", "CREATE TABLE other(a);", 1, "tables: store: other is not known\n"},
    {"Unregistered", kRow + "'a','b','c','i','{}');", 1, "unregistered: a/b/c@i: the type is not registered"},
    {"NoInstance", kRow + "'accessd','local','user_account','','{}');", 1,
     "invalid: " + kUser + ": the type has instances\n"},
    {"Unreadable", "UPDATE Config SET VitalValue='{' WHERE Name='stack_settings';", 1, "unreadable: " + kNetd + ": "},
    {"Invalid", "UPDATE Config SET UserValue='{\"hostname\":\"n\",\"mtu\":1}' WHERE Name='stack_settings';", 1,
     "invalid: " + kNetd + ": /mtu: Integer value below minimum: 576\n"},
    {"InvalidDesired", "UPDATE Config SET DesiredValue='{\"hostname\":\"n\",\"mtu\":1}' WHERE Name='stack_settings';",
     1, "invalid: " + kNetd + ": desired: /mtu: Integer value below"},
    {"InvalidStaged",
     "INSERT INTO DesiredUserConfig(Component,ConfigGroup,Name,Value) VALUES('clockd','sync','time_source','{}');", 1,
     "invalid: clockd/sync/time_source: staged: Required property missing: method\n"},
    {"Unconfirmed", "UPDATE Config SET Success=0 WHERE Name='stack_settings';", 1, "unconfirmed: " + kNetd + ": "},
    {"AtRisk",
     "UPDATE Config SET UserValue=NULL, VitalValue=NULL, CachedValue=NULL, DesiredValue='{\"hostname\":\"n\"}' "
     "WHERE Name='stack_settings';",
     1, "at-risk: " + kNetd + ": the next load deletes the object"},
    {"StagedClears", "INSERT INTO KVTable(Key,Value) VALUES('APPLY_BOOT','true');", 1,
     "at-risk: " + kNetd + ": the next load clears its user value\n"},
};

using Checking = StockedHost;

TEST_F(Checking, FindsWhatIsWrong) {
  const std::string file = "/etc/halden/configstore/current-store-1", sound = root_.Read(file);
  for (const CheckCase& row : kCheckCases) {
    SCOPED_TRACE(row.name);
    root_.Write(file, sound);
    if (!row.sql.empty()) {
      ASSERT_EQ(0, DBStore::ExecuteV2(DBStore::GetConnection(DBStore::TYPE_STORE), row.sql, nullptr, nullptr, 3000));
    }
    const std::string before = root_.Read(file);
    const Outcome outcome = Run({"check"});
    EXPECT_EQ(row.exit, outcome.exit) << outcome.err;
    EXPECT_NE(std::string::npos, outcome.out.find(row.shown)) << outcome.out;
    EXPECT_EQ(before, root_.Read(file));
  }
}

TEST_F(Checking, RehearsesSchemas) {
  std::ifstream given(Schema("netd", "stack_settings"));
  std::string schema{std::istreambuf_iterator<char>(given), std::istreambuf_iterator<char>()};
  schema.replace(schema.find("\"minimum\": 576"), 14, "\"minimum\": 2000");
  root_.Write("/new/netd/schema/a.json", schema);
  Outcome outcome = Run({"check", "--schemas", root_.Path() + "/new", "--json"});
  EXPECT_EQ("{\"findings\":[{\"kind\":\"invalid\",\"where\":\"" + kNetd +
                "\",\"what\":\"/mtu: Integer value below minimum: 2000\"}]}\n",
            outcome.out);
  EXPECT_EQ(1, outcome.exit);
  root_.Write("/new/netd/schema/a.json", "{}");
  EXPECT_NE(std::string::npos, Run({"check", "--schemas", root_.Path() + "/new"}).out.find("schema: "));
  EXPECT_EQ(2, Run({"check", "--schemas", "/none"}).exit);
  EXPECT_EQ(0, Run({"check"}).exit);
}

TEST_F(Checking, DamageAndLeftoversAreToldApart) {
  const std::string file = "/etc/halden/configstore/current-store-1";
  root_.Write(file + ".new-17", "x");
  EXPECT_NE(std::string::npos, Run({"check"}).out.find("side-file: " + file + ".new-17: "));
  {
    const auto reader = DBStore::GetConnection(DBStore::TYPE_STORE);  // its log is no leftover
    DBStore::ExecuteV2(reader, "UPDATE Config SET Version='1.0';", nullptr, nullptr, 3000);
    EXPECT_EQ(std::string::npos, Run({"check"}).out.find("-wal"));
  }
  std::string damaged = root_.Read(file);
  damaged.replace(4096, 100, std::string(100, 'x'));
  root_.Write(file, damaged);
  const Outcome outcome = Run({"check"});
  EXPECT_EQ(8, outcome.exit) << outcome.out;
}
