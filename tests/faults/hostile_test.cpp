// Values that are made to hurt. Each is refused with its code or comes back exactly,
// on the small stack of a thread.

#include <pthread.h>

#include "faults/host.h"

using namespace OrvoConfigStore;

namespace {

constexpr size_t kStack = kIsSanitized ? 4 << 20 : 512 << 10;

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

const std::string kLongName(kManyMembers, 'k');

std::string AnyProperties() {
  return R"({"s": {"type": "string"}, "": {"type": "long"}, "a\u0000b": {"type": "long"}, "list": {"type": "array",
             "items": {"type": "long"}}, "x": {"type": "object", "properties": {"__proto__": {"type": "long"}}}, ")" +
         kLongName + R"(": {"type": "long"}, "deep": )" + Repeated(R"({"type": "array", "items": )", kSchemaLevels) +
         R"({"type": "long"})" + Repeated("}", kSchemaLevels) + "}";
}

std::string Deep(size_t levels) {
  return R"({"deep":)" + Repeated("[", levels) + Repeated("]", levels) + "}";
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
      {Deep(kSchemaLevels), kSame}, {Deep(kSchemaLevels + 1), kInvalid}, {Deep(511), kInvalid}, {Deep(512), kNoJson},
      {Deep(100000), kNoJson}, {Repeated("[", 1000000), kNoJson}, {Repeated(R"({"a":)", 1000000), kNoJson},
      {Members("m", "1"), kSame, "many"}, {Members("n", "1"), "2000 ", "many"}, {Members("l", "1"), "2000 "},
      {R"({"list":[0)" + Repeated(",1", kManyMembers) + "]}", kSame},
      {S(Repeated("s", 1 << 20)), kSame}, {S(Repeated("s", 16 << 20)), kNoJson}, {R"({")" + kLongName + R"(":1})", kSame},
      {S("a\\u0000b"), kSame}, {S("\xff\xfe\xc0\x80\xed\xa0\x80\xf4\x90\x80\x80\x7f"), kSame}, {S("\xe2\x82"), kSame},
      {S("%s%n%1$s%%"), kSame}, {S("'; DROP TABLE Config; --"), kSame}, {S("''?1?:a@b$c"), kSame},
      {R"({"":1})", kSame}, {R"({"a\u0000b":1})", kSame}, {R"({"x":{"__proto__":1}})", kSame}, {R"({"x":{}})", "nothing"},
      {"null", "2000 "}, {"[]", "2000 "},
  };
}
// clang-format on

std::string Short(const std::string& text) {
  return text.size() < 200 ? text : text.substr(0, 200) + "...";
}

TEST(Hostile, ValuesAreRefusedOrComeBackExactly) {
  const TestStore host({SchemaFile("any", AnyProperties()), SchemaFile("many", Members("m", R"({"type": "long"})"))});
  OnSmallStack([] {
    const auto store = ConfigStore::GetStore("");
    for (const char* key : {"any", "many"}) store->Get(FaultType(key));
    for (const Value& value : Values()) {
      std::string found = "nothing";
      const std::string thrown = Thrown([&] {
        store->Set(ConfigStore::CreateObject(FaultType(value.key), value.text), {});
        if (const auto read = store->Get(FaultType(value.key))) found = read->GetData();
      });
      const std::string& expected = value.expected == kSame ? value.text : value.expected;
      EXPECT_TRUE(expected == (thrown.empty() ? found : thrown.substr(0, 5)))
          << Short(value.text) << ": " << thrown << Short(found);
    }
  });
}

}  // namespace
