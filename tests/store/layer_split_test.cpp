#include "store/layer_split.h"

#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

// A schema node with one property of each kind, and what becomes of data.
const char kNode[] = R"({"type":"object","properties":{
  "id":{"type":"string","instanceId":true},"u":{"type":"string"},
  "v":{"type":"string","vital":true},"c":{"type":"string","cached":true},
  "no":{"type":"string","vital":false},
  "o":{"type":"object","properties":{"u":{"type":"string"},"v":{"type":"string","vital":true}}},
  "co":{"type":"object","cached":true,"properties":{"u":{"type":"string"}}},
  "l":{"type":"array","items":{"type":"string"}},
  "vl":{"type":"array","vital":true,"items":{"type":"string"}},
  "a":{"type":"array","instanceId":"id","items":{"type":"object","properties":{
    "id":{"type":"string","instanceId":true},"u":{"type":"string"},"v":{"type":"string","vital":true}}}},
  "bad":{"type":"object","items":{"type":"object","properties":{}}},
  "open":{"type":"object"}}})";

// clang-format off
const struct { const char *data, *user, *vital, *cached; } kSplitCases[] = {
    {R"({"u":"1","v":"2","c":"3"})", R"({"u":"1"})", R"({"v":"2"})", R"({"c":"3"})"},
    {R"({"id":"i","u":"1","v":"2"})", R"({"id":"i","u":"1"})", R"({"id":"i","v":"2"})", "-"},
    {R"({"id":"i"})", R"({"id":"i"})", "-", "-"},
    {R"({"no":"1"})", "-", R"({"no":"1"})", "-"},  // the mark counts whatever its value
    {R"({"o":{"u":"1","v":"2"}})", R"({"o":{"u":"1"}})", R"({"o":{"v":"2"}})", "-"},
    {R"({"co":{"u":"1"}})", "-", "-", R"({"co":{"u":"1"}})"},
    {R"({"l":["1"],"vl":["2"]})", R"({"l":["1"]})", R"({"vl":["2"]})", "-"},
    {R"({"l":[]})", R"({"l":[]})", "-", "-"},
    {R"({"a":[{"id":"x","u":"1","v":"2"},{"id":"y","u":"3"}]})", R"({"a":[{"id":"x","u":"1"},{"id":"y","u":"3"}]})",
     R"({"a":[{"id":"x","v":"2"}]})", "-"},
    {R"({"u":"1","a":[{"id":"y","u":"3"}]})", R"({"u":"1","a":[{"id":"y","u":"3"}]})", "-", "-"},
    {R"({"a":[],"o":{},"co":{}})", "-", "-", R"({"co":{}})"},
    {R"({"u":null,"o":null})", R"({"u":null,"o":null})", "-", "-"},
    {"{}", "-", "-", "-"},
};
// clang-format on

TEST(LayerSplit, PrunesToEachCategory) {
  const auto document = CreateDocumentFromString(kNode);
  SchemaNode node(*document->GetJsonValuePtr());
  for (const auto& row : kSplitCases) {
    SCOPED_TRACE(row.data);
    const auto data = CreateDocumentFromString(row.data);
    const auto of = [&](Category category) {
      const auto part = ExtractCategory(*data->GetJsonValuePtr(), node, category);
      return part == nullptr ? "-" : JsonText(part->document);
    };
    EXPECT_EQ(row.user, of(Category::User));
    EXPECT_EQ(row.vital, of(Category::Vital));
    EXPECT_EQ(row.cached, of(Category::Cached));
  }
}

TEST(LayerSplit, UnknownFieldsAndUnusableNodesAreRefused) {
  const auto document = CreateDocumentFromString(kNode);
  SchemaNode node(*document->GetJsonValuePtr());
  const auto split = [&](const char* text) {
    const auto data = CreateDocumentFromString(text);
    return Thrown([&] { ExtractCategory(*data->GetJsonValuePtr(), node, Category::User); });
  };
  EXPECT_EQ("2000 Invalid field in schema: zz", split(R"({"u":"1","zz":2})"));
  EXPECT_EQ("2000 Invalid field in schema: zz", split(R"({"a":[{"id":"x","zz":2}]})"));
  EXPECT_EQ("2000 Schema error:Expected array type", split(R"({"bad":[{}]})"));
  EXPECT_EQ("2000 Invalid JSON", split(R"({"open":{"x":1}})"));
}

}  // namespace
