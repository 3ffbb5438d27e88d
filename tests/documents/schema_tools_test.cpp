#include <gtest/gtest.h>

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

struct LintCase {
  const char* name;
  std::string file;
  const char* found;
};

const LintCase kLintCases[] = {
    {"Clean", Closed(R"("a":{"type":"double","default":5.0,"minimum":1.0,"maximum":9.0,"title":"t"})"), ""},
    {"NoJson", "{", "E "},
    {"RefusedByRegistration", Closed(R"("a":{"type":"array"})"), "E /schema/properties/a"},
    {"PatternThatCannotCompile", Closed(R"("a":{"type":"string","pattern":"("})"), "E /schema/properties/a/pattern"},
    {"UnknownKeyword", Closed(R"("a":{"type":"string","minlength":1})"), "W /schema/properties/a/minlength"},
    {"UnknownType", Closed(R"("a":{"type":"text","minimum":1})"), "W /schema/properties/a/type"},
    {"KeywordOfAnotherType", Closed(R"("a":{"type":"integer","maxLength":1})"), "W /schema/properties/a/maxLength"},
    {"UnknownFileMember",
     std::string(kHead) + R"({"type":"object","additionalProperties":false,"properties":{}},"x":1})", "W /x"},
    {"RepeatedMember", Closed(R"("a":{"type":"string","type":"long"})"), "W /schema/properties/a/type"},
    {"DoubleDefaultAsInteger", Closed(R"("a":{"type":"double","default":5})"), "E /schema/properties/a/default"},
    {"DefaultOutOfBounds", Closed(R"("a":{"type":"integer","maximum":3,"default":5})"),
     "E /schema/properties/a/default"},
    {"DefaultOfAList", Closed(R"("a":{"type":"array","items":{"type":"string"},"default":["x",1]})"),
     "E /schema/properties/a/default"},
    {"CrossedBounds", Closed(R"("a":{"type":"long","minimum":3,"maximum":2},"b":{"type":"string","enum":[]})"),
     "E /schema/properties/a/maximum; E /schema/properties/b/enum"},
    {"MarkThatSaysFalse", Closed(R"("a":{"type":"string","vital":false})"), "W /schema/properties/a/vital"},
    {"OpenObject", File(R"({"type":"object","properties":{"a":{"type":"string","vital":true}}})"), "W /schema"},
    {"OpenElements", Closed(R"("a":{"type":"array","items":{"type":"object","properties":{}}})"),
     "W /schema/properties/a/items"},
    {"OpenWhereNothingIsSplit", Closed(R"("a":{"type":"array","items":{"type":"array","items":{"type":"object"}}})"),
     ""},
    {"ObjectOfNothing", Closed(R"("a":{"type":"object"})"), "E /schema/properties/a"},
    {"RequiredAndNotDescribed", Closed(R"("a":{"type":"string"})", R"("required":["a","b"],)"), "E /schema/required"},
    {"ReferenceToNoPath",
     Closed(R"("a":{"type":"string","reference":"/b/x"},"b":{"type":"array","items":{"type":"string"}})"),
     "E /schema/properties/a/reference"},
    {"ReferenceToElements",
     Closed(R"("a":{"type":"string","reference":"/b"},"b":{"type":"array","items":{"type":"string"}})"), ""},
    {"ReferenceToANumber", Closed(R"("a":{"type":"string","reference":"/b"},"b":{"type":"integer"})"),
     "E /schema/properties/a/reference"},
    {"DependencyOnNothing", Closed(R"("a":{"type":"string","optionDependency":{"name":"b","value":["x"]}})"),
     "E /schema/properties/a/optionDependency/name"},
    {"DependencyOnAValueThatCannotBe",
     Closed(
         R"("a":{"type":"string","optionDependency":{"name":"b","value":["x"]}},"b":{"type":"string","enum":["y"]})"),
     "W /schema/properties/a/optionDependency/value"},
    {"PointerEscapes", Closed(R"("a/~":{"type":"text"})"), "W /schema/properties/a~1~0/type"},
    {"MalformedEverywhere",
     File(R"({"type":"object","properties":{"a":{"type":1,"minimum":{},"enum":3,"reference":[]}}})"),
     "W /schema; E /schema/properties/a/enum; E /schema/properties/a/reference"},
};

class Lint : public testing::TestWithParam<LintCase> {};

}  // namespace

TEST_P(Lint, Finds) {
  TempRoot root;
  EXPECT_EQ(GetParam().found, Found(GetParam().file));
}
INSTANTIATE_TEST_SUITE_P(SchemaTools, Lint, testing::ValuesIn(kLintCases),
                         [](const auto& row) { return std::string(row.param.name); });

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
