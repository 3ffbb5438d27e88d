#include "cli/host.h"
#include "configstore/boot_state.h"
#include "configstore/config_store.h"

namespace {

using OnAnEmptyHost = EmptyHost;
using CsctlOn = StockedHost;

// clang-format off
const std::vector<Row> kEmptyHostRows = {
    {"init", "", 0, {"has been created"}},
    {"init --json", "", 0, {"{\"created\":true}\n"}},
    {"init -q", "", 0, {}},
    {"get $net", "", 7, {"csctl: $net: there is no store", "next: run \"csctl init\""}},
    {"", "", 2, {"csctl --help"}},
    {"gte $net", "", 2, {"no such command or option: gte", "csctl --help"}},
    {"schema", "", 2, {"csctl --help"}},
    {"get", "", 2, {"ID"}},
    {"--json get", "", 2, {"{\"error\":{\"exit\":2,\"code\":0,\"message\":"}},
    {"--help", "", 0, {"7  the store is missing or busy", "layers"}},
    {"--root get -qh", "", 0, {"  schema ", "  types "}},
    {"--version", "", 0, {"csctl 1."}},
    {"get netd/ipstack", "", 2, {"netd/ipstack", "COMPONENT/GROUP/KEY"}},
    {"get a/b/c@", "", 2, {"empty"}},
    {"get a/b/c/d", "", 2, {"%2F"}},
    {"get a/b/c%4", "", 2, {"hexadecimal"}},
    {"get a/b/c@%00", "", 2, {"other than 00"}},
    {"get a/b/c@d#/e", "", 2, {"takes no field"}},
};

const std::vector<Row> kStockedHostRows = {
    {"init", "", 0, {"was there already"}},
    {"types", "", 0, {"$user   1.0      instances, named by the store", "$net  1.0      single"}},
    {"--json types", "", 0, {"[{\"type\":\"$user\",\"version\":\"1.0\",\"singleton\":false,\"generatedId\":true,"}},
    {"get $net", "", 0, {"\n  \"hostname\": \"node7\"", "\n    \"router_id\": 4294967297", "0000:03:00.0"}},
    {"get $net --json", "", 0, {"\"hw_address\":\"02:00:5e:10:00:01\"", "\"learned_domain\":\"lab.example\""}},
    {"get $user@nobody", "", 4, {"$user@nobody: there is no such object"}},
    {"get a/b/c", "", 4, {"Schema not found", "csctl types"}},
    {"-v get a/b/c", "", 4, {"  | Error Code: 2000\n  | Message: Schema not found"}},
    {"get $net@eth0", "", 3, {"Singleton object cannot contain instanceId"}},
    {"get $user", "", 3, {"should contain instanceId", "COMPONENT/GROUP/KEY@INSTANCE"}},
    {"get $clock --default", "", 4, {"no default object"}},
    {"set $clock -f -", R"({"method":"manual"})", 0, {"stored $clock"}},
    {"set $net", "{\"hostname\":", 3, {"standard input: Failed to parse JSON String"}},
    {"set $net -f /no/such/file", "", 2, {"/no/such/file: No such file or directory"}},
    {"set $net -f /", "", 2, {"Is a directory"}},
    {"set $net --as root", "{}", 2, {"--as"}},
    {"set $net -f $objects/stack_settings_refused.json", "", 3,
     {"/hostname", "/mtu", "/routing/mode", "/routing/metric_scale", "enabled", "colour", "next: "}},
    {"set $net --json", R"({"hostname":"n","hw_address":"02:00:5e:10:00:01","mtu":1})", 3,
     {"{\"error\":{\"exit\":3,\"code\":1089,\"message\":", "\"where\":\"$net\"",
      "\"violations\":[{\"field\":\"/mtu\",\"error\":\""}},
    {"set $net --new", "{}", 2, {"names no instances"}},
    {"set $user@x --new", "{}", 2, {"--new"}},
    {"set $net --layer cached", "{\"learned_domain\":\"x\"}", 0, {"stored"}},
    {"set $net --layer vital", "{\"mtu\":1500}", 3, {"/mtu: property is not vital"}},
    {"set $net --layer user --as auto", "{}", 2, {"excludes"}},
    {"update $net", "{\"mtu\":9000}", 0, {"updated $net"}},
    {"layers $net", "", 0, {"$net, version 1.0\ncreated 2", "\nvital: {\n  \"hw_address\"",
     "\nauto: -\nuser: {\n  \"hostname\"", "\ndesired: -\n"}},
    {"layers $net --json", "", 0, {"\"confirmed\":true,", "\"cached\":{\"learned_domain\":\"lab.example\",",
     "\"auto\":null,", "\"desired\":null}}\n"}},
    {"delete $user@dora", "", 0, {"deleted $user@dora\n"}},
    {"delete $user@nobody", "", 4, {"no such object"}},
    {"delete $user --all", "", 2, {"deletes 1 objects", "--yes"}},
    {"delete $user --all --yes", "", 0, {"1 objects"}},
    {"ls", "", 0, {"$user@dora\n$net\n"}},
    {"ls netd/ipstack --json", "", 0, {"[{\"id\":\"$net\""}},
    {"ls clockd", "", 0, {}},
    {"ls netd/ipstakc", "", 4, {"no registered type has this name", "did you mean \"netd/ipstack\"?"}},
    {"get netd/ipstack/stack_setings", "", 4, {"did you mean \"$net\"?"}},
    {"find $user", "{\"login\":\"dora\"}", 0, {"$user@dora", "\"uid\": 1001"}},
    {"find $user", "{\"login\":\"nobody\"}", 1, {}},
    {"find $net", "{}", 3, {"singleton", "single object"}},
    {"replace $user", R"([{"login":"a","uid":1},{"login":"b","uid":2}])", 0, {"2 instances"}},
    {"replace $user", "{}", 3, {"should be an array of objects"}},
    {"replace $user", "[]", 3, {"the array is empty", "--all"}},
    {"replace $user", R"([{"cs_generated_id":1}])", 3, {"must name its instance"}},
    {"replace $user@dora", "[]", 2, {"without \"@INSTANCE\""}},
    {"describe $net#/mtu", "", 0, {"integer  user      from 576 to 9000; default 1500"}},
    {"describe $net#/mtu --json", "", 0, {"\"rules\":[\"from 576 to 9000\"],\"default\":1500"}},
    {"describe $net#/m", "", 4, {"the type has no such field"}},
    {"--root /no/such/directory types", "", 2, {"/no/such/directory"}},
    {"schema add $objects/time_source.json", "", 3, {"time_source.json"}},
    {"explain $net", "", 0, {"\n/mtu: 1500  (user)\n    default of the type: 1500\n",
     "/link/eth0/name: \"eth0\"  (user)\n    hidden: \"eth0\""}},
    {"explain $net#/link/eth0/bus_path", "", 0, {"/link/eth0/bus_path: \"0000:03:00.0\"  (vital)"}},
    {"explain $net#/mtu --json", "", 0,
     {"\"damaged\":[],\"fields\":[{\"field\":\"/mtu\",\"value\":1500,\"layer\":\"user\",\"shadowed\":[],"}},
    {"explain $net#/lin", "", 4, {"no such field", "csctl describe"}},
    {"explain $user@nobody", "", 4, {"no such object"}},
    {"get $net --origin", "", 0, {"\n}\n/hw_address ", "\n/mtu                      user"}},
    {"get $net --origin --json", "", 0, {"\"origin\":{\"/hw_address\":\"vital\","}},
};
// clang-format on

TEST_F(OnAnEmptyHost, EndsAsDocumented) {
  ExpectEach(kEmptyHostRows);
}
TEST_F(CsctlOn, EndsAsDocumented) {
  ExpectEach(kStockedHostRows);
}

TEST_F(CsctlOn, BootPhaseRefusesUsersAlone) {
  OrvoConfigStore::SetKV("IS_BOOT", "true");
  EXPECT_EQ(5, Csctl("set $net -f $objects/stack_settings.json").exit);
  EXPECT_EQ(0, Csctl("set $net -f $objects/stack_settings.json --as auto").exit);
  Shows("layers $net --json", {"\"user\":null"});
}

TEST_F(CsctlOn, TerminalGetsNoControlCharacters) {
  const std::string raw = "\x7f\xc2\x9b\xff\xc1\x9b\xc3\xa9q\\\"{";  // \xc1\x9b is too long a form of "["
  ASSERT_EQ(0, Csctl("set $user@%1b --as auto", R"({"login":"eve","uid":1,"shell":")" + raw + "\"}").exit);
  EXPECT_NE(std::string::npos, RunOnTerminal(root_.Path(), {"get", kUser + "@%1B"})
                                   .find("\"shell\": \"\\u007f\\u009b\\ufffd\\ufffd\\ufffd\xc3\xa9q\\\"{\""));
  Shows("get $user@%1B", {"\"" + raw + "\""});
}

// Names that reach statements, messages and terminals: what set prints reads
// back as the same object and no other.
TEST_F(CsctlOn, AnyInstanceNameCanBeWrittenAndRead) {
  for (const std::string& name :
       std::vector<std::string>{"it's%22quoted%22", "100%25", "x';drop table config;--", "two%0Alines", "%25s%25n",
                                "#%2fa@b/c", "%C3%A9\xc3\xa9", "%ff%FE", "%2500", " ", std::string(255, 'n')}) {
    const std::string data = R"({"home_volume":")" + std::to_string(name.size()) + R"(","login":"u","uid":1})";
    const Outcome stored = Run({"set", kUser + "@" + name}, data);
    ASSERT_EQ(0, stored.exit) << name << stored.err;
    const std::string printed = stored.out.substr(7, stored.out.find('\n') - 7);  // "stored ID\n"
    EXPECT_EQ(std::string::npos, printed.find_first_of(" '\"\n;")) << printed;
    EXPECT_EQ(data + "\n", Run({"get", "--json", printed}).out);
    EXPECT_EQ(0, Run({"delete", printed}).exit);
    EXPECT_EQ(4, Run({"get", kUser + "@" + name}).exit);
  }
  EXPECT_EQ(0, Csctl("get $user@dora").exit);
}

TEST_F(CsctlOn, NewInstancesGetNamesOfTheirOwn) {
  const std::string first = Printed("set --new $user -f $objects/user_account.json");
  EXPECT_NE(first, Printed("set --new $user -f $objects/user_account.json"));
  EXPECT_EQ(0, Csctl("get " + first).exit) << first;
}

}  // namespace
