#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include "platform/schema_check.h"
#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

// A schema file around a schema.
std::string File(const std::string& schema, const std::string& version = "1.0") {
  return R"({"component":"c","group":"g","key":"k","version":")" + version + R"(","schema":)" + schema + "}";
}

std::string Properties(const std::string& properties) {
  return R"({"type":"object","properties":{)" + properties + "}}";
}

// An array of instances with `items` around an identifier "id".
std::string Instances(const std::string& items) {
  return R"({"type":"array","instanceId":"id","items":)" + items + "}";
}

const char kElement[] =
    R"({"type":"object","required":["id"],"properties":{"id":{"type":"string","instanceId":true}}})";

struct CheckCase {
  const char* name;
  std::string file;
  const char* fault;  // "PATH: TEXT" of the first; "" when the schema is fine
};

const CheckCase kCheckCases[] = {
    {"Singleton", File(Properties(R"("a":{"type":"string"})")), ""},
    {"InstanceType", File(Instances(kElement)), ""},
    {"UnknownKeywordsAndTypes", File(Properties(R"("a":{"type":"colour","hue":1,"title":"t"})")), ""},
    {"NotJson", "{", ": Not JSON, at byte 1: Missing a name for object member."},
    {"NoObject", "[1]", ": A schema file must be a JSON object."},
    {"NoKey", R"({"component":"c","group":"g","version":"1","schema":{"type":"object"}})",
     "/key: A schema file must name its \"key\"."},
    {"EmptyVersion", File("{\"type\":\"object\"}", ""), "/version: A schema file must name its \"version\"."},
    {"LongVersion", File("{\"type\":\"object\"}", std::string(256, 'v')), "/version: Longer than 255 bytes."},
    {"NoSchema", R"({"component":"c","group":"g","key":"k","version":"1"})",
     "/schema: A schema file must hold a \"schema\" object."},
    {"ScalarRoot", File(R"({"type":"string"})"), "/schema/type: The root must be an \"object\" or an \"array\"."},
    {"NoTypeRoot", File("{}"), "/schema/type: The root must be an \"object\" or an \"array\"."},
    {"RootWithoutIdentifier", File(R"({"type":"array","items":{"type":"object"}})"),
     "/schema: A type with instances must name its \"instanceId\"."},
    {"NodeIsNoObject", File(Properties("\"a\":5")), "/schema/properties/a: A schema node must be an object."},
    {"NodeWithoutType", File(Properties("\"a\":{}")), "/schema/properties/a: A schema node must name its \"type\"."},
    {"ArrayWithoutItems", File(Properties(R"("a":{"type":"array"})")),
     "/schema/properties/a: An array must describe its \"items\"."},
    {"IdentifierNotDescribed", File(Instances(R"({"type":"object","required":["id"]})")),
     "/schema/items/properties/id: The identifier is not described."},
    {"IdentifierNoString",
     File(Instances(R"({"type":"object","required":["id"],"properties":{"id":{"type":"long","instanceId":true}}})")),
     "/schema/items/properties/id: The identifier must be a string."},
    {"IdentifierNotMarked",
     File(Instances(R"({"type":"object","required":["id"],"properties":{"id":{"type":"string"}}})")),
     "/schema/items/properties/id: The identifier must be marked with \"instanceId\": true."},
    {"IdentifierNotRequired",
     File(Instances(R"({"type":"object","properties":{"id":{"type":"string","instanceId":true}}})")),
     "/schema/items/required: The identifier \"id\" must be required."},
    {"ScalarInstances", File(Instances(R"({"type":"string"})")), "/schema/items/type: Instances must be objects."},
    {"IdentifierOnAnObject", File(R"({"type":"object","instanceId":"id"})"),
     "/schema/instanceId: Only an array names the identifier of its instances."},
    {"NamedLikeTheType", File(Properties("\"k\":" + Instances(kElement))),
     "/schema/properties/k: A nested array of instances cannot be named like the type."},
    {"OneNameTwoIdentifiers",
     File(Properties("\"a\":" + Instances(kElement) + ",\"b\":" +
                     Properties(R"("a":{"type":"array","instanceId":"x","items":{"type":"object","required":["x"],)"
                                R"("properties":{"x":{"type":"string","instanceId":true}}}})"))),
     "/schema/properties/b/properties/a/instanceId: Another array of this name is identified by \"id\"."},
    {"LayersWithoutIdentifier",
     File(Properties(
         R"("a":{"type":"array","items":{"type":"object","properties":{"v":{"type":"string","vital":true}}}})")),
     "/schema/properties/a: Elements without an identifier cannot be split into layers and joined."},
    {"BadPattern", File(Properties(R"("a":{"type":"string","pattern":"(["})")),
     "/schema/properties/a/pattern: The pattern does not compile: "},
    {"BadUnionTag", File(Properties(R"("a":{"type":"string","optionDependency":{"name":"t","value":"x"}})")),
     "/schema/properties/a/optionDependency: \"optionDependency\" must hold a string \"name\" and a list of strings "
     "\"value\"."},
    {"BadEnum", File(Properties(R"("a":{"type":"string","enum":[1]})")),
     "/schema/properties/a/enum: \"enum\" must be a list of strings."},
    {"IntegerBoundOfADouble", File(Properties(R"("a":{"type":"double","minimum":1})")),
     "/schema/properties/a/minimum: A bound of a double must be written with a fraction or an exponent."},
    {"NegativeLength", File(Properties(R"("a":{"type":"string","maxLength":-1})")),
     "/schema/properties/a/maxLength: \"maxLength\" must be an integer from 0."},
};

class SchemaChecks : public testing::TestWithParam<CheckCase> {};

TEST_P(SchemaChecks, NameTheFirstFault) {
  OrvoSchemaStore::SchemaRecord record;
  const auto faults = OrvoSchemaStore::CheckSchemaText(GetParam().file, record);
  const std::string first = faults.empty() ? "" : faults.front().path + ": " + faults.front().text;
  EXPECT_EQ(GetParam().fault, first.substr(0, std::string(GetParam().fault).size()));
  EXPECT_EQ(faults.empty(), *GetParam().fault == '\0') << first;
  EXPECT_EQ(faults.empty(), !record.schema.empty());
}

INSTANTIATE_TEST_SUITE_P(Files, SchemaChecks, testing::ValuesIn(kCheckCases),
                         [](const auto& test) { return std::string(test.param.name); });

std::string TextOf(const JsonValue& value) {
  std::string text;
  WriteJson(value, text);
  return text;
}

TEST(SchemaObject, DerivesIdentifiersDefaultsAndSecrets) {
  TestStore store;
  const auto stack = store.Schema(kStackSettings);
  EXPECT_TRUE(stack->IsSingleton());
  EXPECT_FALSE(stack->HasSecrets());
  EXPECT_EQ(R"({"link":"name","address":"cs_generated_id"})", TextOf(stack->GetIdMap()->document));
  EXPECT_EQ(
      R"({"stack_settings":{"mtu":1500,"routing":{"mode":"dynamic","metric_scale":1.0},"link":{"enabled":true}}})",
      TextOf(stack->GetDefaults()->document));
  const auto account = store.Schema(UserAccount(""));
  EXPECT_FALSE(account->IsSingleton());
  EXPECT_TRUE(account->HasSecrets());
  EXPECT_TRUE(account->IsGeneratedId());
  EXPECT_EQ(R"({"user_account":"cs_generated_id","authorized_key":"label"})", TextOf(account->GetIdMap()->document));
  EXPECT_EQ(R"({"user_account":{"shell":"/bin/sh"}})", TextOf(account->GetDefaults()->document));
}

TEST(SchemaStore, AChangeByAnotherProcessIsSeenByTheNextLookUp) {
  TestStore store;
  const ConfigStoreObjectId id("k", "g", "c");
  EXPECT_EQ(nullptr, store.Schema(id));
  for (const char* version : {"1.0", "2.0", "3.0"}) {
    const pid_t child = fork();
    if (child == 0) {
      store.Register(File(Properties(R"("a":{"type":"string"})"), version));
      _exit(0);
    }
    int status = 0;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    ASSERT_EQ(0, status);
    EXPECT_EQ(version, store.Schema(id)->GetVersion());
  }
}

TEST(SchemaStore, SchemasAreKeptWhileNothingChanges) {
  TestStore store;
  usleep(30000);  // until the file's time tells its states apart
  store.Schema(kStackSettings);
  EXPECT_EQ(store.Schema(kStackSettings), store.Schema(kStackSettings));
}

TEST(SchemaStore, NamesCannotBecomeStatements) {
  TestStore store;
  EXPECT_EQ(nullptr, store.Schema(ConfigStoreObjectId("x' or '1'='1", "ipstack", "netd")));
  EXPECT_EQ("2000 A name cannot hold a NUL byte.",
            Thrown([&] { store.Schema(ConfigStoreObjectId(std::string("a\0b", 3), "g", "c")); }));
}

}  // namespace
