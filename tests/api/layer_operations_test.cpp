#include <gtest/gtest.h>

#include <algorithm>

#include "configstore/configstore.h"
#include "support/log_capture.h"
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

// A store with rows "a" and "b": every layer set, a desired value, unconfirmed.
class Items : public TestStore {
 public:
  Items() : TestStore({kItems}) {
    for (const char* id : {"a", "b"}) {
      const std::string head = std::string(R"('{"id":")") + id + "\",";
      Run("INSERT INTO Config(Component, ConfigGroup, Name, Identifier, Success, AutoConfValue, UserValue, VitalValue, "
          "CachedValue, DesiredValue) VALUES ('c', 'g', 'item', '" +
          std::string(id) + "', 0, " + head + "\"u\":1}', " + head + "\"u\":2}', " + head + "\"v\":3}', " + head +
          "\"k\":4}', " + head + "\"u\":5}');");
    }
  }

  // Which layers the rows have, "A U V C D success", a letter for a set layer.
  std::string Shape() {
    return Query(
        "SELECT Identifier, CASE WHEN AutoConfValue IS NULL THEN '-' ELSE 'A' END || CASE WHEN UserValue IS NULL THEN "
        "'-' ELSE 'U' END || CASE WHEN VitalValue IS NULL THEN '-' ELSE 'V' END || CASE WHEN CachedValue IS NULL THEN "
        "'-' ELSE 'C' END || CASE WHEN DesiredValue IS NULL THEN '-' ELSE 'D' END || Success FROM Config ORDER BY "
        "Identifier;");
  }
};

// What each write leaves of the rows a and b, and of a row n that it creates.
struct WriteCase {
  const char* name;
  void (*write)(ConfigStore& store);
  const char* shape;
};

const WriteCase kWriteCases[] = {
    {"UserOfOne", [](ConfigStore& s) { s.SetUserData(Object("a", R"({"u":9})"), kExternal); }, "a AUVC-1; b AUVCD0"},
    {"UserOfOneDuringUpgrade",
     [](ConfigStore& s) {
       OrvoConfigUpgrade::UpgradeFunctions functions;
       functions.getUpgradeRunner = [] { return true; };
       const OrvoConfigUpgrade::ScopedUpgradeLibrary upgrade(functions);
       s.SetUserData(Object("a", R"({"u":9})"), kExternal);
       s.SetUserData(Object("n", R"({"u":9})"), kExternal);
     },
     "a AUVC-0; b AUVCD0; n -U---0"},
    {"AutoOfOne", [](ConfigStore& s) { s.SetUserData(Object("n", R"({"u":9})"), kAutomatic); },
     "a AUVCD0; b AUVCD0; n A----1"},
    {"VitalOfOne", [](ConfigStore& s) { s.SetVitalData(Object("n", R"({"v":9})")); }, "a AUVCD0; b AUVCD0; n --V--1"},
    {"CachedOfOne", [](ConfigStore& s) { s.SetCachedData(Object("n", R"({"k":9})")); }, "a AUVCD0; b AUVCD0; n ---C-1"},
    {"UserOfAll",
     [](ConfigStore& s) {
       s.SetUserDataInstances({Object("a", R"({"u":9})"), Object("n", R"({"u":9})")}, kExternal);
     },
     "a AUVC-1; b A-VCD0; n -U---1"},
    {"AutoOfAll", [](ConfigStore& s) { s.SetUserDataInstances({Object("a", R"({"u":9})")}, kAutomatic); },
     "a AUVCD0; b -UVCD0"},
    {"VitalOfAll", [](ConfigStore& s) { s.SetVitalDataInstances({Object("a", R"({"v":9})")}); }, "a AUVCD0; b AU-CD0"},
    {"CachedOfAll", [](ConfigStore& s) { s.SetCachedDataInstances({Object("a", R"({"k":9})")}); },
     "a AUVCD0; b AUV-D0"},
    {"WholeSet",
     [](ConfigStore& s) {
       s.SetInstances({Object("a", R"({"u":9,"v":9})"), Object("n", R"({"u":9})")}, kExternal);
     },
     "a -UV--1; n -U---1"},
    {"WholeSetByHost", [](ConfigStore& s) { s.SetInstances({Object("a", R"({"u":9,"k":9})")}, kAutomatic); },
     "a A--C-1"},
    {"LaterOfTwoCounts",
     [](ConfigStore& s) {
       s.SetInstances({Object("a", R"({"u":9,"v":9})"), Object("a", R"({"u":9})")}, kExternal);
     },
     "a -U---1"},
    {"UpdateOfUserData", [](ConfigStore& s) { s.Update(Object("a", R"({"u":9})"), kExternal); }, "a AUVC-0; b AUVCD0"},
    {"UpdateByHost", [](ConfigStore& s) { s.Update(Object("a", R"({"u":9})"), kAutomatic); }, "a AUVCD0; b AUVCD0"},
    {"UpdateCreates", [](ConfigStore& s) { s.Update(Object("n", R"({"u":9,"v":9})"), kExternal); },
     "a AUVCD0; b AUVCD0; n -UV--1"},
    {"UpdateByHostCreates", [](ConfigStore& s) { s.Update(Object("n", R"({"u":9})"), kAutomatic); },
     "a AUVCD0; b AUVCD0; n A----1"},
    {"DeleteMatching",
     [](ConfigStore& s) {
       auto filter = std::make_shared<FilterSpecObject>("item", "g", "c", nullptr);
       filter->SetValue("id", "a");
       s.DeleteInstances(filter);
     },
     "b AUVCD0"},
    {"DeleteAll", [](ConfigStore& s) { s.DeleteInstances(std::make_shared<FilterSpecObject>(Item(""))); }, ""},
};

class ItemWrites : public testing::TestWithParam<WriteCase> {};

TEST_P(ItemWrites, LeaveTheOtherLayersAndRows) {
  Items store;
  GetParam().write(*store);
  EXPECT_EQ(GetParam().shape, store.Shape());
  EXPECT_EQ(2, store->CancelTransaction());  // nothing is left open
}

INSTANTIATE_TEST_SUITE_P(Operations, ItemWrites, testing::ValuesIn(kWriteCases),
                         [](const auto& test) { return std::string(test.param.name); });

// Writes that are refused or ignored; no row may change.
struct RefusedCase {
  const char* name;
  void (*write)(ConfigStore& store);
  const char* thrown;
};

const RefusedCase kRefusedCases[] = {
    {"EmptyList", [](ConfigStore& s) { s.SetInstances({}, kExternal); }, "2000 ConfigStoreObject list cannot be empty"},
    {"EmptyLayerList", [](ConfigStore& s) { s.SetVitalDataInstances({}); },
     "2000 ConfigStoreObject list cannot be empty"},
    {"EmptyElement",
     [](ConfigStore& s) {
       s.SetInstances({Object("a", R"({"u":1})"), nullptr}, kExternal);
     },
     ""},
    {"EmptyObject", [](ConfigStore& s) { s.Update(nullptr, kExternal); }, ""},
    {"EmptyFilter", [](ConfigStore& s) { s.DeleteInstances(nullptr); }, ""},
    {"MixedTypes",
     [](ConfigStore& s) {
       s.SetInstances({Object("a", R"({"u":1})"), ConfigStore::CreateObject(UserAccount("x"), "{}")}, kExternal);
     },
     "2000 All ConfigStoreObjects are not for the same schema."},
    {"InstanceLeftOut",
     [](ConfigStore& s) {
       s.SetInstances({Object("a", R"({"u":1})"), Object("", R"({"u":1})")}, kExternal);
     },
     "2000 Non-Singleton object should contain instanceId"},
    {"SingletonList", [](ConfigStore& s) { s.SetInstances({ConfigStore::CreateObject(kTimeSource, "{}")}, kExternal); },
     "2000 GetInstances() API called for singleton object"},
    {"OneInvalidInTheList",
     [](ConfigStore& s) {
       s.SetInstances({Object("a", R"({"u":1})"), Object("n", R"({"u":"x"})")}, kExternal);
     },
     "1089 Failed to validate Set [/u: INCORRECT TYPE: expected integer.]"},
    {"VitalInUserData", [](ConfigStore& s) { s.SetUserData(Object("a", R"({"u":1,"v":1})"), kExternal); },
     "1087 Failed to validate User config [/v: Non user property not allowed.]"},
    {"UserInVitalData", [](ConfigStore& s) { s.SetVitalData(Object("a", R"({"u":1})")); },
     "1086 Failed to validate Vital config [/u: property is not vital]"},
    {"UserInCachedData", [](ConfigStore& s) { s.SetCachedDataInstances({Object("a", R"({"u":1})")}); },
     "1084 Failed to validate Default config [/u: property is not cached]"},
    {"CachedInAutoData", [](ConfigStore& s) { s.SetUserData(Object("a", R"({"k":1})"), kAutomatic); },
     "1092 Failed to validate Auto config [/k: Non user property not allowed.]"},
    {"WrongTypeInUpdate", [](ConfigStore& s) { s.Update(Object("a", R"({"u":"x"})"), kExternal); },
     "1090 Failed to validate Update [/u: INCORRECT TYPE: expected integer.]"},
    {"MaskInUserData", [](ConfigStore& s) { s.SetUserData(Object("n", R"({"u":1,"s":"•••"})"), kExternal); },
     "1087 Failed to validate User config [/s: Secret is masked, and nothing is stored that the mask could stand for]"},
    {"MaskInAutoData", [](ConfigStore& s) { s.SetUserData(Object("n", R"({"u":1,"s":"•••"})"), kAutomatic); },
     "1092 Failed to validate Auto config [/s: Secret is masked, and nothing is stored that the mask could stand for]"},
    {"MaskInVitalData", [](ConfigStore& s) { s.SetVitalData(Object("n", R"({"vs":"•••"})")); },
     "1086 Failed to validate Vital config [/vs: Secret is masked, and nothing is stored that the mask could stand "
     "for]"},
    {"MaskInCachedData", [](ConfigStore& s) { s.SetCachedDataInstances({Object("n", R"({"ks":"•••"})")}); },
     "1084 Failed to validate Default config [/ks: Secret is masked, and nothing is stored that the mask could stand "
     "for]"},
    {"UpdateLeavesAnInvalidWhole", [](ConfigStore& s) { s.Update(Object("n", R"({"w":1})"), kExternal); },
     "1089 Failed to validate Set [: Required property missing: u]"},
};

class RefusedItemWrites : public testing::TestWithParam<RefusedCase> {};

TEST_P(RefusedItemWrites, ChangeNothing) {
  Items store;
  const std::string before = store.Query("SELECT * FROM Config ORDER BY Identifier;");
  EXPECT_EQ(GetParam().thrown, Thrown([&] { GetParam().write(*store); }));
  EXPECT_EQ(before, store.Query("SELECT * FROM Config ORDER BY Identifier;"));
  EXPECT_EQ(2, store->CancelTransaction());
}

INSTANTIATE_TEST_SUITE_P(Operations, RefusedItemWrites, testing::ValuesIn(kRefusedCases),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(Update, MergesWithWhatTheCallerSeesAndRemovesNothing) {
  Items store;
  store.Run("DELETE FROM Config;");
  store.Set(Item("a"), R"({"id":"a","u":1,"w":2,"v":3,"o":{"x":1,"y":2},"l":[1,2]})");
  store->Update(Object("a", R"({"w":5,"o":{"y":6},"l":[3]})"), kExternal);
  EXPECT_EQ(R"({"id":"a","v":3,"u":1,"o":{"x":1,"y":6},"w":5,"l":[3]})", store.Get(Item("a")));
  store->Update(Object("a", R"({"u":7})"), kAutomatic);
  EXPECT_EQ(R"({"id":"a","u":1,"o":{"x":1,"y":6},"w":5,"l":[3]})", store.Query("SELECT UserValue FROM Config;"));
  EXPECT_EQ(R"({"id":"a","u":7})", store.Query("SELECT AutoConfValue FROM Config;"));
}

TEST(Update, OfCachedDataAloneKeepsTheDesiredValue) {
  TestStore store;
  store.Set(kTimeSource, R"({"method":"ntp"})");
  store.Run("UPDATE Config SET DesiredValue='{\"method\":\"ptp\"}';");
  store->Update(ConfigStore::CreateObject(kTimeSource, R"({"drift_ppm":2.5})"), kExternal);
  EXPECT_EQ(R"(- {"method":"ntp"} - {"drift_ppm":2.5} {"method":"ptp"} 1)", store.Layers("time_source"));
  store->Update(ConfigStore::CreateObject(kTimeSource, R"({"method":"manual"})"), kExternal);
  EXPECT_EQ(R"(- {"method":"manual"} - {"drift_ppm":2.5} - 1)", store.Layers("time_source"));
}

// What the caller does not see is not merged: an unconfirmed user value gives way
// to the user part of the update, here none.
TEST(Update, OfCachedDataWhereNothingIsInForceWritesAllThreeParts) {
  TestStore store({R"({"component":"c","group":"g","key":"one","version":"1","schema":{"type":"object","properties":{)"
                   R"("u":{"type":"integer"},"k":{"type":"integer","cached":true}}}})"});
  store.Run(
      "INSERT INTO Config(Component, ConfigGroup, Name, Success, UserValue) VALUES ('c', 'g', 'one', 0, "
      "'{\"u\":1}');");
  store->Update(ConfigStore::CreateObject(ConfigStoreObjectId("one", "g", "c"), R"({"k":1})"), kExternal);
  EXPECT_EQ(R"(- - - {"k":1} - 0)", store.Layers("one"));
}

TEST(Update, FailureInsideUndoesAndNamesTheCause) {
  Items store;
  store.Run("CREATE TRIGGER fail BEFORE UPDATE ON Config BEGIN SELECT RAISE(ABORT, 'no'); END;");
  EXPECT_EQ(
      "2000 Operation failed: Database call to update configuration by context failed for: component c group g key "
      "item instanceId a",
      Thrown([&] { store->Update(Object("a", R"({"u":9})"), kExternal); }));
  EXPECT_EQ(2, store->CancelTransaction());
}

TEST(SetInstances, FailureInTheMiddleLeavesTheOldSet) {
  Items store;
  store.Run(
      "CREATE TRIGGER fail BEFORE INSERT ON Config WHEN NEW.Identifier='z' BEGIN SELECT RAISE(ABORT, 'no'); END;");
  EXPECT_EQ("2000 Operation failed: WriteComplete failed", Thrown([&] {
              store->SetInstances({Object("n", R"({"u":1})"), Object("z", R"({"u":1})")}, kExternal);
            }));
  EXPECT_EQ("a AUVCD0; b AUVCD0", store.Shape());
}

TEST(Update, ADamagedLayerNamesItselfInTheLogAndStays) {
  Items store;
  store.Run("UPDATE Config SET VitalValue='{' WHERE Identifier='a';");
  LogCapture log(store.Root());
  EXPECT_EQ("1080 Failed to parse JSON String", Thrown([&] { store->Update(Object("a", R"({"u":9})"), kExternal); }));
  const std::string damage = "Stored value is damaged: VitalValue of component c group g key item instanceId a: ";
  const auto lines = log.Lines();
  EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [&](const auto& line) { return line.rfind(damage, 0) == 0; }));
  EXPECT_EQ("{", store.Query("SELECT VitalValue FROM Config WHERE Identifier='a';"));
}

TEST(GetInstances, AreMergedFilteredAndLeaveOutWhatIsNotInForce) {
  Items store;
  store.Run(
      "INSERT INTO Config(Component, ConfigGroup, Name, Identifier, Success, UserValue) VALUES ('c', 'g', 'item', "
      "'hidden', 0, '{\"id\":\"hidden\",\"u\":1}');");
  const auto found = [&](const std::shared_ptr<FilterSpecObject>& filter) {
    std::string text;
    for (const auto& object : store->GetInstances(filter)) text += object->GetId().instanceId + object->GetData() + " ";
    return text;
  };
  EXPECT_EQ(R"(a{"id":"a","v":3,"k":4,"u":1} b{"id":"b","v":3,"k":4,"u":1} )",
            found(std::make_shared<FilterSpecObject>(Item(""))));
  EXPECT_EQ(R"(b{"id":"b","v":3,"k":4,"u":1} )", found(std::make_shared<FilterSpecObject>(Item("b"))));
  const auto pattern = std::make_shared<FilterSpecObject>(Item(""));
  pattern->SetValue("u", 2);
  EXPECT_EQ("", found(pattern));
  EXPECT_EQ("", found(nullptr));
  EXPECT_EQ("2000 GetInstances() API called for singleton object",
            Thrown([&] { store->GetInstances(std::make_shared<FilterSpecObject>(kTimeSource)); }));
}

TEST(Defaults, AreReadWhetherConfirmedOrNot) {
  Items store;
  EXPECT_EQ(nullptr, store->GetDefaultConfig(kTimeSource));
  store.Run(
      "INSERT INTO DefaultConfig(Component, ConfigGroup, Name, Value, Version, Success) VALUES ('clockd', 'sync', "
      "'time_source', '{\"method\":\"ntp\"}', '1.0', 0);");
  store.Run(
      "INSERT INTO DefaultConfig(Component, ConfigGroup, Name, Identifier, Value) VALUES ('c', 'g', 'item', 'd', "
      "'{\"u\":1}');");
  EXPECT_EQ(R"({"method":"ntp"})", store->GetDefaultConfig(kTimeSource)->GetData());
  EXPECT_EQ("1.0", store->GetDefaultConfig(kTimeSource)->GetVersion());
  EXPECT_EQ(R"({"u":1,"id":"d"})", store->GetDefaultConfig(Item("d"))->GetData());
  const auto instances = store->GetDefaultConfigInstances(std::make_shared<FilterSpecObject>(Item("")));
  ASSERT_EQ(1u, instances.size());
  EXPECT_EQ("d", instances[0]->GetId().instanceId);
}

TEST(FeatureSwitch, OffStopsLayerSetsAndUpdatesBehindTheirChecks) {
  Items off;
  off.Root().Write("/etc/halden/features", "ConfigStore=off\n");
  off->Update(Object("a", R"({"u":"x"})"), kExternal);
  off->SetVitalDataInstances({Object("a", R"({"v":9})")});
  EXPECT_EQ("2000 ConfigStoreObject list cannot be empty", Thrown([&] { off->SetVitalDataInstances({}); }));
  EXPECT_EQ("a AUVCD0; b AUVCD0", off.Shape());
}

}  // namespace
