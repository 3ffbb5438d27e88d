#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

const USERDATA_CONTEXT kExternal{USERDATA_CONTEXT::EXTERNAL};
const USERDATA_CONTEXT kAutomatic{USERDATA_CONTEXT::AUTOCONFIGURATION};

// Instances identified by "id", with a member of each category.
constexpr char kItems[] = R"({"component":"c","group":"g","key":"item","version":"2.0","schema":{"type":"array",
  "instanceId":"id","items":{"type":"object","additionalProperties":false,"required":["id","u"],"properties":{
    "id":{"type":"string","instanceId":true},"u":{"type":"integer"},"w":{"type":"integer"},
    "v":{"type":"integer","vital":true},"k":{"type":"integer","cached":true},"s":{"type":"secret"},
    "vs":{"type":"secret","vital":true},"ks":{"type":"secret","cached":true},
    "o":{"type":"object","additionalProperties":false,"properties":{"x":{"type":"integer"},"y":{"type":"integer"}}},
    "l":{"type":"array","items":{"type":"integer"}}}}}})";

ConfigStoreObjectId Item(const std::string& id) {
  return ConfigStoreObjectId("item", "g", "c", id);
}
std::shared_ptr<ConfigStoreObject> Object(const std::string& id, const std::string& json) {
  return ConfigStore::CreateObject(Item(id), json);
}
std::shared_ptr<ConfigStoreObject> Clock(const std::string& json) {
  return ConfigStore::CreateObject(kTimeSource, json);
}
std::shared_ptr<FilterSpecObject> All(const ConfigStoreObjectId& id) {
  return std::make_shared<FilterSpecObject>(id);
}
const OrvoConfigUpgrade::UpgradeFunctions kUpgradeRunner = {{}, [] { return true; }, {}};

// A store with rows "a" and "b": every layer set, a desired value, unconfirmed.
class Items : public TestStore {
 public:
  Items() : TestStore({kItems}) {
    for (const std::string id : {"a", "b"}) {
      const std::string head = R"('{"id":")" + id + "\",";
      PutRow(Item(id), "CreationTime, Success, AutoConfValue, UserValue, VitalValue, CachedValue, DesiredValue",
             "'then', 0, " + head + "\"u\":1}', " + head + "\"u\":2}', " + head + "\"v\":3}', " + head + "\"k\":4}', " +
                 head + "\"u\":5}'");
    }
  }

  // Which layers the rows have, "A U V C D success", a letter for a set layer.
  std::string Shape() {
    return Query(
        "SELECT Identifier, iif(AutoConfValue IS NULL, '-', 'A') || iif(UserValue IS NULL, '-', 'U') || iif(VitalValue "
        "IS NULL, '-', 'V') || iif(CachedValue IS NULL, '-', 'C') || iif(DesiredValue IS NULL, '-', 'D') || Success "
        "FROM Config ORDER BY Identifier;");
  }
};

// What each write leaves of the rows a and b, and of a row n that it creates.
// clang-format off
using Store = ConfigStore&;
const char kU[] = R"({"u":9})", kV[] = R"({"v":9})", kK[] = R"({"k":9})", kUV[] = R"({"u":9,"v":9})";
const struct { const char* name; void (*write)(Store); const char* shape; } kWriteCases[] = {
    {"user of one", [](Store s) { s.SetUserData(Object("a", kU), kExternal); }, "a AUVC-1; b AUVCD0"},
    {"user of one during an upgrade", [](Store s) {
       const OrvoConfigUpgrade::ScopedUpgradeLibrary upgrade(kUpgradeRunner);
       s.SetUserData(Object("a", kU), kExternal);
       s.SetUserData(Object("n", kU), kExternal);
     }, "a AUVC-0; b AUVCD0; n -U---0"},
    {"auto of one", [](Store s) { s.SetUserData(Object("n", kU), kAutomatic); }, "a AUVCD0; b AUVCD0; n A----1"},
    {"vital of one", [](Store s) { s.SetVitalData(Object("n", kV)); }, "a AUVCD0; b AUVCD0; n --V--1"},
    {"cached of one", [](Store s) { s.SetCachedData(Object("n", kK)); }, "a AUVCD0; b AUVCD0; n ---C-1"},
    {"user of all", [](Store s) { s.SetUserDataInstances({Object("a", kU), Object("n", kU)}, kExternal); },
     "a AUVC-1; b A-VCD0; n -U---1"},
    {"auto of all", [](Store s) { s.SetUserDataInstances({Object("a", kU)}, kAutomatic); }, "a AUVCD0; b -UVCD0"},
    {"vital of all", [](Store s) { s.SetVitalDataInstances({Object("a", kV)}); }, "a AUVCD0; b AU-CD0"},
    {"cached of all", [](Store s) { s.SetCachedDataInstances({Object("a", kK)}); }, "a AUVCD0; b AUV-D0"},
    {"whole set", [](Store s) { s.SetInstances({Object("a", kUV), Object("n", kU)}, kExternal); },
     "a -UV--1; n -U---1"},
    {"whole set by the host", [](Store s) { s.SetInstances({Object("a", R"({"u":9,"k":9})")}, kAutomatic); },
     "a A--C-1"},
    {"later of two", [](Store s) { s.SetInstances({Object("a", kUV), Object("a", kU)}, kExternal); }, "a -U---1"},
    {"update of user data", [](Store s) { s.Update(Object("a", kU), kExternal); }, "a AUVC-0; b AUVCD0"},
    {"update by the host", [](Store s) { s.Update(Object("a", kU), kAutomatic); }, "a AUVCD0; b AUVCD0"},
    {"update creates", [](Store s) { s.Update(Object("n", kUV), kExternal); }, "a AUVCD0; b AUVCD0; n -UV--1"},
    {"update by the host creates", [](Store s) { s.Update(Object("n", kU), kAutomatic); },
     "a AUVCD0; b AUVCD0; n A----1"},
    {"delete what matches", [](Store s) {
       auto filter = std::make_shared<FilterSpecObject>("item", "g", "c", nullptr);
       filter->SetValue("id", "a");
       s.DeleteInstances(filter);
     }, "b AUVCD0"},
    {"delete all", [](Store s) { s.DeleteInstances(All(Item(""))); }, ""},
};
// clang-format on

TEST(LayerWrites, LeaveTheOtherLayersAndRows) {
  for (const auto& row : kWriteCases) {
    SCOPED_TRACE(row.name);
    Items store;
    row.write(*store);
    EXPECT_EQ(row.shape, store.Shape());
    EXPECT_EQ(2, store->CancelTransaction()) << "nothing is left open";
  }
}

TEST(LayerWrites, OfOneObjectKeepItsCreationTime) {
  Items store;
  for (const auto& context : {kAutomatic, kExternal}) {
    store->SetUserData(Object("a", kU), context);
    store->Update(Object("a", kUV), context);
    store->Set(Object("a", kUV), context);
  }
  store->SetVitalData(Object("a", kV));
  store->SetCachedData(Object("a", kK));
  EXPECT_EQ("then 2.0; then ", store.Query("SELECT CreationTime, Version FROM Config ORDER BY Identifier;"));
}

// Writes that are refused or ignored, and what they throw.
// clang-format off
#define MASKED ": Secret is masked, and nothing is stored that the mask could stand for]"
const char kMaskU[] = R"({"u":1,"s":"•••"})";
const struct { void (*write)(Store); const char* thrown; } kRefusedCases[] = {
    {[](Store s) { s.SetInstances({}, kExternal); }, "2000 ConfigStoreObject list cannot be empty"},
    {[](Store s) { s.SetVitalDataInstances({}); }, "2000 ConfigStoreObject list cannot be empty"},
    {[](Store s) { s.SetInstances({Object("a", kU), nullptr}, kExternal); }, ""},
    {[](Store s) { s.Update(nullptr, kExternal); }, ""},
    {[](Store s) { s.DeleteInstances(nullptr); }, ""},
    {[](Store s) { s.SetInstances({Object("a", kU), ConfigStore::CreateObject(UserAccount("x"), "{}")}, kExternal); },
     "2000 All ConfigStoreObjects are not for the same schema."},
    {[](Store s) { s.SetInstances({Object("a", kU), Object("", kU)}, kExternal); },
     "2000 Non-Singleton object should contain instanceId"},
    {[](Store s) { s.SetInstances({Clock("{}")}, kExternal); }, "2000 GetInstances() API called for singleton object"},
    {[](Store s) { s.SetInstances({Object("a", kU), Object("n", R"({"u":"x"})")}, kExternal); },
     "1089 Failed to validate Set [/u: INCORRECT TYPE: expected integer.]"},
    {[](Store s) { s.SetUserData(Object("a", kUV), kExternal); },
     "1087 Failed to validate User config [/v: Non user property not allowed.]"},
    {[](Store s) { s.SetVitalData(Object("a", kU)); },
     "1086 Failed to validate Vital config [/u: property is not vital]"},
    {[](Store s) { s.SetCachedDataInstances({Object("a", kU)}); },
     "1084 Failed to validate Default config [/u: property is not cached]"},
    {[](Store s) { s.SetUserData(Object("a", kK), kAutomatic); },
     "1092 Failed to validate Auto config [/k: Non user property not allowed.]"},
    {[](Store s) { s.Update(Object("a", R"({"u":"x"})"), kExternal); },
     "1090 Failed to validate Update [/u: INCORRECT TYPE: expected integer.]"},
    {[](Store s) { s.SetUserData(Object("n", kMaskU), kExternal); }, "1087 Failed to validate User config [/s" MASKED},
    {[](Store s) { s.SetUserData(Object("n", kMaskU), kAutomatic); }, "1092 Failed to validate Auto config [/s" MASKED},
    {[](Store s) { s.SetVitalData(Object("n", R"({"vs":"•••"})")); },
     "1086 Failed to validate Vital config [/vs" MASKED},
    {[](Store s) { s.SetCachedDataInstances({Object("n", R"({"ks":"•••"})")}); },
     "1084 Failed to validate Default config [/ks" MASKED},
    {[](Store s) { s.Update(Object("n", R"({"w":1})"), kExternal); },
     "1089 Failed to validate Set [: Required property missing: u]"},
};
// clang-format on

TEST(LayerWrites, ThatAreRefusedOrIgnoredChangeNothing) {
  Items store;
  const std::string before = store.Query("SELECT * FROM Config ORDER BY Identifier;");
  for (const auto& row : kRefusedCases) {
    SCOPED_TRACE("row " + std::to_string(&row - kRefusedCases));
    EXPECT_EQ(row.thrown, Thrown([&] { row.write(*store); }));
    EXPECT_EQ(before, store.Query("SELECT * FROM Config ORDER BY Identifier;"));
    EXPECT_EQ(2, store->CancelTransaction());
  }
}

TEST(LayerWrites, AreStoppedBehindTheirChecksWhereTheFeatureIsOff) {
  Items off;
  off.Root().Write("/etc/halden/features", "ConfigStore=off\n");
  off->Update(Object("a", R"({"u":"x"})"), kExternal);
  off->SetVitalDataInstances({Object("a", kV)});
  EXPECT_EQ("2000 ConfigStoreObject list cannot be empty", Thrown([&] { off->SetVitalDataInstances({}); }));
  EXPECT_EQ("a AUVCD0; b AUVCD0", off.Shape());
}

TEST(Update, MergesWithWhatTheCallerSeesAndRemovesNothing) {
  Items store;
  store.Run("DELETE FROM Config;");
  store.Set(Item("a"), R"({"id":"a","u":1,"w":2,"v":3,"o":{"x":1,"y":2},"l":[1,2]})");
  store->Update(Object("a", R"({"w":5,"o":{"y":6},"l":[3]})"), kExternal);
  EXPECT_EQ(R"({"id":"a","v":3,"u":1,"o":{"x":1,"y":6},"w":5,"l":[3]})", store.Get(Item("a")));
  store->Update(Object("a", R"({"u":7})"), kAutomatic);
  EXPECT_EQ(R"({"id":"a","u":1,"o":{"x":1,"y":6},"w":5,"l":[3]})", store.Query("SELECT UserValue FROM Config;"));
  EXPECT_EQ(R"({"id":"a","u":7})", store.Query("SELECT AutoConfValue FROM Config;"));
  store.Run("UPDATE Config SET ModifiedTime='then';");
  EXPECT_EQ("19", store.Query("SELECT length(ModifiedTime) FROM Config;")) << "any update refreshes it";
}

TEST(Update, OfCachedDataAloneKeepsTheDesiredValue) {
  TestStore store;
  store.Set(kTimeSource, R"({"method":"ntp"})");
  store.Run("UPDATE Config SET DesiredValue='{\"method\":\"ptp\"}';");
  store->Update(Clock(R"({"drift_ppm":2.5})"), kExternal);
  EXPECT_EQ(R"(- {"method":"ntp"} - {"drift_ppm":2.5} {"method":"ptp"} 1)", store.Layers("time_source"));
  store->Update(Clock(R"({"method":"manual"})"), kExternal);
  EXPECT_EQ(R"(- {"method":"manual"} - {"drift_ppm":2.5} - 1)", store.Layers("time_source"));
}

// What the caller does not see is not merged: an unconfirmed user value gives way
// to the user part of the update, here none.
TEST(Update, OfCachedDataWhereNothingIsInForceWritesAllThreeParts) {
  TestStore store({R"({"component":"c","group":"g","key":"one","version":"1","schema":{"type":"object","properties":{)"
                   R"("u":{"type":"integer"},"k":{"type":"integer","cached":true}}}})"});
  PutRow(ConfigStoreObjectId("one", "g", "c"), "Success, UserValue", R"(0, '{"u":1}')");
  store->Update(ConfigStore::CreateObject(ConfigStoreObjectId("one", "g", "c"), R"({"k":1})"), kExternal);
  EXPECT_EQ(R"(- - - {"k":1} - 0)", store.Layers("one"));
}

// What fails in the middle is undone and names the cause.
TEST(LayerWrites, ThatFailInsideLeaveWhatWasThere) {
  Items store;
  FailAt("UPDATE ON Config");
  EXPECT_EQ(
      "2000 Operation failed: Database call to update configuration by context failed for: component c group g key "
      "item instanceId a",
      Thrown([&] { store->Update(Object("a", kU), kExternal); }));
  store.Run("DROP TRIGGER fault;");
  FailAt("INSERT ON Config WHEN NEW.Identifier='z'");
  EXPECT_EQ("2000 Operation failed: WriteComplete failed", Thrown([&] {
              store->SetInstances({Object("n", kU), Object("z", kU)}, kExternal);
            }));
  store.Run("DROP TRIGGER fault;");
  FailAt("DELETE ON Config");
  EXPECT_EQ("2000 Delete failed: component c group g key item instanceId a", Thrown([&] { store->Delete(Item("a")); }));
  EXPECT_EQ("a AUVCD0; b AUVCD0", store.Shape());
  store.Run("UPDATE Config SET VitalValue='{' WHERE Identifier='a';");
  const LogCapture log(store.Root());
  EXPECT_EQ("1080 Failed to parse JSON String", Thrown([&] { store->Update(Object("a", kU), kExternal); }));
  EXPECT_TRUE(log.Has("Stored value is damaged: VitalValue of component c group g key item instanceId a: "));
  EXPECT_EQ("{", store.Query("SELECT VitalValue FROM Config WHERE Identifier='a';"));
  EXPECT_EQ(2, store->CancelTransaction());
}

TEST(GetInstances, AreMergedFilteredAndLeaveOutWhatIsNotInForce) {
  Items store;
  PutRow(Item("hidden"), "Success, UserValue", R"(0, '{"id":"hidden","u":1}')");
  const auto found = [&](const std::shared_ptr<FilterSpecObject>& filter) {
    std::string text;
    for (const auto& object : store->GetInstances(filter)) text += object->GetId().instanceId + object->GetData() + " ";
    return text;
  };
  EXPECT_EQ(R"(a{"id":"a","v":3,"k":4,"u":1} b{"id":"b","v":3,"k":4,"u":1} )", found(All(Item(""))));
  EXPECT_EQ(R"(b{"id":"b","v":3,"k":4,"u":1} )", found(All(Item("b"))));
  const auto pattern = All(Item(""));
  pattern->SetValue("u", 2);
  EXPECT_EQ("", found(pattern));
  EXPECT_EQ("", found(nullptr));
  EXPECT_EQ("2000 GetInstances() API called for singleton object", Thrown([&] { found(All(kTimeSource)); }));
}

TEST(Defaults, AreReadWhetherConfirmedOrNot) {
  Items store;
  EXPECT_EQ(nullptr, store->GetDefaultConfig(kTimeSource));
  PutRow(kTimeSource, "Value, Version, Success", R"('{"method":"ntp"}', '1.0', 0)", "DefaultConfig");
  PutRow(Item("d"), "Value, Version, Success", R"('{"u":1}', '', 1)", "DefaultConfig");
  EXPECT_EQ(R"({"method":"ntp"})", store->GetDefaultConfig(kTimeSource)->GetData());
  EXPECT_EQ("1.0", store->GetDefaultConfig(kTimeSource)->GetVersion());
  EXPECT_EQ(R"({"u":1,"id":"d"})", store->GetDefaultConfig(Item("d"))->GetData());
  const auto instances = store->GetDefaultConfigInstances(All(Item("")));
  ASSERT_EQ(1u, instances.size());
  EXPECT_EQ("d", instances[0]->GetId().instanceId);
}

}  // namespace
