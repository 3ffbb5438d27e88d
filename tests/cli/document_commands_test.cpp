#include <sys/stat.h>

#include <gtest/gtest.h>

#include "cli/host.h"

namespace {

std::string InNetd(const std::string& settings) {
  return R"({"components":{"netd":{"ipstack":{"stack_settings":)" + settings + "}}}}";
}

const std::string kAccounts = R"({"components":{"accessd":{"local":{"user_account":[
{"cs_generated_id":"ed","login":"edwin","uid":7,"password_hash":"$6$hush"}]}}}})";

class Documents : public StockedHost {
 protected:
  std::string File(const std::string& text) { return root_.Write("/document", text); }
  std::string Exported() { return Run({"export", "--show-secrets"}).out; }
};

}  // namespace

// The document stands in the place of "DOCUMENT" among the arguments.
const Case kDocumentCases[] = {
    {"Export", {"export"}, "", 0, {"{\n  \"components\": {\n    \"accessd\": {", "\"login\": \"dora\"", "node7"}},
    {"ExportPart", {"export", "netd/ipstack", "--json"}, "", 0, {"{\"components\":{\"netd\":{\"ipstack\":{\"stack"}},
    {"ExportLayer", {"export", "--layer", "cached", "--compact"}, "", 0, {":{\"learned_domain\":\"lab.example\""}},
    {"ExportNothing", {"export", "clockd"}, "", 0, {"{\n  \"components\": {}\n}\n"}},
    {"ExportUnknownLayer", {"export", "--layer", "default"}, "", 2, {"--layer"}},
    {"ExportSecretsTwice", {"export", "--show-secrets", "--secrets", "omit"}, "", 2, {"excludes"}},
    {"ExportToNowhere", {"export", "-o", "/no/such/file"}, "", 2, {"/no/such/file: No such file or directory"}},
    {"ExportToDirectory", {"export", "-o", "/"}, "", 2, {"/: Is a directory"}},
    {"Import", {"import", "-"}, kAccounts, 0, {"imported 1 objects of 1 types"}},
    {"ImportInJson", {"import", "-", "--json"}, kAccounts, 0, {"{\"imported\":1,\"types\":1}\n"}},
    {"ImportNotJson",
     {"import", "-"},
     "{\n \"components\":",
     3,
     {"standard input: Failed to parse JSON String\n  line 2, column 15: ", "nothing was changed"}},
    {"ImportNoDocument", {"import", "-"}, "{}", 3, {"line 1, column 1: Required property missing: components"}},
    {"ImportInvalid",
     {"import", "-"},
     InNetd("{\"link\":[{\"name\":\"e0\"},\n{\"name\":\"e1\",\"enabld\":true}]}"),
     3,
     {"standard input: Import operation failed",
      "line 1, column 52: ", "Required property missing: hostname; allowed: ",
      "line 2, column 14: /components/netd/ipstack/stack_settings/link/1/enabld [e1]: Additional property not allowed: "
      "enabld; did you mean \"enabled\"?"}},
    {"ImportInvalidInJson",
     {"import", "-", "--json"},
     InNetd("{}"),
     3,
     {"\"violations\":[{\"field\":\"/components/netd/ipstack/stack_settings\",\"error\":\"Required",
      "\"diagnostics\":[{\"severity\":\"error\",\"line\":1,\"column\":52,\"pointer\":\"/components/netd/ipstack/"
      "stack_settings\",\"object\":\"netd/ipstack/stack_settings\","}},
    {"ImportMissingFile", {"import", "/no/such/file"}, "", 2, {"/no/such/file"}},
    {"Apply", {"apply", "-f", "-"}, InNetd("{\"mtu\":9000}"), 0, {"applied 1 objects"}},
    {"ApplyInvalid",
     {"apply", "-f", "-"},
     InNetd("{\"mtu\":1}"),
     3,
     {"/mtu: Integer value below minimum: 576; allowed: "}},
    {"ApplyNothingNew", {"apply", "-f", "-", "--replace"}, InNetd("{\"mtu\":9000}"), 3, {"missing: hostname"}},
    {"Validate", {"validate", "-"}, kAccounts, 0, {"valid\n"}},
    {"ValidateWarns",
     {"validate", "-", "--type", kNetd},
     "{\"hostname\":\"n\",\n\"default_link\":\"e9\"}",
     0,
     {"valid\n  line 2, column 16: warning: /default_link: REFERENCE ERROR"}},
    {"ValidateStored", {"validate", kNetd}, "", 0, {"valid\n"}},
    {"ValidateNothing", {"validate", kUser + "@nobody"}, "", 4, {"no such file or object"}},
    {"ValidateObject",
     {"validate", "-", "--type", kNetd, "--gcc"},
     "{\"hostname\":\"n\",\n\"mtu\":1}",
     3,
     {"standard input:2:7: error: /mtu: Integer value below minimum: 576"}},
    {"ValidateNoDocument", {"validate", "-"}, "[]", 3, {"expected object."}},
    {"SetPlacesWhatIsWrong",
     {"set", kNetd},
     "{\"hostname\":\"n\",\n\"mut\":1500}",
     3,
     {"line 2, column 1: /mut: Additional property not allowed: mut; did you mean \"mtu\"?"}},
    {"ReplaceNamesTheInstance",
     {"replace", kUser},
     "[{\"cs_generated_id\":\"i\",\"login\":\"a\"}]",
     3,
     {"line 1, column 2: /0 [i]: Required property missing: uid; allowed: integer, from 0 to 65534"}},
};

class OnDocuments : public Documents {};
TEST_P(OnDocuments, EndsAsDocumented) {
  Expect(GetParam(), Run(GetParam().arguments, GetParam().input));
}
INSTANTIATE_TEST_SUITE_P(Csctl, OnDocuments, testing::ValuesIn(kDocumentCases), CaseName);

TEST_F(Documents, FilesWithSecretsAreTheirOwnersAlone) {
  ASSERT_EQ(0, Run({"import", "-"}, kAccounts).exit);
  const std::string file = root_.Resolve("/exported");
  struct stat status {};
  umask(022);
  ASSERT_EQ(0, Run({"export", "-o", file}).exit);
  ASSERT_EQ(0, stat(file.c_str(), &status));
  EXPECT_EQ(0644u, status.st_mode & 0777);
  EXPECT_EQ(std::string::npos, root_.Read("/exported").find("hush"));
  ASSERT_EQ(0, Run({"export", "-o", file, "--show-secrets"}).exit);
  ASSERT_EQ(0, stat(file.c_str(), &status));
  EXPECT_EQ(0600u, status.st_mode & 0777);
  EXPECT_NE(std::string::npos, root_.Read("/exported").find("$6$hush"));
  ASSERT_EQ(0, Run({"backup"}).exit);
  ASSERT_EQ(0, stat(root_.Resolve("/var/lib/halden/configstore/backup").c_str(), &status));
  EXPECT_EQ(0700u, status.st_mode & 0777);
}

TEST_F(Documents, ImportGivesWhatWasExported) {
  const std::string before = Exported();
  ASSERT_EQ(0, Run({"import", "-"}, kAccounts).exit);
  ASSERT_EQ(0, Run({"apply", "-f", "-"}, InNetd(R"({"mtu":9000})")).exit);
  EXPECT_NE(before, Exported());
  ASSERT_EQ(0, Run({"import", File(before)}).exit);
  EXPECT_EQ(before, Exported());
}

TEST_F(Documents, WhatIsLeftOutIsSaid) {
  ASSERT_EQ(0, Run({"import", "-"}, kAccounts).exit);
  // The type turns into one with a single object.
  const std::string schema = root_.Write("/schema.json", R"({"component":"accessd","group":"local","key":"user_account",
"version":"2","schema":{"type":"object","properties":{}}})");
  ASSERT_EQ(0, Run({"schema", "add", schema}).exit);
  const Outcome outcome = Run({"export", "accessd", "--json", "-q"});
  EXPECT_EQ(0, outcome.exit);
  EXPECT_EQ("csctl: warning: " + kUser + ": 1 objects are not in the document: the type has a single object\n",
            outcome.err);
}

TEST_F(Documents, FaultsOfEveryKindAreListedOnce) {
  const std::string document = InNetd("{\"mtu\":1,\n\"routing\":{\"mode\":7},\"x\":0}");
  const Outcome outcome = Run({"validate", File(document), "--gcc"});
  const std::string file = root_.Resolve("/document");
  const std::string below = "/components/netd/ipstack/stack_settings";
  EXPECT_EQ(3, outcome.exit);
  EXPECT_EQ(
      file + ":1:52: error: " + below +
          ": Required property missing: hostname; allowed: string, from 1 to 253 bytes, matches [A-Za-z0-9.-]+\n" +
          file + ":1:59: error: " + below +
          "/mtu: Integer value below minimum: 576; allowed: integer, from 576 to 9000\n" + file + ":2:19: error: " +
          below + "/routing/mode: INCORRECT TYPE: expected string.; allowed: string, one of static, dynamic\n" + file +
          ":2:22: error: " + below + "/x: Additional property not allowed: x\n",
      outcome.err);
}
