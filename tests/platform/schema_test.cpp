#include "platform/schema_check.h"

#include <unistd.h>

#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

// A schema file around a schema, an object's properties, and an array with `items` around an identifier "id".
std::string File(const std::string& schema, const std::string& version = "1.0") {
  return R"({"component":"c","group":"g","key":"k","version":")" + version + R"(","schema":)" + schema + "}";
}
std::string Properties(const std::string& properties) {
  return R"({"type":"object","properties":{)" + properties + "}}";
}
std::string Instances(const std::string& items) {
  return R"({"type":"array","instanceId":"id","items":)" + items + "}";
}

const std::string kElement =
    R"({"type":"object","required":["id"],"properties":{"id":{"type":"string","instanceId":true}}})";
const std::string kOtherIdentifier = R"({"type":"array","instanceId":"x","items":{"type":"object","required":["x"],)"
                                     R"("properties":{"x":{"type":"string","instanceId":true}}}})";

// The first fault, "PATH: TEXT"; "" when the schema is fine.
// clang-format off
const struct { std::string file; const char* fault; } kCheckCases[] = {
    {File(Properties(R"("a":{"type":"string"})")), ""},
    {File(Instances(kElement)), ""},
    {File(Properties(R"("a":{"type":"colour","hue":1,"title":"t"})")), ""},
    {"{", ": Not JSON, at byte 1: Missing a name for object member."},
    {"[1]", ": A schema file must be a JSON object."},
    {R"({"component":"c","group":"g","version":"1","schema":{}})", "/key: A schema file must name its \"key\"."},
    {File("{\"type\":\"object\"}", ""), "/version: A schema file must name its \"version\"."},
    {File("{\"type\":\"object\"}", "\\u0000"), "/version: Holds a NUL byte."},
    {File("{\"type\":\"object\"}", std::string(256, 'v')), "/version: Longer than 255 bytes."},
    {R"({"component":"c","group":"g","key":"k","version":"1"})",
     "/schema: A schema file must hold a \"schema\" object."},
    {File(R"({"type":"string"})"), "/schema/type: The root must be an \"object\" or an \"array\"."},
    {File("{}"), "/schema/type: The root must be an \"object\" or an \"array\"."},
    {File(R"({"type":"array","items":{"type":"object"}})"),
     "/schema: A type with instances must name its \"instanceId\"."},
    {File(Properties("\"a\":5")), "/schema/properties/a: A schema node must be an object."},
    {File(Properties("\"a\":{}")), "/schema/properties/a: A schema node must name its \"type\"."},
    {File(Properties(R"("a":{"type":"array"})")), "/schema/properties/a: An array must describe its \"items\"."},
    {File(Instances(R"({"type":"object","required":["id"]})")),
     "/schema/items/properties/id: The identifier is not described."},
    {File(Instances(R"({"type":"object","required":["id"],"properties":{"id":{"type":"long","instanceId":true}}})")),
     "/schema/items/properties/id: The identifier must be a string."},
    {File(Instances(R"({"type":"object","required":["id"],"properties":{"id":{"type":"string"}}})")),
     "/schema/items/properties/id: The identifier must be marked with \"instanceId\": true."},
    {File(Instances(R"({"type":"object","properties":{"id":{"type":"string","instanceId":true}}})")),
     "/schema/items/required: The identifier \"id\" must be required."},
    {File(Instances(R"({"type":"string"})")), "/schema/items/type: Instances must be objects."},
    {File(R"({"type":"object","instanceId":"id"})"),
     "/schema/instanceId: Only an array names the identifier of its instances."},
    {File(Properties("\"k\":" + Instances(kElement))),
     "/schema/properties/k: A nested array of instances cannot be named like the type."},
    {File(Properties("\"a\":" + Instances(kElement) + ",\"b\":" + Properties("\"a\":" + kOtherIdentifier))),
     "/schema/properties/b/properties/a/instanceId: Another array of this name is identified by \"id\"."},
    {File(Properties(R"("a":{"type":"array","items":)" + Properties(R"("v":{"type":"string","vital":true})") + "}")),
     "/schema/properties/a: Elements without an identifier cannot be split into layers and joined."},
    {File(Properties(R"("a":{"type":"string","pattern":"(["})")),
     "/schema/properties/a/pattern: The pattern does not compile: "},
    {File(Properties(R"("a":{"type":"string","optionDependency":{"name":"t","value":"x"}})")),
     "/schema/properties/a/optionDependency: \"optionDependency\" must hold a string \"name\" and a list of strings "},
    {File(Properties(R"("a":{"type":"string","enum":[1]})")),
     "/schema/properties/a/enum: \"enum\" must be a list of strings."},
    {File(Properties(R"("a":{"type":"double","minimum":1})")),
     "/schema/properties/a/minimum: A bound of a double must be written with a fraction or an exponent."},
    {File(Properties(R"("a":{"type":"string","maxLength":-1})")),
     "/schema/properties/a/maxLength: \"maxLength\" must be an integer from 0."},
};
// clang-format on

TEST(SchemaCheck, NamesTheFirstFault) {
  for (const auto& row : kCheckCases) {
    OrvoSchemaStore::SchemaRecord record;
    const auto faults = OrvoSchemaStore::CheckSchemaText(row.file, record);
    const std::string first = faults.empty() ? "" : faults.front().path + ": " + faults.front().text;
    EXPECT_EQ(row.fault, first.substr(0, std::string(row.fault).size()));
    EXPECT_EQ(faults.empty(), *row.fault == '\0') << first;
    EXPECT_EQ(faults.empty(), !record.schema.empty());
  }
}

TEST(SchemaStore, AChangeByAnotherProcessIsSeenByTheNextLookUp) {
  TestStore store;
  const ConfigStoreObjectId id("k", "g", "c");
  EXPECT_EQ(nullptr, store.Schema(id));
  const auto stamp = fs::file_time_type::clock::now() + std::chrono::hours(1);
  for (const char* version : {"1.0", "2.0", "3.0"}) {
    ASSERT_EQ(0, InChild([&] { return store.Register(File(Properties(R"("a":{"type":"string"})"), version)), 0; }));
    // As if all had been written within the grain of the file's time.
    fs::last_write_time(store.Root().Resolve(HaldenLib::kSchemaStoreFile), stamp);
    EXPECT_EQ(version, store.Schema(id)->GetVersion());
  }
  usleep(30000);  // until the file's time tells its states apart
  const auto kept = store.Schema(id);
  EXPECT_EQ(kept, store.Schema(id));
  EXPECT_EQ(nullptr, store.Schema(ConfigStoreObjectId("x' or '1'='1", "ipstack", "netd")));
  EXPECT_EQ("2000 A name cannot hold a NUL byte.",
            Thrown([&] { store.Schema(ConfigStoreObjectId(std::string("a\0b", 3), "g", "c")); }));
}

TEST(SchemaStore, WritesAllOrNothing) {
  TestStore store;
  const auto connection = DBStore::GetConnection(DBStore::TYPE_SCHEMA_STORE);
  const std::string all = "SELECT * FROM ConfigSchema";
  const std::string before = RowsOf(connection, all);
  EXPECT_EQ("", RowsOf(connection,
                       "CREATE TRIGGER fault BEFORE INSERT ON ConfigSchema WHEN NEW.Name='z' BEGIN SELECT "
                       "RAISE(ABORT, 'fault'); END;"));
  const auto record = [](const char* key) {
    return OrvoSchemaStore::SchemaRecord{"", "c", "g", key, "1", "{}", false};
  };
  EXPECT_EQ("2000 Failed to write the schema store.", Thrown([&] {
              OrvoSchemaStore::SchemaStore::GetStore()->SetSchema({record("a"), record("z")}, {""});
            }));
  EXPECT_EQ(before, RowsOf(connection, all));
}

}  // namespace
