#include <sys/stat.h>

#include "cli/host.h"
#include "support/test_store.h"

namespace {

std::string InNetd(const std::string& settings) {
  return R"({"components":{"netd":{"ipstack":{"stack_settings":)" + settings + "}}}}";
}

const std::string kAccounts = R"({"components":{"accessd":{"local":{"user_account":[
{"cs_generated_id":"ed","login":"edwin","uid":7,"password_hash":"$6$hush"}]}}}})";

// clang-format off
const std::vector<Row> kRows = {
    {"export", "", 0, {"{\n  \"components\": {\n    \"accessd\": {", "\"login\": \"dora\"", "node7"}},
    {"export netd/ipstack --json", "", 0, {"{\"components\":{\"netd\":{\"ipstack\":{\"stack"}},
    {"export --layer cached --compact", "", 0, {":{\"learned_domain\":\"lab.example\""}},
    {"export clockd", "", 0, {"{\n  \"components\": {}\n}\n"}},
    {"export --layer default", "", 2, {"--layer"}},
    {"export --show-secrets --secrets omit", "", 2, {"excludes"}},
    {"export -o /no/such/file", "", 2, {"/no/such/file: No such file or directory"}},
    {"export -o /", "", 2, {"/: Is a directory"}},
    {"import -", kAccounts, 0, {"imported 1 objects of 1 types"}},
    {"import - --json", kAccounts, 0, {"{\"imported\":1,\"types\":1}\n"}},
    {"import -", "{\n \"components\":", 3,
     {"standard input: Failed to parse JSON String\n  line 2, column 15: ", "nothing was changed"}},
    {"import -", "{}", 3, {"line 1, column 1: Required property missing: components"}},
    {"import -", InNetd("{\"link\":[{\"name\":\"e0\"},\n{\"name\":\"e1\",\"enabld\":true}]}"), 3,
     {"standard input: Import operation failed", "line 1, column 52: ", "Required property missing: hostname; allowed: ",
      "line 2, column 14: /components/netd/ipstack/stack_settings/link/1/enabld [e1]: Additional property not allowed: "
      "enabld; did you mean \"enabled\"?"}},
    {"import - --json", InNetd("{}"), 3,
     {"\"violations\":[{\"field\":\"/components/$net\",\"error\":\"Required", "\"diagnostics\":[{\"severity\":\"error\","
      "\"line\":1,\"column\":52,\"pointer\":\"/components/$net\",\"object\":\"$net\","}},
    {"import /no/such/file", "", 2, {"/no/such/file"}},
    {"apply -f -", InNetd("{\"mtu\":9000}"), 0, {"applied 1 objects"}},
    {"apply -f -", InNetd("{\"mtu\":1}"), 3, {"/mtu: Integer value below minimum: 576; allowed: "}},
    {"apply -f - --replace", InNetd("{\"mtu\":9000}"), 3, {"missing: hostname"}},
    {"validate -", kAccounts, 0, {"valid\n"}},
    {"validate - --type $net", "{\"hostname\":\"n\",\n\"default_link\":\"e9\"}", 0,
     {"valid\n  line 2, column 16: warning: /default_link: REFERENCE ERROR"}},
    {"validate $net", "", 0, {"valid\n"}},
    {"validate $user@nobody", "", 4, {"no such file or object"}},
    {"validate - --type $net --gcc", "{\"hostname\":\"n\",\n\"mtu\":1}", 3,
     {"standard input:2:7: error: /mtu: Integer value below minimum: 576"}},
    {"validate -", "[]", 3, {"expected object."}},
    {"set $net", "{\"hostname\":\"n\",\n\"mut\":1500}", 3,
     {"line 2, column 1: /mut: Additional property not allowed: mut; did you mean \"mtu\"?"}},
    {"replace $user", "[{\"cs_generated_id\":\"i\",\"login\":\"a\"}]", 3,
     {"line 1, column 2: /0 [i]: Required property missing: uid; allowed: integer, from 0 to 65534"}},
};
// clang-format on

using Documents = StockedHost;

TEST_F(Documents, CommandsEndAsDocumented) {
  ExpectEach(kRows);
}

TEST_F(Documents, FilesWithSecretsAreTheirOwnersAlone) {
  ASSERT_EQ(0, Csctl("import -", kAccounts).exit);
  const std::string file = root_.Resolve("/exported");
  umask(022);
  for (const bool shows : {false, true}) {
    ASSERT_EQ(0, Csctl("export -o " + file + (shows ? " --show-secrets" : "")).exit);
    EXPECT_EQ(fs::perms(shows ? 0600 : 0644), ModeOf(file));
    EXPECT_EQ(shows, root_.Read("/exported").find("$6$hush") != std::string::npos);
  }
  ASSERT_EQ(0, Csctl("backup").exit);
  EXPECT_EQ(fs::perms(0700), ModeOf(root_.Resolve("/var/lib/halden/configstore/backup")));
}

TEST_F(Documents, WhatIsLeftOutIsSaid) {
  // The type turns into one with a single object.
  const std::string schema = root_.Write("/schema.json", R"({"component":"accessd","group":"local","key":"user_account",
"version":"2","schema":{"type":"object","properties":{}}})");
  ASSERT_EQ(0, Csctl("schema add " + schema).exit);
  const Outcome outcome = Csctl("export accessd --json -q");
  EXPECT_EQ(0, outcome.exit);
  EXPECT_EQ("csctl: warning: " + kUser + ": 1 objects are not in the document: the type has a single object\n",
            outcome.err);
}

}  // namespace
