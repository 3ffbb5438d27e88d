#include "cli/host.h"
#include "platform/db_store.h"
#include "support/test_store.h"

namespace {

const std::string kRow = "INSERT INTO Config(Component,ConfigGroup,Name,Identifier,UserValue) VALUES(";
const std::string kNetdRow = " WHERE Name='stack_settings';", kBad = R"(='{"hostname":"n","mtu":1}')" + kNetdRow;

// Faults, and what the check says of each.
// clang-format off
const std::pair<std::string, std::string> kFaults[] = {
    {"DROP TRIGGER updateModifiedTime;", "tables: store: updateModifiedTime is missing\n"},
    {"ALTER TABLE KVTable ADD COLUMN x;", "tables: store: KVTable is not as this release makes it\n"},
    {"CREATE TABLE other(a);", "tables: store: other is not known\n"},
    {kRow + "'a','b','c','i','{}');", "unregistered: a/b/c@i: the type is not registered"},
    {kRow + "'accessd','local','user_account','','{}');", "invalid: $user: the type has instances\n"},
    {"UPDATE Config SET VitalValue='{'" + kNetdRow, "unreadable: $net: "},
    {"UPDATE Config SET UserValue" + kBad, "invalid: $net: /mtu: Integer value below minimum: 576\n"},
    {"UPDATE Config SET DesiredValue" + kBad, "invalid: $net: desired: /mtu: Integer value below"},
    {"INSERT INTO DesiredUserConfig(Component,ConfigGroup,Name,Value) VALUES('clockd','sync','time_source','{}');",
     "invalid: $clock: staged: Required property missing: method\n"},
    {"UPDATE Config SET Success=0" + kNetdRow, "unconfirmed: $net: "},
    {R"(UPDATE Config SET UserValue=NULL, VitalValue=NULL, CachedValue=NULL, DesiredValue='{"hostname":"n"}')" + kNetdRow,
     "at-risk: $net: the next load deletes the object"},
    {"INSERT INTO KVTable(Key,Value) VALUES('APPLY_BOOT','true');", "at-risk: $net: the next load clears its user value\n"},
};
// clang-format on

using Checking = StockedHost;

TEST_F(Checking, FindsWhatIsWrong) {
  Shows("check", {"nothing is wrong\n"});
  const std::string sound = root_.Read(kStoreFile);
  for (const auto& [sql, shown] : kFaults) {
    SCOPED_TRACE(sql);
    root_.Write(kStoreFile, sound);
    ASSERT_EQ("", RowsOf(DBStore::GetConnection(DBStore::TYPE_STORE), sql));
    const std::string before = root_.Read(kStoreFile);
    const Outcome outcome = Csctl("check");
    EXPECT_EQ(1, outcome.exit) << outcome.err;
    EXPECT_NE(std::string::npos, outcome.out.find(Filled(shown))) << outcome.out;
    EXPECT_EQ(before, root_.Read(kStoreFile));
  }
}

TEST_F(Checking, RehearsesSchemas) {
  std::string schema = ExampleText("components/netd/schema/stack_settings.json");
  schema.replace(schema.find("\"minimum\": 576"), 14, "\"minimum\": 2000");
  root_.Write("/new/netd/schema/a.json", schema);
  const Outcome outcome = Csctl("check --json --schemas " + root_.Path() + "/new");
  EXPECT_EQ("{\"findings\":[{\"kind\":\"invalid\",\"where\":\"" + kNetd +
                "\",\"what\":\"/mtu: Integer value below minimum: 2000\"}]}\n",
            outcome.out);
  EXPECT_EQ(1, outcome.exit);
  root_.Write("/new/netd/schema/a.json", "{}");
  EXPECT_NE(std::string::npos, Printed("check --schemas " + root_.Path() + "/new").find("schema: "));
  EXPECT_EQ(2, Csctl("check --schemas /none").exit);
  EXPECT_EQ(0, Csctl("check").exit);
}

TEST_F(Checking, DamageAndLeftoversAreToldApart) {
  root_.Write(kStoreFile + ".new-17", "x");
  EXPECT_NE(std::string::npos, Printed("check").find("side-file: " + kStoreFile + ".new-17: "));
  {
    const auto reader = DBStore::GetConnection(DBStore::TYPE_STORE);  // its log is no leftover
    RowsOf(reader, "UPDATE Config SET Version='1.0';");
    EXPECT_EQ(std::string::npos, Printed("check").find("-wal"));
  }
  std::string damaged = root_.Read(kStoreFile);
  damaged.replace(4096, 100, std::string(100, 'x'));
  root_.Write(kStoreFile, damaged);
  EXPECT_EQ(8, Csctl("check").exit);
}

}  // namespace
