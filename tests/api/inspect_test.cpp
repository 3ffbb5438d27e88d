#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

std::string Line(const FieldDescription& field) {
  std::string line = field.path + " " + field.type + " " + field.category + (field.required ? " required" : "");
  for (const std::string& rule : field.rules) line += ", " + rule;
  return field.defaultValue ? line + ", default " + *field.defaultValue : line;
}

// Fields of the example types, each as one line.
TEST(DescribeType, TellsWhatAFieldIs) {
  const std::pair<ConfigStoreObjectId, const char*> kFields[] = {
      {kStackSettings, " object user"},
      {kStackSettings, "/hostname string user required, from 1 to 253 bytes, matches [A-Za-z0-9.-]+"},
      {kStackSettings, "/mtu integer user, from 576 to 9000, default 1500"},
      {kStackSettings, "/hw_address string vital required, at most 17 bytes, matches ([0-9a-f]{2}:){5}[0-9a-f]{2}"},
      {kStackSettings, "/dns_search array of strings user, each at most 253 bytes"},
      {kStackSettings, "/routing/mode string user required, one of static, dynamic, default \"dynamic\""},
      {kStackSettings, "/routing/metric_scale double user, from 0.5 to 10.0, default 1.0"},
      {kStackSettings, "/link array of objects user, instances identified by name"},
      {kStackSettings, "/link/name string identifier required"},
      {kStackSettings, "/link/lease/expires long cached"},
      {kStackSettings, "/link/address/cs_generated_id string identifier required, filled by the store"},
      {kStackSettings, "/default_link string user, names a value of /link/name"},
      {kTimeSource, "/ptp object user, only while method is ptp"},
      {UserAccount("x"), " array of objects user, instances identified by cs_generated_id"},
      {UserAccount("x"), "/password_hash secret user, at most 512 bytes"},
  };
  TestStore store;
  for (const auto& [type, line] : kFields) {
    std::vector<std::string> lines;
    for (const FieldDescription& field : DescribeType(type)) lines.push_back(Line(field));
    EXPECT_EQ(1, std::count(lines.begin(), lines.end(), line)) << line;
  }
  EXPECT_EQ("2000 Schema not found for object: component c group g key k",
            Thrown([] { DescribeType(ConfigStoreObjectId("k", "g", "c")); }));
}

TEST(ListStoredObjects, IsSortedAndNarrowedByParts) {
  TestStore store;
  store.Set(kTimeSource, R"({"method":"ntp"})");
  for (const char* name : {"b", "a", "it's"}) store.Set(UserAccount(name), R"({"login":"x","uid":1})");
  store.Run("UPDATE Config SET Success=0 WHERE Identifier='b';");
  const auto listed = [](const char* component, const char* group, const char* key) {
    std::string names;
    for (const StoredName& name : ListStoredObjects(component, group, key)) {
      names += name.id.key + "@" + name.id.instanceId + (name.confirmed ? " " : "! ");
    }
    return names;
  };
  EXPECT_EQ("user_account@a user_account@b! user_account@it's time_source@ ", listed("", "", ""));
  EXPECT_EQ("time_source@ ", listed("clockd", "", ""));
  EXPECT_EQ("user_account@a user_account@b! user_account@it's ", listed("accessd", "local", "user_account"));
  EXPECT_EQ("", listed("accessd", "sync", ""));
  EXPECT_EQ("", listed("it's", "", ""));
}

}  // namespace
