#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

constexpr char kStack[] =
    R"({"hostname":"node7","hw_address":"02:00:5e:10:00:01","learned_domain":"lab.example","routing":{"mode":"static",)"
    R"("router_id":4294967297},"link":[{"name":"eth0","bus_path":"0000:03:00.0","lease":{"ip":"192.0.2.7"}},)"
    R"({"name":"eth1","enabled":false}]})";

const USERDATA_CONTEXT kExternal{USERDATA_CONTEXT::EXTERNAL};
const USERDATA_CONTEXT kAutomatic{USERDATA_CONTEXT::AUTOCONFIGURATION};
const char kDora[] = R"({"login":"a","uid":1})";

TEST(Objects, AreSplitStoredAndMergedBack) {
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

// AutoConfValue, UserValue, VitalValue, CachedValue and Success of a row, and what a read shows of it.
// clang-format off
const struct { const char *row, *merged; } kReadCases[] = {
    {"NULL, NULL, NULL, NULL, 1", "-"},  // the desired value is not read
    {R"('{"method":"2"}', '{"method":"3"}', '{"method":"0"}', '{"method":"1"}', 1)", R"({"method":"3"})"},
    {R"('{"method":"2"}', NULL, '{"method":"0"}', '{"method":"1"}', 1)", R"({"method":"2"})"},
    {R"(NULL, NULL, '{"method":"0"}', '{"method":"1"}', 1)", R"({"method":"1"})"},
    {R"(NULL, '{"method":"3"}', '{"method":"0"}', NULL, 0)", R"({"method":"0"})"},
    {R"(NULL, '{"method":"3"}', NULL, NULL, 0)", "-"},
    {R"('{"drift_ppm":1.5}', '{"ntp":{"poll_seconds":64}}', NULL, '{"ptp":{"domain":1}}', 1)",
     R"({"ptp":{"domain":1},"drift_ppm":1.5,"ntp":{"poll_seconds":64}})"},
};
// clang-format on

TEST(Reads, FoldTheLayersOfARow) {
  TestStore store;
  for (const auto& row : kReadCases) {
    PutRow(kTimeSource, "DesiredValue, AutoConfValue, UserValue, VitalValue, CachedValue, Success",
           R"('{"method":"4"}', )" + std::string(row.row));
    EXPECT_EQ(row.merged, store.Get(kTimeSource)) << row.row;
  }
}

TEST(Reads, OfADamagedLayerNameItInTheLog) {
  TestStore store;
  const std::pair<const char*, const char*> kCases[] = {{"{\"method\"", "1080 Failed to parse JSON String"},
                                                        {"[1]", "2000 Invalid JSON"},
                                                        {"", "1080 Failed to parse JSON String"}};
  for (const auto& [text, thrown] : kCases) {
    PutRow(kTimeSource, "UserValue", "'" + std::string(text) + "'");
    const LogCapture log(store.Root());
    EXPECT_EQ(thrown, Thrown([&] { store->Get(kTimeSource); }));
    EXPECT_EQ(0u, log.Lines()[1].find("Stored value is damaged: UserValue of component clockd group sync key "
                                      "time_source: "));
  }
  store.Run("DROP TABLE Config;");
  EXPECT_EQ(std::string("2000 Get failed: component clockd group sync key time_source: no such table: Config: ") +
                HaldenLib::kStoreFile,
            Thrown([&] { store->Get(kTimeSource); }));
  EXPECT_EQ(StorageError::MISSING, LastStorageError().kind);
}

TEST(Objects, ThatAreMissingOrEmptyAreLogged) {
  TestStore store;
  const LogCapture log(store.Root());
  EXPECT_EQ(nullptr, store->Get(kTimeSource));
  store->Set(nullptr, kExternal);
  EXPECT_EQ(
      (std::vector<std::string>{"Get invoked for: component clockd group sync key time_source, userdatacontext: 1",
                                "[1036]Configuration object not found: component clockd group sync key time_source",
                                "[1040]Set: Configuration object is empty"}),
      log.Lines());
}

// clang-format off
const struct { ConfigStoreObjectId id; const char *json, *thrown; } kRefusedCases[] = {
    {{"k", "g", "c"}, "{}", "2000 Schema not found for object: component c group g key k"},
    {{"time_source", "sync", "clockd", "x"}, "{}", "2000 Singleton object cannot contain instanceId"},
    {UserAccount(""), "{}", "2000 Non-Singleton object should contain instanceId"},
    {kStackSettings, R"({"hostname":"bad name","mtu":"big","extra":1,"routing":{"mode":"fast"}})",
     "1089 Failed to validate Set [/hostname: String does not match pattern: [A-Za-z0-9.-]+; /mtu: INCORRECT TYPE: "
     "expected integer.; : Additional property not allowed: extra; /routing/mode: String value not one of the enum "
     "options]"},
    {kStackSettings, "{}", "1089 Failed to validate Set [: Required property missing: hostname]"},
    {kTimeSource, R"({"method":"ptp","ntp":{"server":[]}})",
     "1089 Failed to validate Set [/ntp: Object does not follow UnionTag condition]"},
    {UserAccount("u1"), "{\"login\":\"a\",\"uid\":1,\"password_hash\":\"\u2022\u2022\u2022\"}",
     "1089 Failed to validate Set [/password_hash: Secret is masked, and nothing is stored that the mask could stand "
     "for]"},
    {UserAccount(std::string("a\0b", 3)), kDora, "2000 A name cannot hold a NUL byte."},
    {UserAccount(std::string(256, 'i')), kDora, "2000 instanceId is longer than 255 bytes"},
};
// clang-format on

TEST(Objects, ThatAreRefusedSayWhyAndChangeNothing) {
  TestStore store;
  store.Set(kStackSettings, kStack);
  const std::string before = store.Query("SELECT * FROM Config;");
  for (const auto& row : kRefusedCases) {
    EXPECT_EQ(row.thrown, Thrown([&] { store.Set(row.id, row.json); }));
    EXPECT_EQ(before, store.Query("SELECT * FROM Config;"));
  }
  EXPECT_EQ("2000 Invalid JSON string, should be  an object",
            Thrown([] { ConfigStore::CreateObject(kTimeSource, "[]"); }));
  EXPECT_EQ("1080 Failed to parse JSON String", Thrown([] { ConfigStore::CreateObject(kTimeSource, "{"); }));
  EXPECT_EQ("", ConfigStore::GetSchemaVersion(ConfigStoreObjectId("k", "g", "c")));
}

TEST(Objects, GiveNestedElementsTheIdentifierTheyLack) {
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

TEST(Secrets, ThatAreMaskedKeepWhatIsStored) {
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

TEST(UserData, WaitsForTheEndOfBootButForTheHostAndAnUpgrade) {
  TestStore store;
  SetKV("IS_BOOT", "true");
  EXPECT_EQ("2000 API cannot be invoked with EXTERNAL context during boot",
            Thrown([&] { store.Set(kTimeSource, R"({"method":"ntp"})"); }));
  const auto clock = ConfigStore::CreateObject(kTimeSource, R"({"method":"ntp"})");
  EXPECT_EQ("2000 API cannot be invoked with EXTERNAL context during boot",
            Thrown([&] { store->Update(clock, kExternal); }));
  EXPECT_EQ("", store.Layers("time_source"));
  store->Set(clock, kAutomatic);
  EXPECT_EQ(R"({"method":"ntp"} - - - - 1)", store.Layers("time_source"));
  {
    const OrvoConfigUpgrade::ScopedUpgradeLibrary upgrade({{}, [] { return true; }, {}});
    store.Set(kTimeSource, R"({"method":"ptp"})");
  }
  EXPECT_EQ(R"(- {"method":"ptp"} - - - 1)", store.Layers("time_source"));
  for (const char* text : {"", "True", "1", "false", "true "}) {
    SetKV("IS_BOOT", text);
    EXPECT_EQ("", Thrown([&] { store.Set(kTimeSource, R"({"method":"manual"})"); })) << text;
  }
}

TEST(BootMode, WithoutAStoreIsLoggedOrRefused) {
  const TempRoot withoutAStore;
  const LogCapture log(withoutAStore);
  SetBootMode(BOOTMODE_APPLY);
  EXPECT_EQ("Failed to connect to database.", log.Lines().back());
  EXPECT_EQ("2000 GetKV Failed", Thrown([] { IsBoot(); }));
}

TEST(CheckObject, SaysWhatASetWouldRefuseAndWritesNothing) {
  TestStore store;
  const auto found = [](const ConfigStoreObjectId& id, const char* json, USERDATA_CONTEXT context) {
    std::string text;
    for (const ErrorInfo& info : CheckObject(ConfigStore::CreateObject(id, json), context)) {
      text += info.field + ": " + info.error + "; ";
    }
    return text;
  };
  const USERDATA_CONTEXT outside{USERDATA_CONTEXT::EXTERNAL};
  const USERDATA_CONTEXT host{USERDATA_CONTEXT::AUTOCONFIGURATION};
  EXPECT_EQ("", found(kTimeSource, R"({"method":"ntp"})", outside));
  EXPECT_EQ("/method: INCORRECT TYPE: expected string.; ", found(kTimeSource, R"({"method":1})", host));
  EXPECT_NE("", found(UserAccount("a"), "{}", outside));  // required members
  EXPECT_EQ("", found(UserAccount("a"), "{}", host));
  EXPECT_EQ("2000 Schema not found for object: component c group b key a", Thrown([&] {
              found({"a", "b", "c"}, "{}", outside);
            }));
  EXPECT_EQ("", store.Layers("time_source"));
}

}  // namespace
