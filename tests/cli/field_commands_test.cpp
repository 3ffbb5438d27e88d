#include <cstdlib>
#include <iterator>

#include "cli/host.h"
#include "platform/db_store.h"

namespace {

// clang-format off
const std::vector<Row> kFieldRows = {
    {"set $net mtu=1400 /link/eth9/enabled=false dns_search=a,b routing/metric_scale=5", "", 0,
     {"stored $net\n  changed: user layer\n"}},
    {"set $net --value-json link/eth1={\"enabled\":true} dns_search=[]", "", 0, {"user layer"}},
    {"set $net --layer cached learned_domain=x=y", "", 0, {"changed: cached layer"}},
    {"set $clock method=ntp ntp/server/10.0.0.1/burst=true", "", 0, {"user"}},
    {"set $net mtu=x routing=1 link=1 foo=1 hostname/a=b link/eth0/name=x", "", 3,
     {"mtu: The value is no integer; allowed: integer, from 576 to 9000\n", "routing: The field holds further ones",
      "foo: The type has no such field\n", "hostname/a: ", "link/eth0/name: An identifier cannot be changed"}},
    {"set $net hostnme=x", "", 3, {"hostnme: The type has no such field; did you mean \"hostname\"?"}},
    {"set $net --value-json mtu={", "", 3, {"mtu: No JSON"}},
    {"set $net --value-json link/eth1={\"mtu\":1,\"mtu\":2}", "", 3, {"a member is there twice"}},
    {"set $net mtu=1", "", 3, {"/mtu: Integer value below minimum: 576; allowed: integer, from 576 to 9000\n"}},
    {"set $net mtu", "", 2, {"not FIELD=VALUE"}},
    {"set $net mtu=1400 -f x", "", 2, {"excludes"}},
    {"unset $net mtu link/eth1", "", 0, {"changed: user layer"}},
    {"unset $net hw_address", "", 4, {"no such field: hw_address", "--layer"}},
    {"unset $net hostname", "", 3, {"hostname; allowed: string"}},
    {"unset $user@nobody uid", "", 4, {"no such object"}},
};
// clang-format on

class Fields : public StockedHost {
 protected:
  ~Fields() override {
    unsetenv("EDITOR");
    unsetenv("TMPDIR");
  }
  static void StageByHand() {
    const char kSql[] = "UPDATE Config SET DesiredValue='{\"hostname\":\"d\"}', Success=0 WHERE Name='stack_settings';";
    ASSERT_EQ(0, DBStore::ExecuteV2(DBStore::GetConnection(DBStore::TYPE_STORE), kSql, nullptr, nullptr, 3000));
  }
};

TEST_F(Fields, EndAsDocumented) {
  ExpectEach(kFieldRows);
}

TEST_F(Fields, AreChangedAndTheOthersKept) {
  ASSERT_EQ(0, Csctl("stage set", R"({"components":{"netd":{"ipstack":{"stack_settings":{"hostname":"s"}}}}})").exit);
  StageByHand();
  Shows("set $net mtu=1400 link/eth9/enabled=false",
        {"changed: user layer; the staged desired value is discarded; the object is confirmed now",
         "the staged configuration keeps its value"});
  Csctl("unset $net dns_search link/eth1");
  const std::string stored = Check(
      {"get $net --json", "", 0, {"\"mtu\":1400", R"({"name":"eth9","enabled":false})", R"("hostname":"node7")"}});
  EXPECT_EQ(std::string::npos, stored.find("dns_search") & stored.find("eth1"));
}

TEST_F(Fields, EditorChangesALayerAndSeesNoSecret) {
  const std::string secret = "$6$ab12$example-not-a-real-hash", root = root_.Path();
  ASSERT_EQ(0, Csctl("set $user@edwin -f $objects/user_account_secret.json").exit);
  setenv("TMPDIR", root.c_str(), 1);
  setenv("EDITOR", ("stat -c %a \"$1\" >" + root + "/mode; cp \"$1\" " + root + "/seen; sed -i s/1002/1003/").c_str(),
         1);
  Shows("edit $user@edwin", {"changed: user layer"});
  EXPECT_EQ("600\n", root_.Read("/mode"));
  EXPECT_EQ(std::string::npos, root_.Read("/seen").find(secret));
  Shows("get $user@edwin --json --show-secrets", {secret, "1003"});
  Shows("edit $user@edwin", {"unchanged"});
  const std::string meanwhile = CSCTL_PROGRAM " --root " + root + " set $user@edwin uid=7 >&2; sed -i s/1003/8/";
  setenv("EDITOR", Filled(meanwhile).c_str(), 1);
  EXPECT_EQ(6, Csctl("edit $user@edwin").exit);
  Shows("get $user@edwin --json", {"\"uid\":7"});
}

// What an editor made of the object, why it is refused, and what of it is kept.
// clang-format off
const struct { const char* editor; int exit; const char *reason, *kept; } kRefusedEdits[] = {
    {"sed -i 's/1001/-1/'", 3, "line 3, column 10: /uid: Integer value below minimum: 0; allowed: ", "-1"},
    {"sed -i 's/1001/-1/; s/\"•••\"/\"MARK\"/'", 3, "/uid: ", "-1"},
    {"sed -i 's/1001/10 01/; s/\"•••\"/\"MARK\\nMARK/'", 3, "no JSON object\n  line 3, column", "10 01"},
    {"sed -i 's/\"password_hash\": \"•••\"/\"pasword_hsh\": \"MARK\", \"x\": [\"MARK\"], \"shel\": \"sh\"/'", 3,
     "pasword_hsh", "\"shel\": \"sh\""},
    {"sed -i 's/1001/10 01/; s/\"password_hash\": \"/\"pasword_hsh\" : \"MARK/'", 3, "no JSON object", "10 01"},
    {"x=RK; f() { sed -i \"s/1001/10/; s/•••/MA$x/\" $1; false; }; f", 2, "the editor failed", "10"},
};
// clang-format on

TEST_F(Fields, RefusedEditIsKeptWithoutSecrets) {
  const std::string folder = root_.Path() + "/private";
  ASSERT_EQ(0, Csctl("set $user@dora", R"({"login":"dora","uid":1001,"password_hash":"$6$ab12$MARKMARK"})").exit);
  setenv("TMPDIR", folder.c_str(), 1);
  for (const auto& row : kRefusedEdits) {
    fs::create_directory(folder);
    setenv("EDITOR", row.editor, 1);
    const std::string said = Check(
        {"edit $user@dora", "", row.exit, {row.reason, "kept in " + folder, "csctl set $user@dora --layer user -f "}});
    const fs::directory_iterator files(folder);
    ASSERT_EQ(1, std::distance(begin(files), end(files))) << row.editor;
    const std::string path = fs::directory_iterator(folder)->path();
    const std::string kept = root_.Read(path.substr(root_.Path().size()));
    EXPECT_NE(std::string::npos, kept.find(row.kept)) << kept;
    EXPECT_EQ(std::string::npos, (kept + said).find("MARK")) << kept << said;
    EXPECT_EQ(fs::perms(0600), fs::status(path).permissions());
    fs::remove_all(folder);
  }
}

// What a rehearsal tells.
// clang-format off
const std::vector<Row> kDryRuns = {
    {"set $net mtu=1400", "", 0, {"dry run: nothing was changed\n$net: would be changed in its user layer\n",
     "the staged desired value is discarded", "confirmed now", "user /mtu: 1500 -> 1400"}},
    {"update $user@dora --json", "{\"uid\":7}", 0,
     {R"({"dryRun":true,"objects":[{"id":"$user@dora","change":"changed","layers":["user"],)",
      R"({"layer":"user","field":"/uid","before":1001,"after":7})"}},
    {"update $user@dora", "{}", 0, {"nothing would change"}},
    {"replace $user", R"([{"login":"a","uid":1,"password_hash":"MARK"}])", 0,
     {"$user@dora: would be deleted with its user, vital and cached layers", ": would be created in its user layer",
      "/password_hash: - -> \"\xe2\x80\xa2"}},
    {"import -", R"({"components":{"accessd":{"local":{"user_account":[{"login":"a","uid":1}]}}}})", 0,
     {"$user@dora: would be deleted with its user", ": would be created in its user layer"}},
    {"apply -f -", R"({"components":{"accessd":{"local":{"user_account":[{"cs_generated_id":"dora","uid":7}]}}}})", 0,
     {"$user@dora: would be changed in its user layer", "user /uid: 1001 -> 7"}},
    {"delete $user --all --yes", "", 0, {"@dora: would be deleted"}},
    {"unset $net mtu", "", 0, {"user /mtu: 1500 -> -"}},
    {"confirm $net", "", 0, {"the desired value is in force now"}},
    {"stage set", R"({"components":{"clockd":{"sync":{"time_source":{"method":"ntp"}}}}})", 0,
     {"staged value of $clock: would be created", "/method: - -> \"ntp\""}},
    {"restore /backup", "", 0, {"$net: would be deleted with its user, vital"}},
    {"defaults load", "", 0, {"default object of $clock: would be created"}},
    {"set $net mtu=1", "", 3, {"/mtu: Integer value below"}},
};
// clang-format on

TEST_F(Fields, DryRunTellsAndChangesNothing) {
  for (const char* line : {"delete $net", "backup /backup", "set $net -f $objects/stack_settings.json"}) {
    ASSERT_EQ(0, Csctl(line).exit) << line;
  }
  StageByHand();
  root_.Write("/usr/lib/halden/configmanager/components/p/defaults/d.json",
              R"({"defaults":[{"component":"clockd","group":"sync","key":"time_source","value":{"method":"ntp"}}]})");
  const std::string before = root_.Read(kStoreFile);
  for (Row row : kDryRuns) {
    row.line += " --dry-run";
    EXPECT_EQ(std::string::npos, Check(row).find("MARK"));
    EXPECT_TRUE(before == root_.Read(kStoreFile)) << row.line;
  }
}

}  // namespace
