// Values, names and patterns that are made to hurt. Each is refused with its code
// or comes back exactly, without running away, and on the small stack of a thread.

#include <pthread.h>

#include <ctime>
#include <functional>

#include "faults/host.h"
#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

constexpr size_t kStack = kIsSanitized ? 4 << 20 : 512 << 10;
constexpr long kMostMilliseconds = kIsSanitized ? 60000 : 20000;

void OnSmallStack(const std::function<void()>& action) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, kStack);
  pthread_t thread{};
  const auto run = [](void* given) -> void* {
    (*static_cast<const std::function<void()>*>(given))();
    return nullptr;
  };
  ASSERT_EQ(0, pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&action)));
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

long ProcessorMilliseconds() {
  timespec used{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
  return used.tv_sec * 1000 + used.tv_nsec / 1000000;
}

std::string Short(const std::string& text) {
  return text.size() < 200 ? text : text.substr(0, 200) + "...";
}

/// Checks what comes of a row, "CODE " for a refusal, and how long that takes.
void ExpectSoon(const std::string& row, const std::string& expected, const std::function<std::string()>& outcome) {
  const long start = ProcessorMilliseconds();
  std::string found;
  const std::string thrown = Thrown([&] { found = outcome(); });
  EXPECT_EQ(Short(expected), Short(thrown.empty() ? found : thrown.substr(0, 5))) << Short(row) << ": " << thrown;
  EXPECT_TRUE(!thrown.empty() || found == expected) << Short(row);
  EXPECT_GT(kMostMilliseconds, ProcessorMilliseconds() - start) << Short(row);
}

constexpr int kManyMembers = 100000;
constexpr size_t kSchemaLevels = 240;

std::string Members(const char* key, const std::string& value) {
  std::string text;
  for (int i = 0; i < kManyMembers; ++i) {
    text += (text.empty() ? "\"" : ",\"") + std::string(key) + std::to_string(i) + "\":" + value;
  }
  return "{" + text + "}";
}

std::string SchemaFile(const std::string& key, const std::string& properties) {
  return R"({"component": "faults", "group": "f", "key": ")" + key + R"(", "version": "1", "noRestore": false,
             "schema": {"type": "object", "properties": )" +
         properties + "}}";
}

std::string AnyProperties() {
  const std::string longName(kManyMembers, 'k');
  return R"({"l": {"type": "long"}, "d": {"type": "double"}, "s": {"type": "string"}, "": {"type": "long"},
             "a\u0000b": {"type": "long"}, "list": {"type": "array", "items": {"type": "long"}}, "x": {"type": "object",
             "properties": {"__proto__": {"type": "object", "properties": {"l": {"type": "long"}}}}}, ")" +
         longName + R"(": {"type": "long"}, "deep": )" + Repeated(R"({"type": "array", "items": )", kSchemaLevels) +
         R"({"type": "long"})" + Repeated("}", kSchemaLevels) + "}";
}

std::string Deep(size_t levels) {
  return R"({"deep":)" + Repeated("[", levels) + Repeated("]", levels) + "}";
}
std::string L(const std::string& value) {
  return R"({"l":)" + value + "}";
}
std::string D(const std::string& value) {
  return R"({"d":)" + value + "}";
}
std::string S(const std::string& value) {
  return R"({"s":")" + value + "\"}";
}

const char kSame[] = "same";
const char kNoJson[] = "1080 ";
const char kInvalid[] = "1089 ";

struct Value {
  std::string text;
  std::string expected;  // kSame, the text that is read, or the code that is thrown
  const char* key = "any";
};

// clang-format off
std::vector<Value> Values() {
  return {
      // depth and size
      {Deep(kSchemaLevels), kSame}, {Deep(kSchemaLevels + 1), kInvalid}, {Deep(511), kInvalid}, {Deep(512), kNoJson},
      {Deep(100000), kNoJson}, {Repeated("[", 1000000), kNoJson}, {Repeated(R"({"a":)", 1000000), kNoJson},
      {Members("m", "1"), kSame, "many"}, {Members("n", "1"), "2000 ", "many"}, {Members("l", "1"), "2000 "},
      {R"({"list":[0)" + Repeated(",1", kManyMembers) + "]}", kSame},
      {S(Repeated("s", 1 << 20)), kSame}, {S(Repeated("s", 16 << 20)), kNoJson},
      {R"({")" + std::string(kManyMembers, 'k') + R"(":1})", kSame},
      // numbers
      {L("0"), kSame}, {L("-0"), L("0")}, {L("9007199254740993"), kSame}, {L("-9223372036854775808"), kSame},
      {L("9223372036854775807"), kSame}, {L("9223372036854775808"), kInvalid}, {L("1.0"), kInvalid},
      {D("-0.0"), kSame}, {D("0.1"), kSame}, {D("5e-324"), kSame}, {D("1e-400"), D("0.0")}, {D("1"), kInvalid},
      {D("1.7976931348623157e308"), kSame}, {D("2.2250738585072011e-308"), D("2.225073858507201e-308")}, {D("1e309"), kNoJson},
      {D("-1e309"), kNoJson}, {D("0." + Repeated("3", 100000)), D("0.3333333333333333")}, {D("18446744073709551615"), kInvalid},
      {D("18446744073709551616"), D("18446744073709553000.0")}, {D("-9223372036854775809"), D("-9223372036854776000.0")},
      {D("1" + Repeated("0", 400)), kNoJson}, {D("1e99999999999999999999"), kNoJson}, {L("01"), kNoJson},
      {L("+1"), kNoJson}, {D(".5"), kNoJson}, {D("1."), kNoJson}, {D("1e"), kNoJson}, {L("0x10"), kNoJson},
      {D("NaN"), kNoJson}, {D("Infinity"), kNoJson}, {L("-"), kNoJson},
      // texts
      {S("a\\u0000b"), kSame}, {S(std::string("a\0b", 3)), kNoJson}, {S("\x01"), kNoJson}, {S("\\ud800"), kNoJson},
      {S("\\udc00\\ud800"), kNoJson}, {S("\xff\xfe"), kSame}, {S("\xc0\x80"), kSame}, {S("\x80"), kSame},
      {S("\xed\xa0\x80"), kSame}, {S("\xf4\x90\x80\x80"), kSame}, {S("\xe2\x82"), kSame},
      {S("\xf0\x9f\x98\x80"), kSame}, {S("\\ud83d\\ude00"), S("\xf0\x9f\x98\x80")}, {S("\x7f"), kSame},
      {S("%s%n%1$s%%"), kSame}, {S("'; DROP TABLE Config; --"), kSame}, {S("''?1?:a@b$c"), kSame},
      {S("\\q"), kNoJson}, {S("\\u12"), kNoJson}, {R"({"s":"unended)", kNoJson},
      // form
      {"", kNoJson}, {" ", kNoJson}, {"null", "2000 "}, {"[]", "2000 "}, {"1", "2000 "}, {"{", kNoJson}, {"{}x", kNoJson},
      {"{} {}", kNoJson}, {R"({"l":1,})", kNoJson}, {R"({'l':1})", kNoJson}, {"{l:1}", kNoJson}, {R"({"l" 1})", kNoJson},
      {"{/*c*/}", kNoJson}, {"\xef\xbb\xbf{}", kNoJson}, {std::string("{}\0", 3), kNoJson}, {R"({"":1})", kSame},
      {R"({"a\u0000b":1})", kSame}, {R"({"x":{"__proto__":{"l":1}}})", kSame}, {R"({"x":{}})", "nothing"}, {R"({"l":1,"l":2})", kSame}, {"{}", "nothing"},
  };
}

const std::string kNames[] = {
    "'", "''", "'; DROP TABLE Config; --", "%s%s%n", "%1$s", "?", "?1", ":a", "\"", "`", "[x]", "../../etc/passwd", "/",
    "a\nb", "a\\b", "\xf0\x9f\x98\x80", "\x7f", " ", "*", "null", "' OR '1'='1", "x'41'", "a/b@c", "level_1",
    std::string(255, 'n'), "\xff\xfe",
};

const std::string kWord = Repeated("a", 40) + "b";
const Value kPatterns[] = {  // the pattern, what comes of it, the value
    {"(a+)+", "1", kWord.c_str()}, {"(a|a)*", "1", kWord.c_str()}, {"(a|aa)+", "1", kWord.c_str()},
    {"(.*)*x", "1", kWord.c_str()}, {"(a*)*b", "0", kWord.c_str()}, {"(a)\\\\1*", "1", kWord.c_str()},
    {"(a?){40}a{40}", "0", "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"}, {"a{1,100000}", "2000 "}, {"(", "2000 "},
    {"((a{1,99}){1,99}){1,99}", "2000 "}, {"[", "2000 "}, {"a{2,1}", "2000 "},
    {Repeated("(", 1000) + "a" + Repeated(")", 1000), "2000 "}, {Repeated("a", 5000), "2000 "},
};
// clang-format on

TEST(Hostile, ValuesAreRefusedOrComeBackExactly) {
  const TestStore host({SchemaFile("any", AnyProperties()), SchemaFile("many", Members("m", R"({"type": "long"})"))});
  OnSmallStack([] {
    const auto store = ConfigStore::GetStore("");
    for (const char* key : {"any", "many"}) store->Get(FaultType(key));
    for (const Value& value : Values()) {
      ExpectSoon(value.text, value.expected == kSame ? value.text : value.expected, [&] {
        store->Set(ConfigStore::CreateObject(FaultType(value.key), value.text), {});
        const auto read = store->Get(FaultType(value.key));
        return read == nullptr ? "nothing" : read->GetData();
      });
    }
  });
}

// What is no name to SQL, to formats or to a file system: all of them are stored as
// instances of one set, and as names where these may be so.
TEST(Hostile, NamesAreNamesAndNothingElse) {
  FaultHost host;
  const auto filter = std::make_shared<FilterSpecObject>(FaultType("moving"));
  for (const std::string& name : kNames) {
    const auto object = std::make_shared<ConfigStoreObject>(FaultType("moving", name));
    object->SetInstanceIdFromCsoId();
    EXPECT_EQ("", Thrown([&] { host.store->Set(object, {}); })) << name;
    EXPECT_NE(nullptr, host.store->Get(FaultType("moving", name))) << name;
    SetKV(name, name);
  }
  EXPECT_EQ(std::size(kNames), host.store->GetInstances(filter).size());
  for (const std::string& name : kNames) {
    host.store->Delete(FaultType("moving", name));
    EXPECT_EQ("2000 Schema not found", Thrown([&] { host.store->Get({name, name, name}); }).substr(0, 21)) << name;
    EXPECT_EQ(2, GetUpgradeLibStatus(name)) << name;
    EXPECT_EQ(name, GetKV(name));
  }
  EXPECT_TRUE(host.store->GetInstances(filter).empty());
  for (const std::string& name : {std::string(256, 'n'), std::string("a\0b", 3)}) {
    EXPECT_EQ("2000 ", Thrown([&] { host.store->Get(FaultType("moving", name)); }).substr(0, 5));
  }
  EXPECT_TRUE(IsConsistentStore(GetStorePath()));
}

TEST(Hostile, PatternsEndInTime) {
  const auto violations = [](const std::string& pattern, const std::string& value) {
    const std::string property = R"({"type": "string", "pattern": ")" + pattern + "\"}";
    const std::string schema = R"({"type": "object", "properties": {"s": )" + property + "}}";
    return ValidateJsonStr(schema, S(value), {}) == "[]" ? "0" : "1";
  };
  OnSmallStack([&] {
    for (const Value& row : kPatterns) {
      ExpectSoon(row.text, row.expected, [&] { return violations(row.text, row.key); });
    }
    ExpectSoon("long", "1", [&] { return violations("([a-z]+)*[0-9]", Repeated("a", 100000)); });
    ExpectSoon("longer", "0", [&] { return violations(".*", Repeated("a", 1 << 20)); });
  });
}

}  // namespace
