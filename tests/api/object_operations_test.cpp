#include <gtest/gtest.h>

#include "configstore/configstore.h"
#include "support/log_capture.h"
#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

constexpr char kStack[] =
    R"({"hostname":"node7","hw_address":"02:00:5e:10:00:01","learned_domain":"lab.example","routing":{"mode":"static",)"
    R"("router_id":4294967297},"link":[{"name":"eth0","bus_path":"0000:03:00.0","lease":{"ip":"192.0.2.7"}},)"
    R"({"name":"eth1","enabled":false}]})";

const USERDATA_CONTEXT kExternal{USERDATA_CONTEXT::EXTERNAL};
const USERDATA_CONTEXT kAutomatic{USERDATA_CONTEXT::AUTOCONFIGURATION};

TEST(ObjectOperations, AnObjectIsSplitStoredAndMergedBack) {
  TestStore store;
  store.Set(kStackSettings, kStack);
  EXPECT_EQ(
      R"(- {"hostname":"node7","routing":{"mode":"static"},"link":[{"name":"eth0"},{"name":"eth1","enabled":false}]} )"
      R"({"hw_address":"02:00:5e:10:00:01","routing":{"router_id":4294967297},)"
      R"("link":[{"name":"eth0","bus_path":"0000:03:00.0"}]} )"
      R"({"learned_domain":"lab.example","link":[{"name":"eth0","lease":{"ip":"192.0.2.7"}}]} - 1)",
      store.Layers("stack_settings"));
  const auto object = store->Get(kStackSettings);
  EXPECT_EQ("1.0", object->GetVersion());
  EXPECT_EQ(19u, object->GetCreationTime().size());
  EXPECT_EQ(19u, object->GetModifiedTime().size());
  EXPECT_EQ(
      R"({"hw_address":"02:00:5e:10:00:01","routing":{"router_id":4294967297,"mode":"static"},)"
      R"("link":[{"name":"eth0","bus_path":"0000:03:00.0","lease":{"ip":"192.0.2.7"}},{"name":"eth1","enabled":false}],)"
      R"("learned_domain":"lab.example","hostname":"node7"})",
      object->GetData());
}

// Which layers of a row a read shows.
struct ReadCase {
  const char* name;
  const char* row;  // AutoConfValue, UserValue, VitalValue, CachedValue, Success
  const char* merged;
};

const ReadCase kReadCases[] = {
    {"NoLayer", "NULL, NULL, NULL, NULL, 1", "-"},
    {"DesiredAloneIsNotRead", "NULL, NULL, NULL, NULL, 1", "-"},
    {"LaterLayersWin", R"('{"method":"2"}', '{"method":"3"}', '{"method":"0"}', '{"method":"1"}', 1)",
     R"({"method":"3"})"},
    {"AutomaticOverCached", R"('{"method":"2"}', NULL, '{"method":"0"}', '{"method":"1"}', 1)", R"({"method":"2"})"},
    {"CachedOverVital", R"(NULL, NULL, '{"method":"0"}', '{"method":"1"}', 1)", R"({"method":"1"})"},
    {"UnconfirmedUserIsNotRead", R"(NULL, '{"method":"3"}', '{"method":"0"}', NULL, 0)", R"({"method":"0"})"},
    {"OnlyAnUnconfirmedUser", R"(NULL, '{"method":"3"}', NULL, NULL, 0)", "-"},
    {"LayersJoin", R"('{"drift_ppm":1.5}', '{"ntp":{"poll_seconds":64}}', NULL, '{"ptp":{"domain":1}}', 1)",
     R"({"ptp":{"domain":1},"drift_ppm":1.5,"ntp":{"poll_seconds":64}})"},
};

class Reads : public testing::TestWithParam<ReadCase> {};

TEST_P(Reads, FoldTheLayersOfARow) {
  TestStore store;
  store.Run(
      "INSERT INTO Config(Component, ConfigGroup, Name, DesiredValue, AutoConfValue, UserValue, VitalValue, "
      "CachedValue, Success) VALUES ('clockd', 'sync', 'time_source', '{\"method\":\"4\"}', " +
      std::string(GetParam().row) + ");");
  EXPECT_EQ(GetParam().merged, store.Get(kTimeSource));
}

INSTANTIATE_TEST_SUITE_P(Rows, Reads, testing::ValuesIn(kReadCases),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(ObjectOperations, WhatIsMissingIsEmptyAndLogged) {
  TestStore store;
  LogCapture log(store.Root());
  EXPECT_EQ(nullptr, store->Get(kTimeSource));
  EXPECT_EQ(
      (std::vector<std::string>{"Get invoked for: component clockd group sync key time_source, userdatacontext: 1",
                                "[1036]Configuration object not found: component clockd group sync key "
                                "time_source"}),
      log.Lines());
}

TEST(ObjectOperations, EmptyObjectsAreLoggedAndIgnored) {
  TestStore store;
  LogCapture log(store.Root());
  store->Set(nullptr, kExternal);
  EXPECT_EQ(std::vector<std::string>{"[1040]Set: Configuration object is empty"}, log.Lines());
}

// Writes that are refused; nothing stored may change.
struct RefusedCase {
  const char* name;
  ConfigStoreObjectId id;
  const char* json;
  const char* thrown;
};

const RefusedCase kRefusedCases[] = {
    {"UnknownType", {"k", "g", "c"}, "{}", "2000 Schema not found for object: component c group g key k"},
    {"InstanceOfASingleton",
     {"time_source", "sync", "clockd", "x"},
     "{}",
     "2000 Singleton object cannot contain instanceId"},
    {"InstanceLeftOut",
     {"user_account", "local", "accessd"},
     "{}",
     "2000 Non-Singleton object should contain instanceId"},
    {"EveryViolationIsListed", kStackSettings,
     R"({"hostname":"bad name","mtu":"big","extra":1,"routing":{"mode":"fast"}})",
     "1089 Failed to validate Set [/hostname: String does not match pattern: [A-Za-z0-9.-]+; /mtu: INCORRECT TYPE: "
     "expected integer.; : Additional property not allowed: extra; /routing/mode: String value not one of the enum "
     "options]"},
    {"RequiredUserMember", kStackSettings, "{}", "1089 Failed to validate Set [: Required property missing: hostname]"},
    {"UnionTag", kTimeSource, R"({"method":"ptp","ntp":{"server":[]}})",
     "1089 Failed to validate Set [/ntp: Object does not follow UnionTag condition]"},
    {"MaskWithNothingBehindIt", UserAccount("u1"),
     "{\"login\":\"a\",\"uid\":1,\"password_hash\":\"\u2022\u2022\u2022\"}",
     "1089 Failed to validate Set [/password_hash: Secret is masked, and nothing is stored that the mask could stand "
     "for]"},
    {"NulInTheInstance", UserAccount(std::string("a\0b", 3)), R"({"login":"a","uid":1})",
     "2000 A name cannot hold a NUL byte."},
    {"LongInstance", UserAccount(std::string(256, 'i')), R"({"login":"a","uid":1})",
     "2000 instanceId is longer than 255 bytes"},
};

class RefusedWrites : public testing::TestWithParam<RefusedCase> {};

TEST_P(RefusedWrites, SayWhyAndChangeNothing) {
  TestStore store;
  store.Set(kStackSettings, kStack);
  const std::string before = store.Query("SELECT * FROM Config;");
  EXPECT_EQ(GetParam().thrown, Thrown([&] { store.Set(GetParam().id, GetParam().json); }));
  EXPECT_EQ(before, store.Query("SELECT * FROM Config;"));
}

INSTANTIATE_TEST_SUITE_P(Objects, RefusedWrites, testing::ValuesIn(kRefusedCases),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(ObjectOperations, ANameIsABytestringAndNeverSql) {
  TestStore store;
  const std::string names[] = {"it's",     "a'; DROP TABLE Config; --", "100%s %1$s", "line\nbreak", "a@b#/c",
                               "\xff\xfe", std::string(255, 'n')};
  for (const std::string& name : names) {
    store.Set(UserAccount(name), R"({"login":"a","uid":1})");
  }
  for (const std::string& name : names) {
    std::string id;
    store->Get(UserAccount(name))->GetValue("cs_generated_id", &id);
    EXPECT_EQ(name, id);
    EXPECT_EQ(R"({"login":"a","uid":1})", store.Get(UserAccount(name)));
    store->Delete(UserAccount(name));
    EXPECT_EQ("-", store.Get(UserAccount(name)));
    store->Delete(UserAccount(name));
  }
  EXPECT_EQ("0", store.Query("SELECT count(*) FROM Config;"));
}

TEST(ObjectOperations, NestedElementsAreGivenTheIdentifierTheyLack) {
  TestStore store;
  const auto object = ConfigStore::CreateObject(
      kStackSettings,
      R"({"hostname":"n","link":[{"name":"eth0","address":[{"ip":"192.0.2.1"},{"cs_generated_id":"kept","ip":"x"}]}]})");
  store->Set(object, kExternal);
  const auto filter = std::make_shared<FilterSpecObject>("address", "ipstack", "netd", nullptr);
  const auto stored = store->Get(kStackSettings)->GetSubObject(SubObjectId("link", "eth0"));
  const auto addresses = stored->GetSubObjectInstances(filter);
  ASSERT_EQ(2u, addresses.size());
  EXPECT_EQ(36u, addresses[0]->GetId().instanceId.size());
  EXPECT_EQ("kept", addresses[1]->GetId().instanceId);
  EXPECT_EQ(stored->GetData(), object->GetSubObject(SubObjectId("link", "eth0"))->GetData());
}

TEST(ObjectOperations, AMaskedSecretKeepsWhatIsStored) {
  TestStore store;
  const ConfigStoreObjectId id = UserAccount("u1");
  store.Set(id, R"({"login":"a","uid":1,"password_hash":"s3cret"})");
  const std::string shown = MaskSecrets(id, store.Get(id));
  EXPECT_EQ(std::string(R"({"login":"a","uid":1,"password_hash":")") + kSecretMask + "\"}", shown);
  store.Set(id, shown);
  EXPECT_EQ(R"({"login":"a","uid":1,"password_hash":"s3cret"})", store.Get(id));
  EXPECT_EQ(kSecretMask, MaskSecrets(id, "no JSON"));
  EXPECT_EQ("no JSON", MaskSecrets(kTimeSource, "no JSON"));
}

TEST(ObjectOperations, UserDataWaitsForTheEndOfBoot) {
  TestStore store;
  SetKV("IS_BOOT", "true");
  EXPECT_EQ("2000 API cannot be invoked with EXTERNAL context during boot",
            Thrown([&] { store.Set(kTimeSource, R"({"method":"ntp"})"); }));
  EXPECT_EQ("", store.Layers("time_source"));
  store->Set(ConfigStore::CreateObject(kTimeSource, R"({"method":"ntp"})"), kAutomatic);
  EXPECT_EQ(R"({"method":"ntp"} - - - - 1)", store.Layers("time_source"));
  {
    OrvoConfigUpgrade::UpgradeFunctions functions;
    functions.getUpgradeRunner = [] { return true; };
    const OrvoConfigUpgrade::ScopedUpgradeLibrary upgrade(functions);
    store.Set(kTimeSource, R"({"method":"ptp"})");
  }
  EXPECT_EQ(R"(- {"method":"ptp"} - - - 1)", store.Layers("time_source"));
  SetKV("IS_BOOT", "");
  store.Set(kTimeSource, R"({"method":"manual"})");
}

TEST(ObjectOperations, ADamagedLayerNamesItselfInTheLog) {
  TestStore store;
  for (const auto& [text, thrown] :
       {std::pair("{\"method\"", "1080 Failed to parse JSON String"), std::pair("[1]", "2000 Invalid JSON"),
        std::pair("", "1080 Failed to parse JSON String")}) {
    store.Run(std::string("INSERT OR REPLACE INTO Config(Component, ConfigGroup, Name, UserValue) VALUES ('clockd', "
                          "'sync', 'time_source', '") +
              text + "');");
    LogCapture log(store.Root());
    EXPECT_EQ(thrown, Thrown([&] { store->Get(kTimeSource); }));
    EXPECT_EQ(0u, log.Lines()[1].find("Stored value is damaged: UserValue of component clockd group sync key "
                                      "time_source: "));
  }
}

TEST(ObjectOperations, CreatedObjectsMustBeObjects) {
  TestStore store;
  EXPECT_EQ("2000 Invalid JSON string, should be  an object",
            Thrown([] { ConfigStore::CreateObject(kTimeSource, "[]"); }));
  EXPECT_EQ("1080 Failed to parse JSON String", Thrown([] { ConfigStore::CreateObject(kTimeSource, "{"); }));
  EXPECT_EQ("1.0", ConfigStore::GetSchemaVersion(kTimeSource));
  EXPECT_EQ("", ConfigStore::GetSchemaVersion(ConfigStoreObjectId("k", "g", "c")));
}

TEST(BootState, OnlyTheWordTrueCounts) {
  TestStore store;
  for (const char* text : {"", "True", "1", "false", "true "}) {
    SetKV("IS_BOOT", text);
    EXPECT_FALSE(IsBoot()) << text;
  }
  SetKV("IS_BOOT", "true");
  EXPECT_TRUE(IsBoot());
  EXPECT_EQ("", GetKV("BACKUP_FILES"));
  EXPECT_FALSE(GetNextBootMode());
  SetBootMode(BOOTMODE_APPLY);
  EXPECT_EQ("true", GetKV("APPLY_BOOT"));
  EXPECT_TRUE(GetNextBootMode());
  SetBootMode(BOOTMODE_NORMAL);
  EXPECT_EQ("false", GetKV("APPLY_BOOT"));
}

TEST(BootState, WithoutAStoreReadingFailsAndSettingIsLogged) {
  TempRoot root;
  LogCapture log(root);
  SetBootMode(BOOTMODE_APPLY);
  EXPECT_EQ("Failed to connect to database.", log.Lines().back());
  EXPECT_EQ("2000 GetKV Failed", Thrown([] { IsBoot(); }));
}

// A store file that cannot serve, and what a read and a write then say.
struct PlaceCase {
  const char* name;
  void (*spoil)(TestStore& store);
  StorageError::Kind kind;
};

const PlaceCase kPlaceCases[] = {
    {"Empty", [](TestStore& s) { s.Root().Write("/etc/halden/configstore/current-store-1", ""); },
     StorageError::MISSING},
    {"Foreign", [](TestStore& s) { s.Root().Write("/etc/halden/configstore/current-store-1", std::string(8192, 'x')); },
     StorageError::DAMAGED},
    {"NoTables",
     [](TestStore& s) {
       s.Run("DROP TABLE Config;");
       s.Run("DROP TABLE KVTable;");
     },
     StorageError::MISSING},
};

class SpoiltStore : public testing::TestWithParam<PlaceCase> {};

TEST_P(SpoiltStore, GivesErrorsThatSayWhy) {
  TestStore store;
  const std::string bytes = store.Root().Read("/etc/halden/configstore/current-store-1");
  GetParam().spoil(store);
  store.store = ConfigStore::GetStore("");
  ASSERT_NE(nullptr, store.store);
  EXPECT_EQ(0u, Thrown([&] { store->Get(kTimeSource); }).find("2000 Get failed: component clockd"));
  EXPECT_EQ(GetParam().kind, LastStorageError().kind) << LastStorageError().message;
  EXPECT_NE("", Thrown([&] { store.Set(kTimeSource, R"({"method":"ntp"})"); }));
}

INSTANTIATE_TEST_SUITE_P(Places, SpoiltStore, testing::ValuesIn(kPlaceCases),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
