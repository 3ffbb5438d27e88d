#include "store/update_merge.h"

#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

// "a" holds instances identified by "id", within them "n" by "no".
std::shared_ptr<ConfigStoreObject> Object(const std::string& json) {
  return std::make_shared<ConfigStoreObject>(ConfigStoreObjectId("k", "g", "c"), CreateDocumentFromString(json),
                                             nullptr, "", "", "", false,
                                             CreateDocumentFromString(R"({"a":"id","n":"no"})"), nullptr);
}

// clang-format off
const struct { const char *target, *update, *merged; } kMergeCases[] = {
    {R"({"x":1})", "{}", R"({"x":1})"},
    {R"({"x":1,"y":2})", R"({"x":1.0})", R"({"x":1,"y":2})"},  // what is equal keeps its place
    {R"({"x":1,"y":2})", R"({"x":3,"z":4})", R"({"y":2,"x":3,"z":4})"},
    {R"({"x":1})", R"({"x":null})", R"({"x":null})"},
    {R"({"o":{"x":1,"y":2}})", R"({"o":{"y":3}})", R"({"o":{"x":1,"y":3}})"},
    {"{}", R"({"o":{"p":{"x":1}}})", R"({"o":{"p":{"x":1}}})"},
    {R"({"o":null,"y":1})", R"({"o":{"x":1}})", R"({"o":{"x":1},"y":1})"},
    {R"({"o":{"x":1}})", R"({"o":5})", R"({"o":5})"},
    {R"({"l":[1,2]})", R"({"l":[3]})", R"({"l":[3]})"},
    {"{}", R"({"l":[]})", R"({"l":[]})"},
    {R"({"a":[{"id":"1","x":1},{"id":"2","x":2}]})", R"({"a":[{"id":"2","y":3},{"id":"3"}]})",
     R"({"a":[{"id":"1","x":1},{"id":"2","x":2,"y":3},{"id":"3"}]})"},
    {R"({"a":[{"id":"1","n":[{"no":"p"}]}]})", R"({"a":[{"id":"1","n":[{"no":"q","x":1}]}]})",
     R"({"a":[{"id":"1","n":[{"no":"p"},{"no":"q","x":1}]}]})"},
    {R"({"a":[]})", R"({"a":[{"id":"1","x":1},{"id":"1","y":2}]})", R"({"a":[{"id":"1","x":1,"y":2}]})"},
    {R"({"a":null})", R"({"a":[{"id":"1"}]})", R"({"a":[{"id":"1"}]})"},
    {"{}", R"({"a":[]})", R"({"a":[]})"},
    {"{}", R"({"x":1,"x":2})", R"({"x":2})"},
    {R"({"x":1})", "[1]", "2000 Invalid JSON"},
    {"{}", R"({"a":[5]})", "2000 Invalid JSON"},
    {"{}", R"({"a":[{"id":5}]})", "1032 Invalid value for key id"},
    {"{}", R"({"a":[{}]})", "1032 Invalid value for key id"},
    {R"({"a":[{"id":5}]})", R"({"a":[{"id":"1"}]})", "1032 Invalid value for key id"},
    {R"({"o":5})", R"({"o":{"x":1}})", "2000 Not a singleton SubObject:  key o"},
    {"{}", R"({"a":{"id":"1"}})", "2000 Non-Singleton object should contain instanceId:  key a"},
    {R"({"a":5})", R"({"a":[{"id":"1"}]})", "2000 Invalid JSON"},
};
// clang-format on

TEST(UpdateMerge, TheUpdateWinsAndNothingIsLost) {
  for (const auto& row : kMergeCases) {
    std::shared_ptr<ConfigStoreObject> target = Object(row.target);
    const std::shared_ptr<ConfigStoreObject> update = Object(row.update);
    const std::string thrown = Thrown([&] { UpdateConfigInternal(update, target, nullptr); });
    EXPECT_EQ(row.merged, thrown.empty() ? target->GetData() : thrown);
    EXPECT_EQ(row.update, update->GetData());
  }
}

TEST(UpdateMerge, EmptySidesAreTakenAsTheyAre) {
  std::shared_ptr<ConfigStoreObject> target;
  const std::shared_ptr<ConfigStoreObject> update = Object("{\"x\":1}");
  UpdateConfigInternal(nullptr, target, nullptr);
  EXPECT_EQ(nullptr, target);
  UpdateConfigInternal(update, target, nullptr);
  EXPECT_EQ(update, target);
  UpdateConfigInternal(update, target, nullptr);
  EXPECT_EQ("{\"x\":1}", target->GetData());
}

// Large objects take another way through the same rules: both must agree.
TEST(UpdateMerge, ManyMembersAndInstancesMergeAsFewDo) {
  std::string target = "{", update = "{", moved, elements, changes;
  for (int i = 0; i < 200; ++i) {
    const std::string n = std::to_string(i);
    const std::string changed = std::to_string(i % 3 == 0 ? i * 10 : i);
    target += "\"m" + n + "\":" + n + ",";
    update += "\"m" + n + "\":" + changed + ",";
    if (i % 3 == 0 && i > 0) moved += ",\"m" + n + "\":" + changed;
    elements += (i == 0 ? "" : ",") + std::string("{\"id\":\"") + n + "\"}";
    changes += (i == 0 ? "" : ",") + std::string("{\"id\":\"") + n + "\",\"x\":1}";
  }
  target += "\"a\":[" + elements + "]}";
  update += "\"a\":[" + changes + ",{\"id\":\"new\"},{\"id\":\"new\",\"x\":1}],\"m1\":1,\"m2\":7,\"m2\":8}";
  std::shared_ptr<ConfigStoreObject> merged = Object(target);
  UpdateConfigInternal(Object(update), merged, nullptr);

  std::string kept = "{\"m0\":0";
  for (int i = 1; i < 200; ++i) {
    if (i % 3 != 0 && i != 2) kept += ",\"m" + std::to_string(i) + "\":" + std::to_string(i);
  }
  EXPECT_EQ(kept + ",\"a\":[" + changes + ",{\"id\":\"new\",\"x\":1}]" + moved + ",\"m2\":8}", merged->GetData());
}

}  // namespace
