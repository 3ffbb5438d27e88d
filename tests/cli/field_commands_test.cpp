#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iterator>

#include "cli/host.h"
#include "platform/db_store.h"

const Case kFieldCases[] = {
    {"SetWords",
     {"set", kNetd, "mtu=1400", "/link/eth9/enabled=false", "dns_search=a,b", "routing/metric_scale=5"},
     "",
     0,
     {"stored " + kNetd + "\n  changed: user layer\n"}},
    {"SetJson", {"set", kNetd, "--value-json", "link/eth1={\"enabled\":true}", "dns_search=[]"}, "", 0, {"user layer"}},
    {"SetOtherLayer", {"set", kNetd, "--layer", "cached", "learned_domain=x=y"}, "", 0, {"changed: cached layer"}},
    {"SetCreates", {"set", "clockd/sync/time_source", "method=ntp", "ntp/server/10.0.0.1/burst=true"}, "", 0, {"user"}},
    {"SetListsWhatCannotBe",
     {"set", kNetd, "mtu=x", "routing=1", "link=1", "foo=1", "hostname/a=b", "link/eth0/name=x"},
     "",
     3,
     {"mtu: The value is no integer; allowed: integer, from 576 to 9000\n", "routing: The field holds further ones",
      "foo: The type has no such field\n", "hostname/a: ", "link/eth0/name: An identifier cannot be changed"}},
    {"SetMisspelt",
     {"set", kNetd, "hostnme=x"},
     "",
     3,
     {"hostnme: The type has no such field; did you mean \"hostname\"?"}},
    {"SetBadJson", {"set", kNetd, "--value-json", "mtu={"}, "", 3, {"mtu: No JSON"}},
    {"SetTwice", {"set", kNetd, "--value-json", "link/eth1={\"mtu\":1,\"mtu\":2}"}, "", 3, {"a member is there twice"}},
    {"SetInvalid",
     {"set", kNetd, "mtu=1"},
     "",
     3,
     {"/mtu: Integer value below minimum: 576; allowed: integer, from 576 to 9000\n"}},
    {"SetNoAssignment", {"set", kNetd, "mtu"}, "", 2, {"not FIELD=VALUE"}},
    {"SetFieldsAndFile", {"set", kNetd, "mtu=1400", "-f", "x"}, "", 2, {"excludes"}},
    {"Unset", {"unset", kNetd, "mtu", "link/eth1"}, "", 0, {"changed: user layer"}},
    {"UnsetAbsent", {"unset", kNetd, "hw_address"}, "", 4, {"no such field: hw_address", "--layer"}},
    {"UnsetRequired", {"unset", kNetd, "hostname"}, "", 3, {"hostname; allowed: string"}},
    {"UnsetOfNoObject", {"unset", kUser + "@nobody", "uid"}, "", 4, {"no such object"}},
};

class Fields : public StockedHost {
 protected:
  void Sql(const std::string& sql) {
    ASSERT_EQ(0, DBStore::ExecuteV2(DBStore::GetConnection(DBStore::TYPE_STORE), sql, nullptr, nullptr, 3000)) << sql;
  }
  std::string Shown(const std::string& field) { return Run({"explain", kNetd + "#" + field}).out; }
};

TEST_P(Fields, EndAsDocumented) {
  const std::string before = Run({"layers", kNetd, "--json"}).out;
  Expect(GetParam(), Run(GetParam().arguments));
  if (GetParam().exit != 0) {
    EXPECT_EQ(before, Run({"layers", kNetd, "--json"}).out);
  }
}
INSTANTIATE_TEST_SUITE_P(Csctl, Fields, testing::ValuesIn(kFieldCases), CaseName);

TEST_F(Fields, AreChangedAndTheOthersKept) {
  Run({"set", kNetd, "mtu=1400", "link/eth9/enabled=false"});
  Run({"unset", kNetd, "dns_search", "link/eth1"});
  const std::string stored = Run({"get", kNetd, "--json"}).out;
  for (const char* part : {"\"mtu\":1400", "{\"name\":\"eth9\",\"enabled\":false}", "\"hostname\":\"node7\""}) {
    EXPECT_NE(std::string::npos, stored.find(part)) << part << " in " << stored;
  }
  EXPECT_EQ(std::string::npos, stored.find("dns_search") & stored.find("eth1"));
}

TEST_F(Fields, WritesTellWhatBecameOfPendingValues) {
  Sql("UPDATE Config SET DesiredValue='{\"hostname\":\"d\"}', Success=0 WHERE Name='stack_settings';");
  ASSERT_EQ(0,
            Run({"stage", "set"}, R"({"components":{"netd":{"ipstack":{"stack_settings":{"hostname":"s"}}}}})").exit);
  Expect({"",
          {},
          "",
          0,
          {"changed: user layer; the staged desired value is discarded; the object is confirmed now",
           "the staged configuration keeps its value"}},
         Run({"set", kNetd, "mtu=1400"}));
}

TEST_F(Fields, EditorChangesALayerAndSeesNoSecret) {
  const std::string id = kUser + "@edwin", secret = "$6$ab12$example-not-a-real-hash";
  ASSERT_EQ(0, Run({"set", id, "-f", Object("user_account_secret")}).exit);
  setenv("TMPDIR", root_.Path().c_str(), 1);
  setenv("EDITOR",
         ("stat -c %a \"$1\" >" + root_.Path() + "/mode; cp \"$1\" " + root_.Path() + "/seen; sed -i s/1002/1003/")
             .c_str(),
         1);
  Expect({"", {}, "", 0, {"changed: user layer"}}, Run({"edit", id}));
  EXPECT_EQ("600\n", root_.Read("/mode"));
  EXPECT_EQ(std::string::npos, root_.Read("/seen").find(secret));
  const std::string stored = Run({"get", id, "--json", "--show-secrets"}).out;
  EXPECT_NE(std::string::npos, stored.find(secret)) << stored;
  EXPECT_NE(std::string::npos, stored.find("1003")) << stored;
  Expect({"", {}, "", 0, {"unchanged"}}, Run({"edit", id}));
  setenv(
      "EDITOR",
      (std::string(CSCTL_PROGRAM) + " --root " + root_.Path() + " set " + id + " uid=7 >&2; sed -i s/1003/8/").c_str(),
      1);
  const Outcome conflict = Run({"edit", id});
  EXPECT_EQ(6, conflict.exit) << conflict.err;
  EXPECT_NE(std::string::npos, Run({"get", id, "--json"}).out.find("\"uid\":7"));
  setenv("EDITOR", "false", 1);
  Expect({"", {}, "", 2, {"the editor failed"}}, Run({"edit", id}));
  unsetenv("EDITOR");
  unsetenv("TMPDIR");
}

// What an editor made of the object, why it is refused, and what of it is kept.
struct RefusedEdit {
  const char* editor;
  int exit;
  const char* reason;
  const char* kept;
};

const RefusedEdit kRefusedEdits[] = {
    {"sed -i 's/1001/-1/'", 3, "line 3, column 10: /uid: Integer value below minimum: 0; allowed: ", "-1"},
    {"sed -i 's/1001/-1/; s/\"•••\"/\"MARK\"/'", 3, "/uid: ", "-1"},
    {"sed -i 's/1001/10 01/; s/\"•••\"/\"MARK\\nMARK/'", 3, "no JSON object\n  line 3, column", "10 01"},
    {"x=RK; f() { sed -i \"s/1001/10/; s/•••/MA$x/\" $1; false; }; f", 2, "the editor failed", "10"},
};

TEST_F(Fields, RefusedEditIsKeptWithoutSecrets) {
  const std::string id = kUser + "@dora", folder = root_.Path() + "/private";
  ASSERT_EQ(0, Run({"set", id}, R"({"login":"dora","uid":1001,"password_hash":"$6$ab12$MARKMARK"})").exit);
  std::filesystem::create_directory(folder);
  setenv("TMPDIR", folder.c_str(), 1);
  for (const RefusedEdit& row : kRefusedEdits) {
    setenv("EDITOR", row.editor, 1);
    const Outcome refused = Run({"edit", id});
    Expect({"", {}, "", row.exit, {row.reason, "kept in " + folder, "csctl set " + id + " --layer user -f "}}, refused);
    const std::filesystem::directory_iterator files(folder);
    ASSERT_EQ(1, std::distance(begin(files), end(files))) << row.editor;
    const std::string path = std::filesystem::directory_iterator(folder)->path();
    const std::string kept = root_.Read(path.substr(root_.Path().size()));
    EXPECT_NE(std::string::npos, kept.find(row.kept)) << kept;
    EXPECT_EQ(std::string::npos, (kept + refused.err).find("MARK")) << kept << refused.err;
    EXPECT_EQ(std::filesystem::perms(0600), std::filesystem::status(path).permissions());
    std::filesystem::remove(path);
  }
  unsetenv("EDITOR");
  unsetenv("TMPDIR");
}

// What a rehearsal tells; the store's file must not change by a byte.
const Case kDryRuns[] = {
    {"Set",
     {"set", kNetd, "mtu=1400"},
     "",
     0,
     {"dry run: nothing was changed\n" + kNetd + ": would be changed in its user layer\n",
      "the staged desired value is discarded", "confirmed now", "user /mtu: 1500 -> 1400"}},
    {"Update",
     {"update", kUser + "@dora", "--json"},
     "{\"uid\":7}",
     0,
     {"{\"dryRun\":true,\"objects\":[{\"id\":\"" + kUser + "@dora\",\"change\":\"changed\",\"layers\":[\"user\"],",
      "{\"layer\":\"user\",\"field\":\"/uid\",\"before\":1001,\"after\":7}"}},
    {"Nothing", {"update", kUser + "@dora"}, "{}", 0, {"nothing would change"}},
    {"Replace",
     {"replace", kUser},
     "[{\"login\":\"a\",\"uid\":1,\"password_hash\":\"MARK\"}]",
     0,
     {kUser + "@dora: would be deleted with its user, vital and cached layers", ": would be created in its user layer",
      "/password_hash: - -> \"\xe2\x80\xa2"}},
    {"Import",
     {"import", "-"},
     R"({"components":{"accessd":{"local":{"user_account":[{"login":"a","uid":1}]}}}})",
     0,
     {kUser + "@dora: would be deleted with its user", ": would be created in its user layer"}},
    {"Apply",
     {"apply", "-f", "-"},
     R"({"components":{"accessd":{"local":{"user_account":[{"cs_generated_id":"dora","login":"dora","uid":7}]}}}})",
     0,
     {kUser + "@dora: would be changed in its user layer", "user /uid: 1001 -> 7"}},
    {"ImportRefused",
     {"import", "-"},
     R"({"components":{"netd":{"ipstack":{"stack_settings":{"mtu":1}}}}})",
     3,
     {"mtu"}},
    {"Delete", {"delete", kUser, "--all", "--yes"}, "", 0, {"@dora: would be deleted"}},
    {"Unset", {"unset", kNetd, "mtu"}, "", 0, {"user /mtu: 1500 -> -"}},
    {"Confirm", {"confirm", kNetd}, "", 0, {"the desired value is in force now"}},
    {"StageSet",
     {"stage", "set"},
     R"({"components":{"clockd":{"sync":{"time_source":{"method":"ntp"}}}}})",
     0,
     {"staged value of clockd/sync/time_source: would be created", "/method: - -> \"ntp\""}},
    {"Restore", {"restore", "/backup"}, "", 0, {kNetd + ": would be deleted with its user, vital"}},
    {"DefaultsLoad", {"defaults", "load"}, "", 0, {"default object of clockd/sync/time_source: would be created"}},
    {"Refused", {"set", kNetd, "mtu=1"}, "", 3, {"/mtu: Integer value below"}},
};

class DryRun : public Fields {};
TEST_P(DryRun, TellsAndChangesNothing) {
  ASSERT_EQ(0, Run({"delete", kNetd}).exit);
  ASSERT_EQ(0, Run({"backup", "/backup"}).exit);
  ASSERT_EQ(0, Run({"set", kNetd, "-f", Object("stack_settings")}).exit);
  Sql("UPDATE Config SET DesiredValue='{\"hostname\":\"d\"}', Success=0 WHERE Name='stack_settings';");
  root_.Write("/usr/lib/halden/configmanager/components/p/defaults/d.json",
              R"({"defaults":[{"component":"clockd","group":"sync","key":"time_source","value":{"method":"ntp"}}]})");
  const std::string file = "/etc/halden/configstore/current-store-1", before = root_.Read(file);
  std::vector<std::string> arguments = GetParam().arguments;
  arguments.push_back("--dry-run");
  Case row = GetParam();
  const Outcome outcome = Run(arguments, row.input);
  Expect(row, outcome);
  EXPECT_EQ(std::string::npos, outcome.out.find("MARK"));
  EXPECT_EQ(before, root_.Read(file));
}
INSTANTIATE_TEST_SUITE_P(Csctl, DryRun, testing::ValuesIn(kDryRuns), CaseName);
