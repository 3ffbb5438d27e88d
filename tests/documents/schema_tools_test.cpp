#include "configstore/schema_tools.h"
#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

const char kHead[] = R"({"component":"c","group":"g","key":"k","version":"1","schema":)";

std::string File(const std::string& schema) {
  return kHead + schema + "}";
}

/// Returns the file of a closed type with these properties.
std::string Closed(const std::string& properties, const std::string& more = "") {
  return File(R"({"type":"object","additionalProperties":false,)" + more + R"("properties":{)" + properties + "}}");
}

/// Returns the findings, "E POINTER; W POINTER": the texts are for people.
std::string Found(const std::string& file) {
  std::string found;
  for (const SchemaFinding& finding : LintSchema(file)) {
    found += found.empty() ? "" : "; ";
    found += (finding.severity == SchemaFinding::ERROR ? "E " : "W ") + finding.pointer;
  }
  return found;
}

// A file, and what is found.
// clang-format off
#define A "/schema/properties/a"
const char kOfStrings[] = R"(,"b":{"type":"array","items":{"type":"string"}})";
const std::pair<std::string, const char*> kLintCases[] = {
    {Closed(R"("a":{"type":"double","default":5.0,"minimum":1.0,"maximum":9.0,"title":"t"})"), ""},
    {"{", "E "},
    {Closed(R"("a":{"type":"array"})"), "E " A},
    {Closed(R"("a":{"type":"string","pattern":"("})"), "E " A "/pattern"},
    {Closed(R"("a":{"type":"string","minlength":1})"), "W " A "/minlength"},
    {Closed(R"("a":{"type":"text","minimum":1})"), "W " A "/type"},
    {Closed(R"("a":{"type":"integer","maxLength":1})"), "W " A "/maxLength"},
    {std::string(kHead) + R"({"type":"object","additionalProperties":false,"properties":{}},"x":1})", "W /x"},
    {Closed(R"("a":{"type":"string","type":"long"})"), "W " A "/type"},
    {Closed(R"("a":{"type":"double","default":5})"), "E " A "/default"},
    {Closed(R"("a":{"type":"integer","maximum":3,"default":5})"), "E " A "/default"},
    {Closed(R"("a":{"type":"array","items":{"type":"string"},"default":["x",1]})"), "E " A "/default"},
    {Closed(R"("a":{"type":"long","minimum":3,"maximum":2},"b":{"type":"string","enum":[]})"),
     "E " A "/maximum; E /schema/properties/b/enum"},
    {Closed(R"("a":{"type":"string","vital":false})"), "W " A "/vital"},
    {File(R"({"type":"object","properties":{"a":{"type":"string","vital":true}}})"), "W /schema"},
    {Closed(R"("a":{"type":"array","items":{"type":"object","properties":{}}})"), "W " A "/items"},
    {Closed(R"("a":{"type":"array","items":{"type":"array","items":{"type":"object"}}})"), ""},  // nothing is split
    {Closed(R"("a":{"type":"object"})"), "E " A},
    {Closed(R"("a":{"type":"string"})", R"("required":["a","b"],)"), "E /schema/required"},
    {Closed(R"("a":{"type":"string","reference":"/b/x"})" + std::string(kOfStrings)), "E " A "/reference"},
    {Closed(R"("a":{"type":"string","reference":"/b"})" + std::string(kOfStrings)), ""},
    {Closed(R"("a":{"type":"string","reference":"/b"},"b":{"type":"integer"})"), "E " A "/reference"},
    {Closed(R"("a":{"type":"string","optionDependency":{"name":"b","value":["x"]}})"), "E " A "/optionDependency/name"},
    {Closed(R"("a":{"type":"string","optionDependency":{"name":"b","value":["x"]}},"b":{"type":"string","enum":["y"]})"),
     "W " A "/optionDependency/value"},
    {File(R"({"type":"array","instanceId":"n","items":{"type":"object","additionalProperties":false,"required":["n"],
      "properties":{"n":{"type":"string","instanceId":true},"a":{"type":"object","additionalProperties":false,
      "properties":{}},"k":{"type":"object","additionalProperties":false,"properties":{}}}}})"), "W /schema/items/properties/k"},
    {Closed(R"("a/~":{"type":"text"})"), "W " A "~1~0/type"},
    {File(R"({"type":"object","properties":{"a":{"type":1,"minimum":{},"enum":3,"reference":[]}}})"),
     "W /schema; E " A "/enum; E " A "/reference"},
};
// clang-format on

TEST(SchemaTools, LintFindsWhatIsWrong) {
  TempRoot root;
  for (const auto& [file, found] : kLintCases) EXPECT_EQ(found, Found(file)) << file;
}

TEST(SchemaTools, LintTellsFilesApart) {
  TempRoot root;
  const std::string first = root.Write("/a.json", Closed("")), second = root.Write("/b.json", Closed(""));
  const auto findings = LintSchemaFiles({first, second, "/no/such/file"});
  ASSERT_EQ(2u, findings.size());
  EXPECT_EQ(second, findings[0].file) << "the same type again";
  EXPECT_EQ("/no/such/file", findings[1].file);
}

TEST(SchemaTools, PagesShowTextsAsTheyAre) {
  TestStore store({Closed(R"("a_b":{"type":"string","pattern":"\\.*x|-","title":".SH it's","default":"<\"q\">"})")});
  const ConfigStoreObjectId type("k", "g", "c");
  const std::string markdown = TypeReference(type, PageFormat::MARKDOWN), man = TypeReference(type, PageFormat::MAN);
  EXPECT_NE(std::string::npos, markdown.find("### /a\\_b\n\nstring, user\n\n- .SH it's\n- matches \\\\.\\*x\\|-\n"
                                             "- default: \"\\<\\\\\"q\\\\\"\\>\"\n"))
      << markdown;
  EXPECT_NE(std::string::npos, man.find(".B \"/a_b\"\nstring, user\n.br\n\\&.SH it's\n.br\nmatches \\e.*x|\\-\n"
                                        ".br\ndefault: \\(dq<\\e\\(dqq\\e\\(dq>\\(dq\n"))
      << man;
  EXPECT_EQ("2000 Schema not found for object: component c group g key z", Thrown([] {
              TypeReference({"z", "g", "c"}, PageFormat::MAN);
            }));
}

}  // namespace
