#include "configstore/config_store_object.h"

#include <gtest/gtest.h>

#include "support/log_capture.h"
#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

// Two links, one with an address; "link" is identified by "name", "address" by
// the generated identifier.
const char kData[] =
    R"({"hostname":"n","routing":{"mode":"static"},"nothing":null,)"
    R"("link":[{"name":"eth0","address":[{"cs_generated_id":"g1","ip":"192.0.2.1"}]},{"name":"eth1","enabled":false}]})";

std::shared_ptr<ConfigStoreObject> Stack(const std::string& json = kData) {
  return ConfigStore::CreateObject(kStackSettings, json);
}

// What an action leaves of kData, or what it throws; a prefix of the text tells.
struct SubObjectCase {
  const char* name;
  std::string (*act)(ConfigStoreObject&);
  const char* result;
};

std::string DataOf(const std::shared_ptr<ConfigStoreObject>& object) {
  return object == nullptr ? "none" : object->GetData();
}

const SubObjectCase kSubObjectCases[] = {
    {"Single", [](ConfigStoreObject& o) { return DataOf(o.GetSubObject(SubObjectId("routing"))); },
     R"({"mode":"static"})"},
    {"Instance", [](ConfigStoreObject& o) { return DataOf(o.GetSubObject(SubObjectId("link", "eth1"))); },
     R"({"name":"eth1","enabled":false})"},
    {"InstanceInInstance",
     [](ConfigStoreObject& o) {
       return DataOf(o.GetSubObject(SubObjectId("link", "eth0"))->GetSubObject(SubObjectId("address", "g1")));
     },
     R"({"ip":"192.0.2.1"})"},
    {"Absent", [](ConfigStoreObject& o) { return DataOf(o.GetSubObject(SubObjectId("lease"))); }, "none"},
    {"NullIsAbsent", [](ConfigStoreObject& o) { return DataOf(o.GetSubObject(SubObjectId("nothing"))); }, "none"},
    {"NoSuchInstance", [](ConfigStoreObject& o) { return DataOf(o.GetSubObject(SubObjectId("link", "eth9"))); },
     "none"},
    {"InstanceLeftOut", [](ConfigStoreObject& o) { return DataOf(o.GetSubObject(SubObjectId("link"))); },
     "2000 Non-Singleton object should contain instanceId:  key link"},
    {"NoObject", [](ConfigStoreObject& o) { return DataOf(o.GetSubObject(SubObjectId("hostname"))); },
     "2000 Not a singleton SubObject:  key hostname"},
    {"InstanceOfASingle", [](ConfigStoreObject& o) { return DataOf(o.GetSubObject(SubObjectId("routing", "x"))); },
     "2000 Singleton object should not contain instanceId:  key routing instanceId x"},
    {"CreateSecond", [](ConfigStoreObject& o) { return DataOf(o.CreateSubObject(SubObjectId("routing"))); },
     "2000 Object already exists."},
    {"CreateSecondInstance",
     [](ConfigStoreObject& o) { return DataOf(o.CreateSubObject(SubObjectId("link", "eth0"))); },
     "2000 Object already exists."},
    {"CreateWithoutInstance", [](ConfigStoreObject& o) { return DataOf(o.CreateSubObject(SubObjectId("link"))); },
     "2000 Non-Singleton object should contain instanceId"},
    {"CreateInPlaceOfNull",
     [](ConfigStoreObject& o) {
       o.CreateSubObject(SubObjectId("nothing"))->SetValue("a", 1);
       return o.GetData().substr(0, 65);
     },
     R"({"hostname":"n","routing":{"mode":"static"},"nothing":{"a":1},"li)"},
    {"DeleteLastInstanceTakesTheArray",
     [](ConfigStoreObject& o) {
       o.DeleteSubObject(SubObjectId("link", "eth0"));
       o.DeleteSubObject(SubObjectId("link", "eth9"));
       o.DeleteSubObject(SubObjectId("link", "eth1"));
       o.DeleteSubObject(SubObjectId("link", "eth1"));
       return o.GetData();
     },
     R"({"hostname":"n","routing":{"mode":"static"},"nothing":null})"},
    {"DeleteKeepsTheOrder",
     [](ConfigStoreObject& o) {
       o.DeleteSubObject(SubObjectId("hostname"));
       return o.GetData().substr(0, 20);
     },
     R"({"routing":{"mode":")"},
    {"ChangeThroughASubObjectShows",
     [](ConfigStoreObject& o) {
       o.GetSubObject(SubObjectId("routing"))->SetValue("mode", "dynamic");
       return o.GetData().substr(0, 46);
     },
     R"({"hostname":"n","routing":{"mode":"dynamic"},")"},
    {"AHandleToARemovedPartFails",
     [](ConfigStoreObject& o) {
       const auto link = o.GetSubObject(SubObjectId("link", "eth0"));
       o.DeleteSubObject(SubObjectId("link", "eth0"));
       return link->GetData();
     },
     "2000 Subobject instance does not exists."},
    {"EqualValueKeepsItsPlace",
     [](ConfigStoreObject& o) {
       const auto same = CreateDocumentFromString("\"n\"");
       o.SetValueEx("hostname", same->GetJsonValuePtr());
       return o.GetData().substr(0, 14);
     },
     R"({"hostname":"n)"},
    {"DifferentValueMovesToTheEnd",
     [](ConfigStoreObject& o) {
       const auto other = CreateDocumentFromString("[1]");
       o.SetValueEx("hostname", other->GetJsonValuePtr());
       return o.GetData().substr(o.GetData().size() - 16);
     },
     R"(,"hostname":[1]})"},
};

class SubObjects : public testing::TestWithParam<SubObjectCase> {};

TEST_P(SubObjects, AreFoundCreatedAndDeleted) {
  TestStore store;
  const auto object = Stack();
  std::string result;
  const std::string thrown = Thrown([&] { result = GetParam().act(*object); });
  EXPECT_EQ(GetParam().result, thrown.empty() ? result : thrown);
  if (!thrown.empty() && thrown.find("does not exists") == std::string::npos) {
    EXPECT_EQ(kData, object->GetData());
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, SubObjects, testing::ValuesIn(kSubObjectCases),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(ConfigStoreObject, FallsBackToDefaultsAlsoInSubObjects) {
  TestStore store;
  const auto object = Stack(R"({"hostname":"n","routing":{},"link":[{"name":"eth0"}]})");
  int mtu = 0;
  EXPECT_EQ(2, object->GetValue("mtu", &mtu));
  EXPECT_EQ(1500, mtu);
  object->SetValue("mtu", 9000);
  EXPECT_EQ(1, object->GetValue("mtu", &mtu));
  double scale = 0;
  EXPECT_EQ(2, object->GetSubObject(SubObjectId("routing"))->GetValue("metric_scale", &scale));
  EXPECT_EQ(1.0, scale);
  bool enabled = false;
  EXPECT_EQ(2, object->GetSubObject(SubObjectId("link", "eth0"))->GetValue("enabled", &enabled));
  EXPECT_TRUE(enabled);
  EXPECT_EQ("{\"hostname\":\"n\",\"routing\":{},\"link\":[{\"name\":\"eth0\"}],\"mtu\":9000}", object->GetData());
}

TEST(ConfigStoreObject, CarriesItsInstanceWhereTheSchemaSaysAndDoesNotShowIt) {
  TestStore store;
  const ConfigStoreObject account(UserAccount("u1"));
  std::string id;
  EXPECT_EQ(1, account.GetValue("cs_generated_id", &id));
  EXPECT_EQ("u1", id);
  EXPECT_EQ("{}", account.GetData());
  EXPECT_EQ("1.0", account.GetVersion());
  EXPECT_EQ(R"({"user_account":"cs_generated_id","authorized_key":"label"})", account.GetIdMapStr());
  EXPECT_EQ("1.0", ConfigStore::CreateObject(UserAccount("u2"), "{}")->GetVersion());
  EXPECT_EQ("", ConfigStore::CreateObject(UserAccount("u2"), "{}")->GetCreationTime());
}

TEST(ConfigStoreObject, OfAnUnknownTypeHasNeitherIdentifiersNorDefaults) {
  TestStore store;
  LogCapture log(store.Root());
  const ConfigStoreObject unknown(ConfigStoreObjectId("k", "g", "c"));
  EXPECT_EQ("", unknown.GetVersion());
  EXPECT_EQ("{}", unknown.GetIdMapStr());
  EXPECT_EQ((std::vector<std::string>{"Schema object not found for key: k", "Schema object is null."}), log.Lines());
}

TEST(ConfigStoreObject, DataSetAnewIsNoLongerShared) {
  TestStore store;
  const auto object = Stack();
  const auto routing = object->GetSubObject(SubObjectId("routing"));
  routing->SetData("{\"mode\":\"dynamic\"}");
  EXPECT_EQ(kData, object->GetData());
  EXPECT_EQ("{\"mode\":\"dynamic\"}", routing->GetData());
}

TEST(ConfigStoreObject, ADocumentOutlivesTheObjectItCameFrom) {
  TestStore store;
  std::shared_ptr<ConfigStoreObject> link = Stack()->GetSubObject(SubObjectId("link", "eth1"));
  EXPECT_EQ(R"({"name":"eth1","enabled":false})", link->GetData());
  std::shared_ptr<JsonDocument> document = Stack()->GetJsonDocPtr()->document;
  EXPECT_NE(nullptr, document);
}

}  // namespace
