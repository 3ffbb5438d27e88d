// Schemas and defaults from packages.

#include "lifecycle/test_host.h"

using namespace OrvoConfigStore;

namespace {

const std::string kComponents = HaldenLib::kComponentsDirectory;

std::string SchemaFile(const std::string& component, const std::string& key, const std::string& version = "1") {
  return R"({"component":")" + component + R"(","group":"g","key":")" + key + R"(","version":")" + version +
         R"(","schema":{"type":"object","properties":{"n":{"type":"integer"}}}})";
}

// A host with the packages "a" (types a/g/k and a/g/l) and "b" (b/g/k).
struct PackageHost : TestHost {
  PackageHost() {
    fs::remove_all(root.Resolve(kComponents));
    Write("a/schema/k.json", SchemaFile("a", "k"));
    Write("a/schema/l.json", SchemaFile("a", "l"));
    Write("b/schema/k.json", SchemaFile("b", "k"));
    RegisterSchemaFiles({root.Write("/by_hand.json", SchemaFile("hand", "k"))});
    EXPECT_TRUE(ProcessSchemas({"netd", "clockd", "accessd", "a", "b"}));
  }
  void Write(const std::string& name, const std::string& text) const { root.Write(kComponents + "/" + name, text); }
  void Remove(const std::string& name) const { fs::remove_all(root.Resolve(kComponents + "/" + name)); }
  // Returns "PACKAGE:COMPONENT/KEY/VERSION" of all types.
  static std::string Types() {
    return Query(
        "SELECT PakId || ':' || Component || '/' || Name || '/' || Version FROM ConfigSchema ORDER BY Component, Name;",
        DBStore::TYPE_SCHEMA_STORE);
  }
};

// Files that come ("" for those that go), packages that are listed, the types then, and why files are refused.
// clang-format off
using Files = std::vector<std::pair<const char*, std::string>>;
const char kBefore[] = "a:a/k/1; a:a/l/1; b:b/k/1; :hand/k/1";
const struct { const char* name; Files files; std::vector<std::string> packages; const char *types, *logged; }
kSchemaCases[] = {
    {"new version", {{"a/schema/k.json", SchemaFile("a", "k", "2")}}, {}, "a:a/k/2; a:a/l/1; b:b/k/1; :hand/k/1", ""},
    {"file gone", {{"a/schema/l.json", ""}}, {}, "a:a/k/1; b:b/k/1; :hand/k/1", ""},
    {"package gone", {{"a", ""}}, {}, kBefore, ""},
    {"package gone and listed", {{"a", ""}}, {"a"}, "b:b/k/1; :hand/k/1", ""},
    {"no packages at all", {{"", ""}}, {"a"}, kBefore, ""},
    {"other files", {{"a/schema/k.json~", "no schema"}, {"a/schema/.k.json", "no schema"}, {"README", "x"}}, {},
     kBefore, ""},
    {"taken over from the hand", {{"b/schema/h.json", SchemaFile("hand", "k")}}, {},
     "a:a/k/1; a:a/l/1; b:b/k/1; b:hand/k/1", ""},
    {"taken over from a package that is gone", {{"a", ""}, {"b/schema/a.json", SchemaFile("a", "k")}}, {},
     "b:a/k/1; a:a/l/1; b:b/k/1; :hand/k/1", ""},
    {"moved to another package", {{"a/schema/l.json", ""}, {"b/schema/l.json", SchemaFile("a", "l")}}, {},
     "a:a/k/1; b:a/l/1; b:b/k/1; :hand/k/1", ""},
    {"brought by two packages", {{"b/schema/l.json", SchemaFile("a", "l")}}, {}, kBefore,
     "components/b/schema/l.json: The type is that of "},
    {"brought by a package that is not listed", {{"b/schema/l.json", SchemaFile("a", "l", "2")}}, {"b"}, kBefore,
     "components/b/schema/l.json: The type belongs to the package a."},
    {"no JSON", {{"a/schema/k.json", SchemaFile("a", "k", "2")}, {"b/schema/k.json", "{"}}, {}, kBefore,
     "components/b/schema/k.json#: Not JSON, at byte 1: "},
    {"bad schema", {{"b/schema/z.json", R"({"component":"b","schema":{}})"}}, {}, kBefore,
     "components/b/schema/z.json#/key: A schema file must name its \"key\"."},
    {"directory", {{"b/schema/z.json/file", "x"}}, {}, kBefore, "components/b/schema/z.json: Is a directory"},
    {"name outside", {{"a/schema/k.json", SchemaFile("a", "k", "2")}}, {"a", "../components/b"}, kBefore,
     "components/../components/b: Invalid argument"},
};
// clang-format on

TEST(Schemas, AreRegisteredAllOrNone) {
  for (const auto& row : kSchemaCases) {
    SCOPED_TRACE(row.name);
    const PackageHost host;
    for (const auto& [name, text] : row.files) text.empty() ? host.Remove(name) : host.Write(name, text);
    const std::string refusal = row.logged;
    EXPECT_EQ(refusal.empty(), ProcessSchemas(row.packages));
    EXPECT_EQ(row.types, host.Types());
    EXPECT_TRUE(refusal.empty() || host.Logged(refusal));
  }
}

TEST(Schemas, AreNotWrittenWithoutNeed) {
  const PackageHost host;
  const std::string file = host.root.Resolve(HaldenLib::kSchemaStoreFile);
  const fs::file_time_type before = fs::last_write_time(file);
  EXPECT_TRUE(ProcessSchemas({}));
  EXPECT_EQ(before, fs::last_write_time(file));
}

TEST(Schemas, OfAHostWithoutPackagesLeaveEmptyDatabases) {
  const TempRoot root;
  EXPECT_FALSE(ProcessDefaultConfiguration({})) << "there is no store yet";
  EXPECT_TRUE(ProcessSchemas({}));
  EXPECT_NE(nullptr, ConfigStore::GetStore(""));
  EXPECT_TRUE(ListSchemas().empty());
}

std::string Defaults(const std::string& key, const std::string& group, const std::string& component,
                     const std::string& value) {
  return R"({"defaults":[{"key":")" + key + R"(","group":")" + group + R"(","component":")" + component +
         R"(","value":)" + value + "}]}";
}
std::string Clock(const std::string& value) {
  return Defaults("time_source", "sync", "clockd", value);
}
std::string Accounts(const std::string& value) {
  return Defaults("user_account", "local", "accessd", value);
}

// A file of defaults, and what the table of defaults holds then, each value with its version, but for
// identifiers that were generated; for a file that is refused, why.
// clang-format off
const struct { std::string file; const char *rows, *logged; } kDefaultCases[] = {
    {Clock(R"({"method":"ntp"})"), R"(clockd {"method":"ntp"} 1.0)", ""},
    {Accounts(R"([{"login":"a","uid":1},{"login":"b","uid":2}])"),
     R"(accessd {"login":"a","uid":1} 1.0; accessd {"login":"b","uid":2} 1.0)", ""},
    {Accounts(R"({"login":"a","uid":1})"), R"(accessd {"login":"a","uid":1} 1.0)", ""},
    {Defaults("none", "sync", "clockd", "{}"), "",
     "[1037]Schema object not found: component clockd group sync key none"},
    {Clock(R"({"method":"sundial"})"), "", "z.json#/defaults/0/method: String value not one of the enum options"},
    {Clock(R"([{"method":"ntp"}])"), "", "z.json#/defaults/0: INCORRECT TYPE: expected object."},
    {Accounts(R"([{"uid":1},{"login":"a","a/b":{"x":1,"x":2}}])"), "",
     "z.json#/defaults/0/value/1/a~1b/x: Member is there twice: x"},
    {R"({"defaults":[],"defaults":[]})", "", "z.json#/defaults: Member is there twice: defaults"},
    {Accounts("[null]"), "", "A default must be an object."},
    {Accounts(R"([{"cs_generated_id":null,"login":"a","uid":1}])"), "",
     "z.json#/defaults/0: Non-Singleton object should contain instanceId"},
    {R"({"defaults":[{"key":"time_source","group":"sync","component":"clockd"}]})", "",
     "An entry must have a \"value\"."},
    {R"({"default":[]})", "", "z.json: The file must hold a list of \"defaults\"."},
    {"[", "", "z.json: Not JSON, at byte "},
};
// clang-format on

TEST(Defaults, AreStoredAllOrNone) {
  for (const auto& row : kDefaultCases) {
    SCOPED_TRACE(row.file);
    const TestHost host;
    const std::string refusal = row.logged;
    for (const char* package : {"clockd", "accessd"}) fs::remove_all(host.PackagePath(package) + "/defaults");
    const std::string good = Clock(R"({"method":"ntp"})");
    if (!refusal.empty()) host.root.Write(kComponents + "/clockd/defaults/a.json", good);
    host.root.Write(kComponents + "/clockd/defaults/z.json", row.file);
    EXPECT_EQ(refusal.empty(), ProcessDefaultConfiguration({}));
    EXPECT_EQ(row.rows, host.Query("SELECT Component, replace(Value, ',\"cs_generated_id\":\"' || Identifier || '\"', "
                                   "''), Version FROM DefaultConfig ORDER BY Value;"));
    EXPECT_TRUE(refusal.empty() || host.Logged(refusal));
  }
}

TEST(Defaults, AreReplacedButForGeneratedIdentifiersOfTheVersion) {
  const TestHost host;
  ASSERT_TRUE(ProcessDefaultConfiguration({}));
  const char kIds[] = "SELECT group_concat(Identifier || Version) FROM DefaultConfig WHERE Name='user_account';";
  const std::string ids = host.Query(kIds), package = kComponents + "/accessd/";
  host.root.Write(package + "defaults/user_account.json", Accounts(R"([{"login":"admin","uid":1}])"));
  host.root.Write(kComponents + "/clockd/defaults/time_source.json", Clock(R"({"method":"ptp"})"));
  EXPECT_TRUE(ProcessDefaultConfiguration({"accessd", "clockd"}));
  EXPECT_EQ(ids, host.Query(kIds));
  EXPECT_EQ(R"({"method":"ptp"})", host.Query("SELECT Value FROM DefaultConfig WHERE Name='time_source';"));

  std::string schema = ExampleText("components/accessd/schema/user_account.json");
  schema.replace(schema.find("\"1.0\""), 5, "\"2.0\"");
  host.root.Write(package + "schema/user_account.json", schema);
  EXPECT_TRUE(ProcessSchemas({}));
  EXPECT_TRUE(ProcessDefaultConfiguration({"accessd"}));
  const auto defaults =
      ConfigStore::GetStore("")->GetDefaultConfigInstances(std::make_shared<FilterSpecObject>(UserAccount("")));
  ASSERT_EQ(1u, defaults.size()) << "those of the old version are gone";
  EXPECT_EQ(R"({"login":"admin","uid":1})", defaults.front()->GetData());
}

}  // namespace
