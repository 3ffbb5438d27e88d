#include "configstore/filter_spec.h"

#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

// Instances a to d, and the pattern's choice of them.
const std::pair<const char*, const char*> kInstances[] = {
    {"a", R"({"n":1,"s":"x","o":{"p":true,"q":{"r":1}},"z":null})"},
    {"b", R"({"n":1.0,"s":"1","o":{"p":false}})"},
    {"c", R"({"n":"1","list":[1],"o":5})"},
    {"d", R"({})"},
};
const std::pair<const char*, const char*> kPatterns[] = {
    {"{}", "abcd"},         {R"({"n":1})", "ab"},        {R"({"n":"1"})", "c"},
    {R"({"o":{}})", "ab"},  {R"({"n":1,"s":"x"})", "a"}, {R"({"o":{"p":true}})", "a"},
    {R"({"o":5})", "c"},    {R"({"s":{}})", ""},         {R"({"o":{"q":{"r":1.0}}})", "a"},
    {R"({"z":null})", "a"}, {R"({"list":[1]})", ""},     {R"({"missing":1})", ""},
};

std::vector<std::shared_ptr<ConfigStoreObject>> Instances() {
  std::vector<std::shared_ptr<ConfigStoreObject>> objects;
  for (const auto& [id, json] : kInstances) {
    objects.push_back(std::make_shared<ConfigStoreObject>(ConfigStoreObjectId("k", "g", "c", id),
                                                          CreateDocumentFromString(json), nullptr, "", "", "", false,
                                                          nullptr, nullptr));
  }
  return objects;
}

std::string Chosen(const std::shared_ptr<FilterSpecObject>& filter,
                   std::vector<std::shared_ptr<ConfigStoreObject>> objects) {
  std::string ids;
  for (const auto& object : FilterConfigStoreObjects(objects, filter)) ids += object->GetId().instanceId;
  return ids;
}

TEST(FilterSpec, PatternsChooseInstances) {
  for (const auto& [pattern, chosen] : kPatterns) {
    const auto filter = std::make_shared<FilterSpecObject>("k", "g", "c", CreateDocumentFromString(pattern));
    EXPECT_EQ(chosen, Chosen(filter, Instances())) << pattern;
  }
  const auto list = std::make_shared<FilterSpecObject>("k", "g", "c", CreateDocumentFromString("[1]"));
  EXPECT_EQ("2000 Invalid JSON", Thrown([&] { Chosen(list, Instances()); }));
}

TEST(FilterSpec, ANamedInstanceIsChosenOnceAndOnlyWhenItMatches) {
  auto objects = Instances();
  objects.push_back(objects.front());
  const auto filter = std::make_shared<FilterSpecObject>(ConfigStoreObjectId("k", "g", "c", "a"));
  EXPECT_EQ("a", Chosen(filter, objects));
  filter->SetValue("n", 2);
  EXPECT_EQ("", Chosen(filter, objects));
  EXPECT_EQ("", Chosen(std::make_shared<FilterSpecObject>(ConfigStoreObjectId("k", "g", "c", "e")), objects));
}

TEST(FilterSpec, SubFiltersBuildTheNestedPattern) {
  const auto filter = std::make_shared<FilterSpecObject>("k", "g", "c", nullptr);
  filter->CreateSubObjectFilter(SubObjectId("o"))->CreateSubObjectFilter(SubObjectId("q", "i"))->SetValue("r", 1);
  EXPECT_EQ(R"({"o":{"q":{"r":1}}})", filter->GetData());
  EXPECT_EQ("a", Chosen(filter, Instances()));
  EXPECT_EQ("2000 SubObject filter already exists.", Thrown([&] { filter->CreateSubObjectFilter(SubObjectId("o")); }));
  EXPECT_EQ(
      "i", filter->GetSubObjectFilter(SubObjectId("o"))->GetSubObjectFilter(SubObjectId("q", "i"))->GetId().instanceId);
  EXPECT_EQ(nullptr, filter->GetSubObjectFilter(SubObjectId("p")));
  EXPECT_FALSE(filter->DeleteSubObjectFilter(SubObjectId("p")));
  EXPECT_TRUE(filter->DeleteSubObjectFilter(SubObjectId("o")));
  EXPECT_EQ("{}", filter->GetData());
}

TEST(FilterSpec, ChoosesAndDeletesElementsOfAnArray) {
  TestStore store;
  LogCapture log(store.Root());
  const auto object = ConfigStore::CreateObject(
      kStackSettings, R"({"link":[{"name":"a","enabled":true},{"name":"b"},{"name":"c","enabled":true}]})");
  const auto filter = std::make_shared<FilterSpecObject>("link", "ipstack", "netd", nullptr);
  filter->SetValue("enabled", true);
  EXPECT_EQ(2u, object->GetSubObjectInstances(filter).size());
  object->DeleteSubObjectInstances(filter);
  EXPECT_EQ(R"({"link":[{"name":"b"}]})", object->GetData());

  EXPECT_TRUE(object->GetSubObjectInstances(nullptr).empty());
  EXPECT_EQ("GetSubObjectInstances called with no filter spec object", log.Lines().back());
  const auto single = std::make_shared<FilterSpecObject>("routing", "ipstack", "netd", nullptr);
  EXPECT_EQ("2000 Not a non-singleton object:   key routing", Thrown([&] { object->GetSubObjectInstances(single); }));
  object->SetData(R"({"link":[{"name":5}]})");
  EXPECT_EQ("1032 Invalid value for key name", Thrown([&] { object->GetSubObjectInstances(filter); }));
}

}  // namespace
