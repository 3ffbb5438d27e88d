// Schemas and defaults from packages.

#include <gtest/gtest.h>

#include "lifecycle/test_host.h"

using namespace OrvoConfigStore;

namespace {

namespace fs = std::filesystem;

const std::string kComponents = HaldenLib::kComponentsDirectory;

std::string SchemaFile(const std::string& component, const std::string& key, const std::string& version = "1") {
  return R"({"component":")" + component + R"(","group":"g","key":")" + key + R"(","version":")" + version +
         R"(","schema":{"type":"object","properties":{"n":{"type":"integer"}}}})";
}

// A host with the packages "a" (types a/g/k and a/g/l) and "b" (b/g/k).
class PackageHost : public TestHost {
 public:
  PackageHost() {
    fs::remove_all(root.Resolve(kComponents));
    Write("a/schema/k.json", SchemaFile("a", "k"));
    Write("a/schema/l.json", SchemaFile("a", "l"));
    Write("b/schema/k.json", SchemaFile("b", "k"));
    RegisterSchemaFiles({root.Write("/by_hand.json", SchemaFile("hand", "k"))});
    EXPECT_TRUE(ProcessSchemas({"netd", "clockd", "accessd", "a", "b"}));
  }
  std::string Write(const std::string& name, const std::string& text) const {
    return root.Write(kComponents + "/" + name, text);
  }
  void Remove(const std::string& name) const { fs::remove_all(root.Resolve(kComponents + "/" + name)); }
  // Returns "PACKAGE:COMPONENT/KEY/VERSION" of all types.
  std::string Types() const {
    return Query(
        "SELECT PakId || ':' || Component || '/' || Name || '/' || Version FROM ConfigSchema ORDER BY "
        "Component, Name;",
        DBStore::TYPE_SCHEMA_STORE);
  }
};

const char kAsTheyWere[] = "a:a/k/1; a:a/l/1; b:b/k/1; :hand/k/1";

struct SchemaCase {
  const char* name;
  void (*change)(const PackageHost& host);
  std::vector<std::string> packages;
  const char* types;
  const char* logged;  // when they are refused
};

const SchemaCase kSchemaCases[] = {
    {"NewVersion",
     [](const PackageHost& h) { h.Write("a/schema/k.json", SchemaFile("a", "k", "2")); },
     {},
     "a:a/k/2; a:a/l/1; b:b/k/1; :hand/k/1",
     nullptr},
    {"FileGone", [](const PackageHost& h) { h.Remove("a/schema/l.json"); }, {}, "a:a/k/1; b:b/k/1; :hand/k/1", nullptr},
    {"PackageGone", [](const PackageHost& h) { h.Remove("a"); }, {}, kAsTheyWere, nullptr},
    {"PackageGoneAndListed", [](const PackageHost& h) { h.Remove("a"); }, {"a"}, "b:b/k/1; :hand/k/1", nullptr},
    {"NoPackagesAtAll", [](const PackageHost& h) { h.Remove(""); }, {"a"}, kAsTheyWere, nullptr},
    {"OtherFilesAreLeftAlone",
     [](const PackageHost& h) {
       h.Write("a/schema/k.json~", "no schema");
       h.Write("a/schema/.k.json", "no schema");
       h.Write("README", "no package");
     },
     {},
     kAsTheyWere,
     nullptr},
    {"TakenOverFromTheHand",
     [](const PackageHost& h) { h.Write("b/schema/h.json", SchemaFile("hand", "k")); },
     {},
     "a:a/k/1; a:a/l/1; b:b/k/1; b:hand/k/1",
     nullptr},
    {"TakenOverFromAPackageThatIsGone",
     [](const PackageHost& h) {
       h.Remove("a");
       h.Write("b/schema/a.json", SchemaFile("a", "k"));
     },
     {},
     "b:a/k/1; a:a/l/1; b:b/k/1; :hand/k/1",
     nullptr},
    {"MovedToAnotherPackage",
     [](const PackageHost& h) {
       h.Remove("a/schema/l.json");
       h.Write("b/schema/l.json", SchemaFile("a", "l"));
     },
     {},
     "a:a/k/1; b:a/l/1; b:b/k/1; :hand/k/1",
     nullptr},
    {"BroughtByTwoPackages",
     [](const PackageHost& h) { h.Write("b/schema/l.json", SchemaFile("a", "l")); },
     {},
     kAsTheyWere,
     "components/b/schema/l.json: The type is that of "},
    {"BroughtByAPackageThatIsNotListed",
     [](const PackageHost& h) { h.Write("b/schema/l.json", SchemaFile("a", "l", "2")); },
     {"b"},
     kAsTheyWere,
     "components/b/schema/l.json: The type belongs to the package a."},
    {"NoJson",
     [](const PackageHost& h) {
       h.Write("a/schema/k.json", SchemaFile("a", "k", "2"));
       h.Write("b/schema/k.json", "{");
     },
     {},
     kAsTheyWere,
     "components/b/schema/k.json#: Not JSON, at byte 1: "},
    {"BadSchema",
     [](const PackageHost& h) { h.Write("b/schema/z.json", R"({"component":"b","schema":{}})"); },
     {},
     kAsTheyWere,
     "components/b/schema/z.json#/key: A schema file must name its \"key\"."},
    {"Directory",
     [](const PackageHost& h) { h.Write("b/schema/z.json/file", ""); },
     {},
     kAsTheyWere,
     "components/b/schema/z.json: Is a directory"},
    {"NameOutside",
     [](const PackageHost& h) { h.Write("a/schema/k.json", SchemaFile("a", "k", "2")); },
     {"a", "../components/b"},
     kAsTheyWere,
     "components/../components/b: Invalid argument"},
};

class Schemas : public testing::TestWithParam<SchemaCase> {};

TEST_P(Schemas, AreRegisteredAllOrNone) {
  const PackageHost host;
  GetParam().change(host);
  const char* const logged = GetParam().logged;
  EXPECT_EQ(logged == nullptr, ProcessSchemas(GetParam().packages));
  EXPECT_EQ(GetParam().types, host.Types());
  EXPECT_TRUE(logged == nullptr || host.Logged(logged));
}

INSTANTIATE_TEST_SUITE_P(Packages, Schemas, testing::ValuesIn(kSchemaCases),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(Packages, DatabasesExistAfterwardsEvenWithoutAny) {
  const TempRoot root;
  EXPECT_TRUE(ProcessSchemas({}));
  EXPECT_NE(nullptr, ConfigStore::GetStore(""));
  EXPECT_TRUE(ListSchemas().empty());
}

TEST(Packages, SchemaStoreIsNotWrittenWithoutNeed) {
  const PackageHost host;
  const std::string file = host.root.Resolve(HaldenLib::kSchemaStoreFile);
  const fs::file_time_type before = fs::last_write_time(file);
  EXPECT_TRUE(ProcessSchemas({}));
  EXPECT_EQ(before, fs::last_write_time(file));
}

std::string Defaults(const std::string& key, const std::string& group, const std::string& component,
                     const std::string& value) {
  return R"({"defaults":[{"key":")" + key + R"(","group":")" + group + R"(","component":")" + component +
         R"(","value":)" + value + "}]}";
}

// A file of defaults, and what the table of defaults holds then: values, each with
// its version; identifiers that were generated are left out.
struct DefaultCase {
  const char* name;
  std::string file;
  const char* rows;
  const char* logged;  // of a file that is refused
};

const std::string kGoodDefaults = Defaults("time_source", "sync", "clockd", R"({"method":"ntp"})");
const char kTimeRow[] = R"(clockd {"method":"ntp"} 1.0)";
const DefaultCase kDefaultCases[] = {
    {"Single", kGoodDefaults, kTimeRow, nullptr},
    {"Instances", Defaults("user_account", "local", "accessd", R"([{"login":"a","uid":1},{"login":"b","uid":2}])"),
     R"(accessd {"login":"a","uid":1} 1.0; accessd {"login":"b","uid":2} 1.0)", nullptr},
    {"OneInstance", Defaults("user_account", "local", "accessd", R"({"login":"a","uid":1})"),
     R"(accessd {"login":"a","uid":1} 1.0)", nullptr},
    {"UnknownType", Defaults("none", "sync", "clockd", "{}"), "",
     "[1037]Schema object not found: component clockd group sync key none"},
    {"Invalid", Defaults("time_source", "sync", "clockd", R"({"method":"sundial"})"), "",
     "z.json#/defaults/0/method: String value not one of the enum options"},
    {"ListOfASingle", Defaults("time_source", "sync", "clockd", R"([{"method":"ntp"}])"), "",
     "z.json#/defaults/0: INCORRECT TYPE: expected object."},
    {"NullInAList", Defaults("user_account", "local", "accessd", "[null]"), "", "A default must be an object."},
    {"NullAsIdentifier",
     Defaults("user_account", "local", "accessd", R"([{"cs_generated_id":null,"login":"a","uid":1}])"), "",
     "z.json#/defaults/0: Non-Singleton object should contain instanceId"},
    {"NoValue", R"({"defaults":[{"key":"time_source","group":"sync","component":"clockd"}]})", "",
     "An entry must have a \"value\"."},
    {"NoList", R"({"default":[]})", "", "z.json: The file must hold a list of \"defaults\"."},
    {"NoJson", "[", "", "z.json: Not JSON, at byte "},
};

class DefaultFiles : public testing::TestWithParam<DefaultCase> {};

const char kDefaultRows[] =
    "SELECT Component, replace(Value, ',\"cs_generated_id\":\"' || Identifier || '\"', ''), Version FROM DefaultConfig "
    "ORDER BY Value;";

void RemoveDefaults(const TestHost& host) {
  for (const char* package : {"clockd", "accessd"}) fs::remove_all(host.PackagePath(package) + "/defaults");
}

TEST_P(DefaultFiles, AreStoredWhenTheyAreGood) {
  const TestHost host;
  const char* const logged = GetParam().logged;
  RemoveDefaults(host);
  if (logged != nullptr) host.root.Write(kComponents + "/clockd/defaults/a.json", kGoodDefaults);
  host.root.Write(kComponents + "/clockd/defaults/z.json", GetParam().file);
  EXPECT_EQ(logged == nullptr, ProcessDefaultConfiguration({}));
  EXPECT_EQ(GetParam().rows, host.Query(kDefaultRows)) << "all or nothing";
  EXPECT_TRUE(logged == nullptr || host.Logged(logged));
}

INSTANTIATE_TEST_SUITE_P(Kinds, DefaultFiles, testing::ValuesIn(kDefaultCases),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(Defaults, AreReplacedButForGeneratedIdentifiersOfTheVersion) {
  const TestHost host;
  ASSERT_TRUE(ProcessDefaultConfiguration({}));
  const char kIds[] = "SELECT group_concat(Identifier || Version) FROM DefaultConfig WHERE Name='user_account';";
  const std::string ids = host.Query(kIds);
  const std::string accounts = kComponents + "/accessd/";
  host.root.Write(accounts + "defaults/user_account.json",
                  Defaults("user_account", "local", "accessd", R"([{"login":"admin","uid":1}])"));
  host.root.Write(kComponents + "/clockd/defaults/time_source.json",
                  Defaults("time_source", "sync", "clockd", R"({"method":"ptp"})"));
  EXPECT_TRUE(ProcessDefaultConfiguration({"accessd", "clockd"}));
  EXPECT_EQ(ids, host.Query(kIds));
  EXPECT_EQ(R"({"method":"ptp"})", host.Query("SELECT Value FROM DefaultConfig WHERE Name='time_source';"));

  std::string schema = ExampleText("components/accessd/schema/user_account.json");
  schema.replace(schema.find("\"1.0\""), 5, "\"2.0\"");
  host.root.Write(accounts + "schema/user_account.json", schema);
  EXPECT_TRUE(ProcessSchemas({}));
  EXPECT_TRUE(ProcessDefaultConfiguration({"accessd"}));
  const auto filter = std::make_shared<FilterSpecObject>(ConfigStoreObjectId("user_account", "local", "accessd"));
  const auto defaults = ConfigStore::GetStore("")->GetDefaultConfigInstances(filter);
  ASSERT_EQ(1u, defaults.size()) << "those of the old version are gone";
  EXPECT_EQ(R"({"login":"admin","uid":1})", defaults.front()->GetData());
}

TEST(Defaults, OfAHostWithoutAStoreAreRefused) {
  const TempRoot root;
  EXPECT_FALSE(ProcessDefaultConfiguration({}));
}

}  // namespace
