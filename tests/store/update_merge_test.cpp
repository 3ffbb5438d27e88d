#include "store/update_merge.h"

#include <gtest/gtest.h>

#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

// "a" holds instances identified by "id", within them "n" by "no".
std::shared_ptr<ConfigStoreObject> Object(const std::string& json) {
  return std::make_shared<ConfigStoreObject>(ConfigStoreObjectId("k", "g", "c"), CreateDocumentFromString(json),
                                             nullptr, "", "", "", false,
                                             CreateDocumentFromString(R"({"a":"id","n":"no"})"), nullptr);
}

struct MergeCase {
  const char* name;
  const char* target;
  const char* update;
  const char* merged;
};

const MergeCase kMergeCases[] = {
    {"NothingToChange", R"({"x":1})", "{}", R"({"x":1})"},
    {"EqualKeepsItsPlace", R"({"x":1,"y":2})", R"({"x":1.0})", R"({"x":1,"y":2})"},
    {"DifferentMovesToTheEnd", R"({"x":1,"y":2})", R"({"x":3,"z":4})", R"({"y":2,"x":3,"z":4})"},
    {"NullReplaces", R"({"x":1})", R"({"x":null})", R"({"x":null})"},
    {"ObjectsMerge", R"({"o":{"x":1,"y":2}})", R"({"o":{"y":3}})", R"({"o":{"x":1,"y":3}})"},
    {"MissingObjectIsCreated", "{}", R"({"o":{"p":{"x":1}}})", R"({"o":{"p":{"x":1}}})"},
    {"NullGivesWayToAnObject", R"({"o":null,"y":1})", R"({"o":{"x":1}})", R"({"o":{"x":1},"y":1})"},
    {"ScalarReplacesAnObject", R"({"o":{"x":1}})", R"({"o":5})", R"({"o":5})"},
    {"ScalarListIsReplacedWhole", R"({"l":[1,2]})", R"({"l":[3]})", R"({"l":[3]})"},
    {"ScalarListIsCreated", "{}", R"({"l":[]})", R"({"l":[]})"},
    {"InstancesMergeById", R"({"a":[{"id":"1","x":1},{"id":"2","x":2}]})", R"({"a":[{"id":"2","y":3},{"id":"3"}]})",
     R"({"a":[{"id":"1","x":1},{"id":"2","x":2,"y":3},{"id":"3"}]})"},
    {"InstancesInInstances", R"({"a":[{"id":"1","n":[{"no":"p"}]}]})", R"({"a":[{"id":"1","n":[{"no":"q","x":1}]}]})",
     R"({"a":[{"id":"1","n":[{"no":"p"},{"no":"q","x":1}]}]})"},
    {"DoubledInstanceCountsTwice", R"({"a":[]})", R"({"a":[{"id":"1","x":1},{"id":"1","y":2}]})",
     R"({"a":[{"id":"1","x":1,"y":2}]})"},
    {"NullGivesWayToInstances", R"({"a":null})", R"({"a":[{"id":"1"}]})", R"({"a":[{"id":"1"}]})"},
    {"EmptyInstancesCreateTheArray", "{}", R"({"a":[]})", R"({"a":[]})"},
    {"DoubledMemberLastWins", "{}", R"({"x":1,"x":2})", R"({"x":2})"},
    {"RootIsAList", R"({"x":1})", "[1]", "2000 Invalid JSON"},
    {"ElementIsNoObject", "{}", R"({"a":[5]})", "2000 Invalid JSON"},
    {"IdentifierIsNoString", "{}", R"({"a":[{"id":5}]})", "1032 Invalid value for key id"},
    {"IdentifierIsMissing", "{}", R"({"a":[{}]})", "1032 Invalid value for key id"},
    {"StoredIdentifierIsNoString", R"({"a":[{"id":5}]})", R"({"a":[{"id":"1"}]})", "1032 Invalid value for key id"},
    {"ObjectOverAScalar", R"({"o":5})", R"({"o":{"x":1}})", "2000 Not a singleton SubObject:  key o"},
    {"ObjectWhereInstancesAre", "{}", R"({"a":{"id":"1"}})",
     "2000 Non-Singleton object should contain instanceId:  key a"},
    {"InstancesOverAScalar", R"({"a":5})", R"({"a":[{"id":"1"}]})", "2000 Invalid JSON"},
};

class UpdateMerge : public testing::TestWithParam<MergeCase> {};

TEST_P(UpdateMerge, TheUpdateWinsAndNothingIsLost) {
  std::shared_ptr<ConfigStoreObject> target = Object(GetParam().target);
  const std::shared_ptr<ConfigStoreObject> update = Object(GetParam().update);
  const std::string thrown = Thrown([&] { UpdateConfigInternal(update, target, nullptr); });
  EXPECT_EQ(GetParam().merged, thrown.empty() ? target->GetData() : thrown);
  EXPECT_EQ(GetParam().update, update->GetData());
}

INSTANTIATE_TEST_SUITE_P(Objects, UpdateMerge, testing::ValuesIn(kMergeCases),
                         [](const auto& test) { return std::string(test.param.name); });

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
  update += "\"a\":[" + changes + ",{\"id\":\"new\"}],\"m1\":1,\"m2\":7}";
  std::shared_ptr<ConfigStoreObject> merged = Object(target);
  UpdateConfigInternal(Object(update), merged, nullptr);

  std::string kept = "{\"m0\":0";
  for (int i = 1; i < 200; ++i) {
    if (i % 3 != 0 && i != 2) kept += ",\"m" + std::to_string(i) + "\":" + std::to_string(i);
  }
  EXPECT_EQ(kept + ",\"a\":[" + changes + ",{\"id\":\"new\"}]" + moved + ",\"m2\":7}", merged->GetData());
}

}  // namespace
