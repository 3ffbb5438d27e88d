#include "configstore/diff.h"

#include <regex>

#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

std::string Lines(const DiffResult& result) {
  std::string lines;
  for (const ObjectDifference& object : result.objects) {
    lines += object.id.key + (object.id.instanceId.empty() ? "" : "@" + object.id.instanceId);
    lines += object.before ? (object.after ? ":" : " -") : " +";
    for (const FieldChange& field : object.fields) {
      lines += " " + field.path + " " + field.before.value_or("-") + ">" + field.after.value_or("-");
    }
    lines += "; ";
  }
  return lines;
}

std::string Document(const std::string& types) {
  return R"({"components":{)" + types + "}}";
}
const std::string kNetd = R"("netd":{"ipstack":{"stack_settings":)";

// Two documents, what differs, and the patch from the first to the second, with $ for the path to the settings.
// clang-format off
const struct { const char* name; std::string from, to; const char *lines, *patch; } kCases[] = {
    {"Same", kNetd + R"({"mtu":1,"link":[{"name":"a"},{"name":"b"}]}}})",
     kNetd + R"({"link":[{"name":"b"},{"name":"a"}],"mtu":1}}})", "", "[]"},
    {"Scalars", kNetd + R"({"mtu":1500,"hostname":"a"}}})", kNetd + R"({"mtu":1400,"default_link":"x"}}})",
     "stack_settings: /mtu 1500>1400 /hostname \"a\">- /default_link ->\"x\"; ",
     R"([{"op":"replace","path":"$/mtu","value":1400},{"op":"remove","path":"$/hostname"},)"
     R"({"op":"add","path":"$/default_link","value":"x"}])"},
    {"Instances", kNetd + R"({"link":[{"name":"a"},{"name":"b","enabled":true},{"name":"c"}]}}})",
     kNetd + R"({"link":[{"name":"x"},{"name":"b","enabled":false}]}}})",
     "stack_settings: /link/a/name \"a\">- /link/b/enabled true>false /link/c/name \"c\">- /link/x/name ->\"x\"; ",
     R"([{"op":"remove","path":"$/link/2"},{"op":"remove","path":"$/link/0"},)"
     R"({"op":"replace","path":"$/link/0/enabled","value":false},)"
     R"({"op":"add","path":"$/link/0","value":{"name":"x"}}])"},
    {"Types", kNetd + "{}}}", R"("clockd":{"sync":{"time_source":{"method":"ntp"}}})",
     "time_source +; stack_settings -; ",
     R"([{"op":"add","path":"/components/clockd","value":{"sync":{"time_source":{"method":"ntp"}}}},)"
     R"({"op":"remove","path":"/components/netd"}])"},
    {"Secrets", R"("accessd":{"local":{"user_account":[{"cs_generated_id":"d","password_hash":"x"}]}})",
     R"("accessd":{"local":{"user_account":[{"cs_generated_id":"e"},{"cs_generated_id":"d","password_hash":"y"}]}})",
     "user_account@d: /password_hash \"x\">\"y\"; user_account@e +; ",
     "[{\"op\":\"replace\",\"path\":\"/components/accessd/local/user_account/0/password_hash\",\"value\":\"\xe2\x80\xa2"
     "\xe2\x80\xa2\xe2\x80\xa2\"},{\"op\":\"add\",\"path\":\"/components/accessd/local/user_account/0\",\"value\":"
     "{\"cs_generated_id\":\"e\"}}]"},
};
// clang-format on

TEST(Diff, MatchesByIdentifier) {
  TestStore store;
  for (const auto& row : kCases) {
    SCOPED_TRACE(row.name);
    const DiffSide from{DiffSide::DOCUMENT, Document(row.from)}, to{DiffSide::DOCUMENT, Document(row.to)};
    EXPECT_EQ(row.lines, Lines(Diff(from, to)));
    EXPECT_EQ(row.patch, std::regex_replace(DiffPatch(from, to, false),
                                            std::regex("/components/netd/ipstack/stack_settings/"), "$$/"));
  }
}

TEST(Diff, TakesEverySide) {
  TestStore store;
  store.Set(kTimeSource, R"({"method":"ntp","drift_ppm":1.5})");
  store.Run("UPDATE Config SET AutoConfValue='{\"enabled\":true}', DesiredValue='{\"method\":\"ptp\"}';");
  PutRow(kTimeSource, "Value", "'{}'", "DesiredUserConfig");
  PutRow(kTimeSource, "Value", "'{}'", "DefaultConfig");
  PutRow({"unknown", "g", "c"}, "UserValue", "'{}'");
  PutRow(UserAccount(""), "UserValue", "'{}'");
  ASSERT_EQ(0, backup(GetStorePath(), "/copy"));
  const std::pair<DiffSide::Kind, const char*> lines[] = {
      {DiffSide::STORE, ""},
      {DiffSide::USER, "time_source: /drift_ppm 1.5>- /enabled true>-; "},
      {DiffSide::AUTO, "time_source: /drift_ppm 1.5>- /method \"ntp\">-; "},
      {DiffSide::VITAL, "time_source -; "},
      {DiffSide::CACHED, "time_source: /enabled true>- /method \"ntp\">-; "},
      {DiffSide::DESIRED, "time_source: /drift_ppm 1.5>- /enabled true>- /method \"ntp\">\"ptp\"; "},
      {DiffSide::STAGED, "time_source: /drift_ppm 1.5>- /enabled true>- /method \"ntp\">-; "},
      {DiffSide::DEFAULTS, "time_source: /drift_ppm 1.5>- /enabled true>- /method \"ntp\">-; "},
  };
  for (const auto& [kind, line] : lines) EXPECT_EQ(line, Lines(Diff({}, {kind, ""}))) << kind;
  EXPECT_EQ("the type has instances", Diff({}, {}).leftOut.at(0).reason);
  EXPECT_EQ(1u, Diff({}, {}).leftOut.at(1).objects);
  store.Run("UPDATE Config SET UserValue='{\"method\":\"manual\"}' WHERE Name='time_source';");
  EXPECT_EQ("time_source: /method \"ntp\">\"manual\"; ", Lines(Diff({DiffSide::BACKUP, "/copy"}, {})));
  EXPECT_NE("", Thrown([] { Diff({}, {DiffSide::BACKUP, "/none"}); }));
  EXPECT_NE("", Thrown([] { Diff({}, {DiffSide::DOCUMENT, "{\"components\":{\"a\":{\"b\":{\"c\":{}}}}}"}); }));
}

}  // namespace
