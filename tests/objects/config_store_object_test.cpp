#include "configstore/config_store_object.h"

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

std::string DataOf(const std::shared_ptr<ConfigStoreObject>& object) {
  return object == nullptr ? "none" : object->GetData();
}

// What an action makes of kData, or what it throws.
// clang-format off
using Object = ConfigStoreObject&;
using Sub = SubObjectId;
const struct { std::string (*act)(Object); const char* result; } kSubObjectCases[] = {
    {[](Object o) { return DataOf(o.GetSubObject(Sub("routing"))); }, R"({"mode":"static"})"},
    {[](Object o) { return DataOf(o.GetSubObject(Sub("link", "eth1"))); }, R"({"name":"eth1","enabled":false})"},
    {[](Object o) { return DataOf(o.GetSubObject(Sub("link", "eth0"))->GetSubObject(Sub("address", "g1"))); },
     R"({"ip":"192.0.2.1"})"},
    {[](Object o) { return DataOf(o.GetSubObject(Sub("lease"))); }, "none"},
    {[](Object o) { return DataOf(o.GetSubObject(Sub("nothing"))); }, "none"},
    {[](Object o) { return DataOf(o.GetSubObject(Sub("link", "eth9"))); }, "none"},
    {[](Object o) { return DataOf(o.GetSubObject(Sub("link"))); },
     "2000 Non-Singleton object should contain instanceId:  key link"},
    {[](Object o) { return DataOf(o.GetSubObject(Sub("hostname"))); }, "2000 Not a singleton SubObject:  key hostname"},
    {[](Object o) { return DataOf(o.GetSubObject(Sub("routing", "x"))); },
     "2000 Singleton object should not contain instanceId:  key routing instanceId x"},
    {[](Object o) { return DataOf(o.CreateSubObject(Sub("routing"))); }, "2000 Object already exists."},
    {[](Object o) { return DataOf(o.CreateSubObject(Sub("link", "eth0"))); }, "2000 Object already exists."},
    {[](Object o) { return DataOf(o.CreateSubObject(Sub("link"))); },
     "2000 Non-Singleton object should contain instanceId"},
    {[](Object o) { o.CreateSubObject(Sub("nothing"))->SetValue("a", 1); return o.GetData().substr(44, 20); },
     R"("nothing":{"a":1},"l)"},
    {[](Object o) {
       for (const char* id : {"eth0", "eth9", "eth1", "eth1"}) o.DeleteSubObject(Sub("link", id));
       return o.GetData();  // the last instance takes the array
     }, R"({"hostname":"n","routing":{"mode":"static"},"nothing":null})"},
    {[](Object o) { o.DeleteSubObject(Sub("hostname")); return o.GetData().substr(0, 20); }, R"({"routing":{"mode":")"},
    {[](Object o) { o.GetSubObject(Sub("routing"))->SetValue("mode", "dynamic"); return o.GetData().substr(16, 28); },
     R"("routing":{"mode":"dynamic"})"},
    {[](Object o) {
       const auto same = CreateDocumentFromString("\"n\"");
       o.SetValueEx("hostname", same->GetJsonValuePtr());
       return o.GetData().substr(0, 14);
     }, R"({"hostname":"n)"},
    {[](Object o) {
       const auto other = CreateDocumentFromString("[1]");
       o.SetValueEx("hostname", other->GetJsonValuePtr());
       return o.GetData().substr(o.GetData().size() - 16);  // a different value moves to the end
     }, R"(,"hostname":[1]})"},
    {[](Object o) {
       const auto routing = o.GetSubObject(Sub("routing"));
       routing->SetData("{\"mode\":\"dynamic\"}");  // data that is set anew is no longer shared
       return routing->GetData() + o.GetData().substr(16, 27);
     }, R"({"mode":"dynamic"}"routing":{"mode":"static"})"},
};
// clang-format on

TEST(SubObjects, AreFoundCreatedAndDeleted) {
  TestStore store;
  for (const auto& row : kSubObjectCases) {
    SCOPED_TRACE("row " + std::to_string(&row - kSubObjectCases));
    const auto object = Stack();
    std::string result;
    const std::string thrown = Thrown([&] { result = row.act(*object); });
    EXPECT_EQ(row.result, thrown.empty() ? result : thrown);
    EXPECT_TRUE(thrown.empty() || kData == object->GetData());
  }
}

TEST(SubObjects, OutliveTheirObjectAndFailOnceTheyAreRemoved) {
  TestStore store;
  EXPECT_EQ(R"({"name":"eth1","enabled":false})", Stack()->GetSubObject(Sub("link", "eth1"))->GetData());
  const auto object = Stack();
  const auto link = object->GetSubObject(Sub("link", "eth0"));
  object->DeleteSubObject(Sub("link", "eth0"));
  EXPECT_EQ("2000 Subobject instance does not exists.", Thrown([&] { link->GetData(); }));
}

TEST(SubObjects, AreFoundWhereverTheirArrayHasThem) {
  TestStore store;
  const auto object = Stack(R"({"link":[{"name":"a"},{"name":"b"},{"name":"c"},{"name":"d"}]})");
  const auto links =
      object->GetSubObjectInstances(std::make_shared<FilterSpecObject>("link", "ipstack", "netd", nullptr));
  const auto last = object->GetSubObject(Sub("link", "d"));
  object->DeleteSubObjectInstances(
      std::make_shared<FilterSpecObject>(ConfigStoreObjectId("link", "ipstack", "netd", "b")));
  object->DeleteSubObject(Sub("link", "a"));
  object->CreateSubObject(Sub("link", "a"))->SetValue("mtu", 1);
  std::string found;
  for (const size_t i : {0, 2, 3}) found += links[i]->GetData();
  EXPECT_EQ(R"({"name":"a","mtu":1}{"name":"c"}{"name":"d"})", found);
  EXPECT_EQ(R"({"name":"d"})", last->GetData());
  EXPECT_NE("", Thrown([&] { links[1]->GetData(); }));
}

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
  const char kTwice[] = R"({"cs_generated_id":"a","cs_generated_id":"b"})";
  EXPECT_EQ("{}", ConfigStore::CreateObject(UserAccount("u1"), kTwice)->GetData());
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

}  // namespace
