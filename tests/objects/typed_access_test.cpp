#include <cmath>
#include <limits>

#include "platform/json_reader.h"
#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

const ConfigStoreObjectId kId("k", "g", "c");

std::shared_ptr<WritableObject> ObjectOf(const std::string& json) {
  auto object = std::make_shared<WritableObject>(kId);
  object->SetData(json.c_str());
  return object;
}

template <class T>
std::string Text(const T& value) {
  return std::to_string(value);
}
std::string Text(const std::string& value) {
  return value;
}
std::string Text(bool value) {
  return value ? "true" : "false";
}
template <class T>
std::string Text(const std::vector<T>& values) {
  std::string text;
  for (const T& value : values) text += (text.empty() ? "" : " ") + Text(value);
  return text;
}

// Returns "RESULT VALUE", or what was thrown and, of a list, what was read before.
template <class T>
std::string Read(const ReadOnlyObject& object) {
  T value{};
  int found = -1;
  const std::string thrown = Thrown([&] { found = object.GetValue("m", &value); });
  const std::string read = Text(value);
  if (!thrown.empty() && !std::is_class_v<T>) return thrown;
  return (thrown.empty() ? std::to_string(found) : thrown) + (read.empty() ? "" : " ") + read;
}

const char kWrong[] = "2000 Invalid type specified for: m";

// clang-format off
const struct { const char* member; std::string (*read)(const ReadOnlyObject&); const char* result; } kGetterCases[] = {
    {"\"t\"", Read<std::string>, "1 t"}, {"\"a\\u0000b\"", Read<std::string>, "1 a"}, {"7", Read<std::string>, kWrong},
    {"5.0", Read<double>, "1 5.000000"}, {"5", Read<double>, kWrong},
    {"-2147483648", Read<int>, "1 -2147483648"}, {"3000000000", Read<int>, kWrong}, {"5.0", Read<int>, kWrong},
    {"9223372036854775807", Read<long>, "1 9223372036854775807"}, {"9223372036854775808", Read<long>, kWrong},
    {"-1", Read<long long>, "1 -1"},
    {"4294967295", Read<unsigned int>, "1 4294967295"}, {"-1", Read<unsigned int>, kWrong},
    {"70000", Read<unsigned short>, "1 4464"}, {"4294967296", Read<unsigned short>, kWrong},
    {"300", Read<unsigned char>, "1 44"},
    {"true", Read<bool>, "1 true"}, {"1", Read<bool>, kWrong}, {"null", Read<int>, "0 0"},
    {"[1,2]", Read<std::vector<int>>, "1 1 2"}, {"[]", Read<std::vector<int>>, "1"},
    {"[1,\"x\",2]", Read<std::vector<int>>, "2000 Invalid JSON 1"},
    {"[1.5,2]", Read<std::vector<double>>, "2000 Invalid JSON 1.500000"}, {"[3000000000]", Read<std::vector<long long>>, "1 3000000000"},
    {"[true,false]", Read<std::vector<bool>>, "1 true false"}, {"[\"a\",\"b\"]", Read<std::vector<std::string>>, "1 a b"},
    {"{}", Read<std::vector<std::string>>, kWrong}, {"null", Read<std::vector<std::string>>, "0"},
};
// clang-format on

TEST(TypedAccess, GettersTakeExactlyTheirType) {
  for (const auto& test : kGetterCases) {
    const auto object = ObjectOf(std::string("{\"m\":") + test.member + "}");
    EXPECT_EQ(test.result, test.read(*object)) << test.member;
  }
}

TEST(TypedAccess, AnEmptyOrNullKeyAndAFilledListAreRefused) {
  const auto object = ObjectOf("{\"a\":1}");
  int value = 9;
  for (const char* key : {"", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ("2000 key cannot be empty", Thrown([&] { object->GetValue(key, &value); }));
    EXPECT_EQ("2000 key cannot be empty", Thrown([&] { object->SetValue(key, 1); }));
    EXPECT_EQ("2000 key cannot be empty", Thrown([&] { object->SetValueEmptyList(key); }));
  }
  EXPECT_EQ(0, object->GetValue("absent", &value));
  EXPECT_EQ(9, value);
  std::vector<int> filled = {1};
  EXPECT_EQ("2000 Output vector must be empty.", Thrown([&] { object->GetValue("absent", &filled); }));
  EXPECT_EQ("{\"a\":1}", object->GetData());
}

// What an action leaves of an object, or what it throws while changing nothing.
// clang-format off
using Object = WritableObject&;
const float kHalf = 0.5f;
const struct { const char* before; void (*act)(Object); const char* after; } kSetterCases[] = {
    {R"({"a":"x","b":1})", [](Object o) { o.SetValue("a", 7); }, R"({"a":7,"b":1})"},
    {R"({"b":1})", [](Object o) { o.SetValue("a", true); }, R"({"b":1,"a":true})"},
    {R"({"a":null,"b":1})", [](Object o) { o.SetValue("a", 7); }, R"({"a":null,"b":1,"a":7})"},
    {"{}", [](Object o) { o.SetValue("a", 5.0); }, R"({"a":5.0})"},
    {"{}", [](Object o) { o.SetValue("a", kHalf); }, R"({"a":0.5})"},
    {"{}", [](Object o) { o.SetValue("a", "lit"); }, R"({"a":"lit"})"},
    {"{}", [](Object o) { o.SetValue("a", std::string("q\"\n")); }, R"({"a":"q\"\n"})"},
    {"{}", [](Object o) { o.SetValue("a", static_cast<unsigned char>(200)); }, R"({"a":200})"},
    {"{}", [](Object o) { o.SetValue("a", -5000000000L); }, R"({"a":-5000000000})"},
    {R"({"a":1,"b":2})", [](Object o) { o.SetValueEmptyList("a"); }, R"({"b":2,"a":[]})"},
    {"{}", [](Object o) { o.SetValue("a", std::vector<int>{1, 2}); }, R"({"a":[1,2]})"},
    {"{}", [](Object o) { o.SetValue("a", std::vector<std::string>{}); }, R"({"a":[]})"},
    {R"({"a":[1,"x"]})", [](Object o) { o.AppendValue("a", 2); }, R"({"a":[1,"x",2]})"},
    {R"({"a":[]})", [](Object o) { o.AppendValue("a", "lit"); }, R"({"a":["lit"]})"},
    {R"({"a":[1.5]})", [](Object o) { o.AppendValue("a", 2.5); }, R"({"a":[1.5,2.5]})"},
    {R"({"a":[true]})", [](Object o) { o.AppendValue("a", false); }, R"({"a":[true,false]})"},
    {R"({"a":1,"b":2,"c":3})", [](Object o) { o.Remove("a"); }, R"({"c":3,"b":2})"},
    {R"({"a":["x"]})", [](Object o) { o.AppendValue("a", 1LL); }, "2000 Invalid type specified for: a"},
    {R"({"a":null})", [](Object o) { o.AppendValue("a", 1); }, "2000 Invalid type specified for: a"},
    {"{}", [](Object o) { o.AppendValue("a", 1); }, "2000 Key not found: a"},
    {"{}", [](Object o) { o.SetValue("a", static_cast<const char*>(nullptr)); }, "2000 value cannot be null"},
    {"{}", [](Object o) { o.SetValue("a", std::nan("")); }, "2000 value must be a finite number"},
    {R"({"a":[]})", [](Object o) { o.AppendValue("a", std::numeric_limits<double>::infinity()); },
     "2000 value must be a finite number"},
    {"{}", [](Object o) { o.SetValueBinary("a", reinterpret_cast<const unsigned char*>("x"), 0); },
     "2000 Value pointer cannot be null and length cannot be zero"},
    {R"({"a":1})", [](Object o) { o.SetData("[1"); }, "1080 Failed to parse JSON String"},
    {"[1]", [](Object o) { o.SetValue("a", 1); }, "2000 Invalid JSON"},
};
// clang-format on

TEST(TypedAccess, SettersWriteInPlaceOrAtTheEndOrNotAtAll) {
  for (const auto& row : kSetterCases) {
    const auto object = ObjectOf(row.before);
    const std::string thrown = Thrown([&] { row.act(*object); });
    EXPECT_EQ(row.after, thrown.empty() ? object->GetData() : thrown);
    EXPECT_TRUE(thrown.empty() || row.before == object->GetData()) << thrown;
  }
}

TEST(TypedAccess, RemovingTellsWhetherThereWasAMember) {
  const auto object = ObjectOf("{\"a\":null}");
  EXPECT_TRUE(object->CheckKey("a"));
  EXPECT_TRUE(object->Remove("a"));
  EXPECT_FALSE(object->Remove("a"));
  object->SetData(nullptr);
  EXPECT_EQ("{}", object->GetData());
}

TEST(TypedAccess, BinaryValuesSurvive) {
  const auto object = ObjectOf("{\"bad\":\"no base64!\"}");
  const unsigned char bytes[] = {0, 255, 16, 0, 7};
  object->SetValueBinary("b", bytes, sizeof bytes);
  unsigned char* data = nullptr;
  unsigned long length = 0;
  ASSERT_EQ(1, object->GetValueBinary("b", &data, &length));
  EXPECT_EQ(std::string(bytes, bytes + sizeof bytes), std::string(data, data + length));
  delete[] data;
  EXPECT_EQ(0, object->GetValueBinary("absent", &data, &length));
  EXPECT_EQ("2000 Failed to decode binary value", Thrown([&] { object->GetValueBinary("bad", &data, &length); }));
}

TEST(JsonDocuments, FilesAreReadWholeOrRefusedWithTheirName) {
  TempRoot root;
  const std::string good = root.Write("/good", "{\"a\": 1}\n");
  EXPECT_EQ("{\"a\":1}", JsonText(*CreateDocumentFromFile(good)->GetJsonValuePtr()));
  for (const std::string& path : {root.Path(), root.Path() + "/missing", root.Write("/empty", ""),
                                  root.Write("/mark", "\xef\xbb\xbf{}"), root.Write("/bad", "{")}) {
    EXPECT_EQ("1081 Failed to parse JSON file " + path, Thrown([&] { CreateDocumentFromFile(path); }));
  }
}

TEST(JsonDocuments, TextOverTheBoundIsRefused) {
  const std::string text = "\"" + std::string(kMaxJsonBytes, 'x') + "\"";
  EXPECT_EQ("1080 Failed to parse JSON String", Thrown([&] { CreateDocumentFromString(text); }));
  EXPECT_EQ("", Thrown([&] { CreateDocumentFromString("\"" + std::string(kMaxJsonBytes - 2, 'x') + "\""); }));
}

}  // namespace
