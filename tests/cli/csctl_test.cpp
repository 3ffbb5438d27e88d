#include <gtest/gtest.h>

#include <csignal>

#include "cli/host.h"
#include "configstore/boot_state.h"
#include "configstore/config_store.h"

// clang-format off
const Case kEmptyHostCases[] = {
    {"InitCreates", {"init"}, "", 0, {"has been created"}},
    {"InitSaysSoInJson", {"init", "--json"}, "", 0, {"{\"created\":true}\n"}},
    {"InitQuietly", {"init", "-q"}, "", 0, {}},
    {"GetNeedsAStore", {"get", kNetd}, "", 7, {"csctl: " + kNetd + ": there is no store", "next: run \"csctl init\""}},
    {"NoCommand", {}, "", 2, {"csctl --help"}},
    {"UnknownCommand", {"gte", kNetd}, "", 2, {"no such command or option: gte", "csctl --help"}},
    {"GroupWithoutItsCommand", {"schema"}, "", 2, {"csctl --help"}},
    {"MissingArgument", {"get"}, "", 2, {"ID"}},
    {"UnknownOption", {"types", "--wide"}, "", 2, {"--wide"}},
    {"UsageErrorInJson", {"--json", "get"}, "", 2, {"{\"error\":{\"exit\":2,\"code\":0,\"message\":"}},
    {"HelpTellsTheExitCodes", {"--help"}, "", 0, {"7  the store is missing or busy", "layers"}},
    {"HelpListsAllBesideACommandsName", {"--root", "get", "-qh"}, "", 0, {"  schema ", "  types "}},
    {"Version", {"--version"}, "", 0, {"csctl 1."}},
    {"TwoParts", {"get", "netd/ipstack"}, "", 2, {"netd/ipstack", "COMPONENT/GROUP/KEY"}},
    {"EmptyPart", {"get", "netd//key"}, "", 2, {"empty"}},
    {"EmptyInstance", {"get", "a/b/c@"}, "", 2, {"empty"}},
    {"SlashInKey", {"get", "a/b/c/d"}, "", 2, {"%2F"}},
    {"EscapeCutShort", {"get", "a/b/c%4"}, "", 2, {"hexadecimal"}},
    {"EscapeOfNoDigits", {"get", "a/b/c%zz"}, "", 2, {"hexadecimal"}},
    {"EscapeOfNul", {"get", "a/b/c@%00"}, "", 2, {"other than 00"}},
    {"FieldWhereNoneIsTaken", {"get", "a/b/c@d#/e"}, "", 2, {"takes no field"}},
};
// clang-format on

class OnAnEmptyHost : public EmptyHost {};
TEST_P(OnAnEmptyHost, EndsAsDocumented) {
  Expect(GetParam(), Run(GetParam().arguments, GetParam().input));
}
INSTANTIATE_TEST_SUITE_P(Csctl, OnAnEmptyHost, testing::ValuesIn(kEmptyHostCases), CaseName);

TEST_F(OnAnEmptyHost, CommandsThatNeedAStoreSaySoAndMakeNone) {
  const std::vector<std::string> kCommands[] = {
      {"set", kNetd},       {"delete", kNetd},  {"layers", kNetd},           {"types"},
      {"status"},           {"boot", "status"}, {"boot", "begin"},           {"boot", "mode", "apply"},
      {"boot", "preview"},  {"stage", "set"},   {"stage", "drop"},           {"confirm", "--all"},
      {"defaults", "load"}, {"backup"},         {"upgrade", "status", "lib"}};
  for (const auto& command : kCommands) Expect({"", {}, "", 7, {"csctl init"}}, Run(command, "{}"));
  EXPECT_EQ("", root_.Read("/etc/halden/configstore/current-store-1"));
}

// clang-format off
const Case kStockedHostCases[] = {
    {"InitKeeps", {"init"}, "", 0, {"was there already"}},
    {"Types", {"types"}, "", 0, {kUser + "   1.0      instances, named by the store", kNetd + "  1.0      single"}},
    {"TypesInJson", {"--json", "types"}, "", 0,
     {"[{\"type\":\"" + kUser + "\",\"version\":\"1.0\",\"singleton\":false,\"generatedId\":true,"}},
    {"GetForPeople", {"get", kNetd}, "", 0,
     {"\n  \"hostname\": \"node7\"", "\n    \"router_id\": 4294967297", "0000:03:00.0"}},
    {"GetInJson", {"get", kNetd, "--json"}, "", 0,
     {"\"hw_address\":\"02:00:5e:10:00:01\"", "\"learned_domain\":\"lab.example\""}},
    {"GetQuietlyTellsByTheExitCode", {"-q", "get", kNetd}, "", 0, {}},
    {"GetWithoutObject", {"get", "clockd/sync/time_source"}, "", 4, {"no such object"}},
    {"GetWithoutInstance", {"get", kUser + "@nobody"}, "", 4, {kUser + "@nobody: there is no such object"}},
    {"GetOfUnknownType", {"get", "a/b/c"}, "", 4, {"Schema not found", "csctl types"}},
    {"GetSingletonInstance", {"get", kNetd + "@eth0"}, "", 3, {"Singleton object cannot contain instanceId"}},
    {"GetTypeWithInstances", {"get", kUser}, "", 3, {"should contain instanceId", "COMPONENT/GROUP/KEY@INSTANCE"}},
    {"SetFromStandardInput", {"set", "clockd/sync/time_source", "-f", "-"}, R"({"method":"manual"})", 0,
     {"stored clockd/sync/time_source"}},
    {"SetNotJson", {"set", kNetd}, "{\"hostname\":", 3, {"standard input: Failed to parse JSON String"}},
    {"SetNoObject", {"set", kNetd}, "[]", 3, {"should be  an object"}},
    {"SetNothing", {"set", kNetd}, "", 3, {"Failed to parse"}},
    {"SetFromMissingFile", {"set", kNetd, "-f", "/no/such/file"}, "", 2, {"/no/such/file: No such file or directory"}},
    {"SetFromDirectory", {"set", kNetd, "-f", "/"}, "", 2, {"Is a directory"}},
    {"SetOfUnknownType", {"set", "a/b/c"}, "{}", 4, {"Schema not found"}},
    {"SetAsNobody", {"set", kNetd, "--as", "root"}, "{}", 2, {"--as"}},
    {"SetListsEveryViolation", {"set", kNetd, "-f", Object("stack_settings_refused")}, "", 3,
     {"/hostname", "/mtu", "/routing/mode", "/routing/metric_scale", "enabled", "colour", "next: "}},
    {"SetListsThemInJson", {"set", kNetd, "--json"}, R"({"hostname":"n","hw_address":"02:00:5e:10:00:01","mtu":1})", 3,
     {"{\"error\":{\"exit\":3,\"code\":1089,\"message\":", "\"where\":\"" + kNetd + "\"",
     "\"violations\":[{\"field\":\"/mtu\",\"error\":\""}},
    {"VerboseAddsTheLibrarysWords", {"-v", "get", "a/b/c"}, "", 4,
     {"  | Error Code: 2000\n  | Message: Schema not found"}},
    {"NewOnSingleton", {"set", kNetd, "--new"}, "{}", 2, {"names no instances"}},
    {"NewWithInstance", {"set", kUser + "@x", "--new"}, "{}", 2, {"--new"}},
    {"NewOfUnknownType", {"set", "a/b/c", "--new"}, "{}", 4, {"Schema not found"}},
    {"LayersForPeople", {"layers", kNetd}, "", 0, {kNetd + ", version 1.0\ncreated 2", "\nvital: {\n  \"hw_address\"",
     "\nauto: -\nuser: {\n  \"hostname\"", "\ndesired: -\n"}},
    {"LayersInJson", {"layers", kNetd, "--json"}, "", 0,
     {"\"confirmed\":true,", "\"cached\":{\"learned_domain\":\"lab.example\",", "\"auto\":null,",
     "\"desired\":null}}\n"}},
    {"LayersWithoutObject", {"layers", kUser + "@nobody"}, "", 4, {"no such object"}},
    {"DeleteTells", {"delete", kUser + "@dora"}, "", 0, {"deleted " + kUser + "@dora\n"}},
    {"DeleteWithoutObject", {"delete", kUser + "@nobody"}, "", 4, {"no such object"}},
    {"SchemaAddMissingFile", {"schema", "add", Schema("netd", "stack_settings"), "/no/such/file"}, "", 2,
     {"/no/such/file"}},
    {"SchemaAddNoSchema", {"schema", "add", Object("time_source")}, "", 3, {"time_source.json"}},
    {"ListAll", {"ls"}, "", 0, {kUser + "@dora\n" + kNetd + "\n"}},
    {"ListPrefixInJson", {"ls", "netd/ipstack", "--json"}, "", 0, {"[{\"id\":\"" + kNetd + "\""}},
    {"ListNothing", {"ls", "clockd"}, "", 0, {}},
    {"ListBadPrefix", {"ls", "netd//x"}, "", 2, {"a part of the name is empty"}},
    {"FindMatches", {"find", kUser}, "{\"login\":\"dora\"}", 0, {kUser + "@dora", "\"uid\": 1001"}},
    {"FindBadPattern", {"find", kUser}, "[1]", 3, {"should be  an object", "standard input"}},
    {"FindInSingleton", {"find", kNetd}, "{}", 3, {"singleton", "single object"}},
    {"UpdateMerges", {"update", kNetd}, "{\"mtu\":9000}", 0, {"updated " + kNetd}},
    {"UpdateRefused", {"update", kNetd}, "{\"mtu\":1}", 3, {"/mtu: Integer value below minimum: 576"}},
    {"SetOneLayer", {"set", kNetd, "--layer", "cached"}, "{\"learned_domain\":\"x\"}", 0, {"stored"}},
    {"SetWrongLayer", {"set", kNetd, "--layer", "vital"}, "{\"mtu\":1500}", 3, {"/mtu: property is not vital"}},
    {"SetLayerAsSomebody", {"set", kNetd, "--layer", "user", "--as", "auto"}, "{}", 2, {"excludes"}},
    {"ReplaceAll", {"replace", kUser}, "[{\"login\":\"a\",\"uid\":1},{\"login\":\"b\",\"uid\":2}]", 0, {"2 instances"}},
    {"ReplaceNoArray", {"replace", kUser}, "{}", 3, {"should be an array of objects"}},
    {"ReplaceByNothing", {"replace", kUser}, "[]", 3, {"the array is empty", "--all"}},
    {"ReplaceInvalid", {"replace", kUser}, "[{\"login\":\"a\",\"uid\":-1}]", 3,
     {"/uid: Integer value below minimum: 0"}},
    {"ReplaceUnnamed", {"replace", kUser}, "[{\"cs_generated_id\":1}]", 3, {"must name its instance"}},
    {"ReplaceInstance", {"replace", kUser + "@dora"}, "[]", 2, {"without \"@INSTANCE\""}},
    {"DeleteAllAsksFirst", {"delete", kUser, "--all"}, "", 2, {"deletes 1 objects", "--yes"}},
    {"DeleteAll", {"delete", kUser, "--all", "--yes"}, "", 0, {"1 objects"}},
    {"DefaultOfNone", {"get", "clockd/sync/time_source", "--default"}, "", 4, {"no default object"}},
    {"DescribeField", {"describe", kNetd + "#/mtu"}, "", 0, {"integer  user      from 576 to 9000; default 1500"}},
    {"DescribeInJson", {"describe", kNetd + "#/mtu", "--json"}, "", 0,
     {"\"rules\":[\"from 576 to 9000\"],\"default\":1500"}},
    {"DescribeNoSuchField", {"describe", kNetd + "#/m"}, "", 4, {"the type has no such field"}},
    {"RootThatIsNone", {"--root", "/no/such/directory", "types"}, "", 2, {"/no/such/directory"}},
};
// clang-format on

class OnAStockedHost : public StockedHost {};
TEST_F(OnAStockedHost, FindSaysNoWhenNothingMatches) {
  const Outcome outcome = Run({"find", kUser}, "{\"login\":\"nobody\"}");
  EXPECT_EQ(1, outcome.exit);
  EXPECT_EQ("", outcome.out + outcome.err);
}

TEST_F(OnAStockedHost, WritesChangeWhatTheySayAndNothingElse) {
  Run({"update", kNetd}, "{\"mtu\":9000}");
  Run({"set", kNetd, "--layer", "cached"}, "{\"learned_domain\":\"x\"}");
  const std::string stored = Run({"get", kNetd, "--json"}).out;
  EXPECT_NE(std::string::npos, stored.find("\"mtu\":9000"));
  EXPECT_NE(std::string::npos, stored.find("\"learned_domain\":\"x\""));
  EXPECT_NE(std::string::npos, stored.find("\"hostname\":\"node7\""));
  Run({"delete", kUser, "--all"});
  EXPECT_NE("", Run({"ls", kUser}).out);
  Run({"delete", kUser, "--all", "--yes"});
  EXPECT_EQ("", Run({"ls", kUser}).out);
}

TEST_P(OnAStockedHost, EndsAsDocumented) {
  Expect(GetParam(), Run(GetParam().arguments, GetParam().input));
}
INSTANTIATE_TEST_SUITE_P(Csctl, OnAStockedHost, testing::ValuesIn(kStockedHostCases), CaseName);

// What the store or the host is in the way of.
using CsctlOn = StockedHost;

TEST_F(CsctlOn, BootPhaseRefusesUsersAlone) {
  OrvoConfigStore::SetKV("IS_BOOT", "true");
  EXPECT_EQ(5, Run({"set", kNetd, "-f", Object("stack_settings")}).exit);
  EXPECT_EQ(0, Run({"set", kNetd, "-f", Object("stack_settings"), "--as", "auto"}).exit);
  EXPECT_NE(std::string::npos, Run({"layers", kNetd, "--json"}).out.find("\"user\":null"));
}

TEST_F(CsctlOn, BusyStoreSaysSo) {
  auto store = OrvoConfigStore::ConfigStore::GetStore("");
  OrvoConfigStore::ConfigStoreTransaction transaction(store);
  Expect({"", {}, "", 7, {"busy"}}, Run({"set", kNetd, "-f", Object("stack_settings")}));
}

TEST_F(CsctlOn, ForeignStoreFileSaysSo) {
  root_.Write("/etc/halden/configstore/current-store-1", std::string(8192, 'x'));
  Expect({"", {}, "", 8, {"damaged"}}, Run({"get", kNetd}));
}

TEST_F(CsctlOn, OutputThatCannotBeWrittenIsAnError) {
  Expect({"", {}, "", 8, {"standard output"}}, RunCsctl(root_.Path(), {"get", kNetd}, "", Sink::kFullDisk));
  Expect({"", {}, "", -SIGPIPE, {}}, RunCsctl(root_.Path(), {"get", kNetd}, "", Sink::kClosedPipe));
}

TEST_F(CsctlOn, TerminalGetsNoControlCharacters) {
  const std::string raw = "\x7f\xc2\x9b\xff\xc1\x9b\xc3\xa9q\\\"{";  // \xc1\x9b is too long a form of "["
  ASSERT_EQ(0, Run({"set", kUser + "@%1b", "--as", "auto"}, R"({"login":"eve","uid":1,"shell":")" + raw + "\"}").exit);
  EXPECT_NE(std::string::npos, RunOnTerminal(root_.Path(), {"get", kUser + "@%1B"})
                                   .find("\"shell\": \"\\u007f\\u009b\\ufffd\\ufffd\\ufffd\xc3\xa9q\\\"{\""));
  EXPECT_NE(std::string::npos, Run({"get", kUser + "@%1B"}).out.find("\"" + raw + "\""));
}

// Names that reach statements, messages and terminals: what set prints reads
// back as the same object and no other.
TEST_F(CsctlOn, AnyInstanceNameCanBeWrittenAndRead) {
  const char* const names[] = {"it's%22quoted%22",
                               "100%25",
                               "x';drop table config;--",
                               "two%0Alines",
                               "%25s%25n",
                               "#%2fa@b/c",
                               "%C3%A9\xc3\xa9",
                               "%ff%FE",
                               "%2500",
                               " "};
  for (const std::string name : names) {
    const std::string data = R"({"home_volume":")" + std::to_string(name.size()) + R"(","login":"u","uid":1})";
    const Outcome stored = Run({"set", kUser + "@" + name}, data);
    ASSERT_EQ(0, stored.exit) << name << stored.err;
    const std::string printed = stored.out.substr(7, stored.out.find('\n') - 7);  // "stored ID\n"
    EXPECT_EQ(std::string::npos, printed.find_first_of(" '\"\n;")) << printed;
    EXPECT_EQ(data + "\n", Run({"get", "--json", printed}).out);
    EXPECT_EQ(0, Run({"delete", printed}).exit);
    EXPECT_EQ(4, Run({"get", kUser + "@" + name}).exit);
  }
  EXPECT_EQ(0, Run({"get", kUser + "@dora"}).exit);
}

TEST_F(CsctlOn, NewInstancesGetNamesOfTheirOwn) {
  const Outcome first = Run({"set", "--new", kUser, "-f", Object("user_account")});
  const Outcome second = Run({"set", "--new", kUser, "-f", Object("user_account")});
  EXPECT_NE(first.out, second.out);
  EXPECT_EQ(0, Run({"get", first.out.substr(0, first.out.size() - 1)}).exit) << first.out << first.err;
}

TEST_F(CsctlOn, SecretsStayMaskedAndSurviveAWriteBack) {
  const std::string id = kUser + "@edwin", secret = "$6$ab12$example-not-a-real-hash";
  ASSERT_EQ(0, Run({"set", id, "-f", Object("user_account_secret")}).exit);
  for (const char* command : {"get", "layers"}) {
    const Outcome masked = Run({command, id});
    EXPECT_EQ(std::string::npos, masked.out.find(secret)) << masked.out;
    EXPECT_NE(std::string::npos, masked.out.find("\"password_hash\": \"\xe2\x80\xa2")) << masked.out;
  }
  ASSERT_EQ(0, Run({"set", id}, Run({"get", id}).out).exit);
  EXPECT_NE(std::string::npos, Run({"get", id, "--show-secrets"}).out.find(secret));
  const Outcome unknown = Run({"set", kUser + "@new"}, Run({"get", id}).out);
  Expect({"", {}, "", 3, {"/password_hash"}}, unknown);
}

TEST_F(CsctlOn, GeneratedNestedIdentifiersAreStored) {
  ASSERT_EQ(0, Run({"set", kNetd, "-f", Object("stack_settings_addressed")}).exit);
  const std::string first = Run({"get", kNetd, "--json"}).out;
  EXPECT_NE(std::string::npos, first.find("\"metric_scale\":2.5"));
  EXPECT_NE(std::string::npos, first.find("\"cs_generated_id\":\""));
  ASSERT_EQ(0, Run({"set", kNetd}, first).exit);
  EXPECT_EQ(first, Run({"get", kNetd, "--json"}).out);
}
