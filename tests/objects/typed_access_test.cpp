#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
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
std::string Text(T value) {
  return std::to_string(value);
}
std::string Text(const std::string& value) {
  return value;
}
std::string Text(bool value) {
  return value ? "true" : "false";
}

// Returns "RESULT VALUE", or what was thrown.
template <class T>
std::string Read(const ReadOnlyObject& object) {
  T value{};
  int found = -1;
  const std::string thrown = Thrown([&] { found = object.GetValue("m", &value); });
  return thrown.empty() ? std::to_string(found) + " " + Text(value) : thrown;
}

template <class T>
std::string ReadList(const ReadOnlyObject& object) {
  std::vector<T> values;
  int found = -1;
  const std::string thrown = Thrown([&] { found = object.GetValue("m", &values); });
  std::string text = thrown.empty() ? std::to_string(found) : thrown;
  for (const T& value : values) text += " " + Text(value);
  return text;
}

const char kWrong[] = "2000 Invalid type specified for: m";

struct GetterCase {
  const char* member;
  std::string (*read)(const ReadOnlyObject&);
  const char* result;
};

const GetterCase kGetterCases[] = {
    {"\"t\"", Read<std::string>, "1 t"},
    {"\"a\\u0000b\"", Read<std::string>, "1 a"},
    {"7", Read<std::string>, kWrong},
    {"5.0", Read<double>, "1 5.000000"},
    {"5", Read<double>, kWrong},
    {"-2147483648", Read<int>, "1 -2147483648"},
    {"3000000000", Read<int>, kWrong},
    {"5.0", Read<int>, kWrong},
    {"9223372036854775807", Read<long>, "1 9223372036854775807"},
    {"9223372036854775808", Read<long>, kWrong},
    {"-1", Read<long long>, "1 -1"},
    {"4294967295", Read<unsigned int>, "1 4294967295"},
    {"-1", Read<unsigned int>, kWrong},
    {"70000", Read<unsigned short>, "1 4464"},
    {"4294967296", Read<unsigned short>, kWrong},
    {"300", Read<unsigned char>, "1 44"},
    {"true", Read<bool>, "1 true"},
    {"1", Read<bool>, kWrong},
    {"null", Read<int>, "0 0"},
    {"[1,2]", ReadList<int>, "1 1 2"},
    {"[]", ReadList<int>, "1"},
    {"[1,\"x\",2]", ReadList<int>, "2000 Invalid JSON 1"},
    {"[1.5,2]", ReadList<double>, "2000 Invalid JSON 1.500000"},
    {"[3000000000]", ReadList<long long>, "1 3000000000"},
    {"[true,false]", ReadList<bool>, "1 true false"},
    {"[\"a\",\"b\"]", ReadList<std::string>, "1 a b"},
    {"{}", ReadList<std::string>, kWrong},
    {"null", ReadList<std::string>, "0"},
};

TEST(TypedAccess, GettersTakeExactlyTheirType) {
  for (const GetterCase& test : kGetterCases) {
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
struct SetterCase {
  const char* before;
  void (*act)(WritableObject&);
  const char* after;
};

const SetterCase kSetterCases[] = {
    {"{\"a\":\"x\",\"b\":1}", [](WritableObject& o) { o.SetValue("a", 7); }, "{\"a\":7,\"b\":1}"},
    {"{\"b\":1}", [](WritableObject& o) { o.SetValue("a", true); }, "{\"b\":1,\"a\":true}"},
    {"{\"a\":null,\"b\":1}", [](WritableObject& o) { o.SetValue("a", 7); }, "{\"a\":null,\"b\":1,\"a\":7}"},
    {"{}", [](WritableObject& o) { o.SetValue("a", 5.0); }, "{\"a\":5.0}"},
    {"{}", [](WritableObject& o) { o.SetValue("a", 0.5f); }, "{\"a\":0.5}"},
    {"{}", [](WritableObject& o) { o.SetValue("a", "lit"); }, "{\"a\":\"lit\"}"},
    {"{}", [](WritableObject& o) { o.SetValue("a", std::string("q\"\n")); }, "{\"a\":\"q\\\"\\n\"}"},
    {"{}", [](WritableObject& o) { o.SetValue("a", static_cast<unsigned char>(200)); }, "{\"a\":200}"},
    {"{}", [](WritableObject& o) { o.SetValue("a", -5000000000L); }, "{\"a\":-5000000000}"},
    {"{\"a\":1,\"b\":2}", [](WritableObject& o) { o.SetValueEmptyList("a"); }, "{\"b\":2,\"a\":[]}"},
    {"{}",
     [](WritableObject& o) {
       o.SetValue("a", std::vector<int>{1, 2});
     },
     "{\"a\":[1,2]}"},
    {"{}", [](WritableObject& o) { o.SetValue("a", std::vector<std::string>{}); }, "{\"a\":[]}"},
    {"{\"a\":[1,\"x\"]}", [](WritableObject& o) { o.AppendValue("a", 2); }, "{\"a\":[1,\"x\",2]}"},
    {"{\"a\":[]}", [](WritableObject& o) { o.AppendValue("a", "lit"); }, "{\"a\":[\"lit\"]}"},
    {"{\"a\":[1.5]}", [](WritableObject& o) { o.AppendValue("a", 2.5); }, "{\"a\":[1.5,2.5]}"},
    {"{\"a\":[true]}", [](WritableObject& o) { o.AppendValue("a", false); }, "{\"a\":[true,false]}"},
    {"{\"a\":1,\"b\":2,\"c\":3}", [](WritableObject& o) { o.Remove("a"); }, "{\"c\":3,\"b\":2}"},
    {"{\"a\":[\"x\"]}", [](WritableObject& o) { o.AppendValue("a", 1LL); }, "2000 Invalid type specified for: a"},
    {"{\"a\":null}", [](WritableObject& o) { o.AppendValue("a", 1); }, "2000 Invalid type specified for: a"},
    {"{}", [](WritableObject& o) { o.AppendValue("a", 1); }, "2000 Key not found: a"},
    {"{}", [](WritableObject& o) { o.SetValue("a", static_cast<const char*>(nullptr)); }, "2000 value cannot be null"},
    {"{}", [](WritableObject& o) { o.SetValue("a", std::nan("")); }, "2000 value must be a finite number"},
    {"{\"a\":[]}", [](WritableObject& o) { o.AppendValue("a", std::numeric_limits<double>::infinity()); },
     "2000 value must be a finite number"},
    {"{}", [](WritableObject& o) { o.SetValueBinary("a", reinterpret_cast<const unsigned char*>("x"), 0); },
     "2000 Value pointer cannot be null and length cannot be zero"},
    {"{\"a\":1}", [](WritableObject& o) { o.SetData("[1"); }, "1080 Failed to parse JSON String"},
    {"[1]", [](WritableObject& o) { o.SetValue("a", 1); }, "2000 Invalid JSON"},
};

TEST(TypedAccess, SettersWriteInPlaceOrAtTheEndOrNotAtAll) {
  for (const SetterCase& test : kSetterCases) {
    const auto object = ObjectOf(test.before);
    const std::string thrown = Thrown([&] { test.act(*object); });
    EXPECT_EQ(test.after, thrown.empty() ? object->GetData() : thrown);
    if (!thrown.empty()) {
      EXPECT_EQ(test.before, object->GetData()) << thrown;
    }
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
  EXPECT_EQ("{\"a\":1}", [&] {
    std::string text;
    SerializeValue(*CreateDocumentFromFile(root.Write("/good", "{\"a\": 1}\n"))->GetJsonValuePtr(), text);
    return text;
  }());
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
