#include <gtest/gtest.h>

#include "cli/host.h"

namespace {

const std::string kOpen =
    R"({"component":"c","group":"g","key":"k","version":"1","schema":{"type":"object","properties":{}}})";
const std::string kWrong =
    R"({"component":"c","group":"g","key":"w","version":"1","schema":{"type":"object","additionalProperties":false,)"
    R"("properties":{"a":{"type":"double","default":1}}}})";

class SchemaCommands : public StockedHost {
 protected:
  const std::string open_ = root_.Write("/open.json", kOpen);
  const std::string wrong_ = root_.Write("/wrong.json", kWrong);
};

}  // namespace

TEST_F(SchemaCommands, LintEndsByWhatItFinds) {
  const Outcome clean = Run({"schema", "lint", Schema("netd", "stack_settings"), Schema("clockd", "time_source")});
  EXPECT_EQ(0, clean.exit);
  EXPECT_EQ("", clean.out + clean.err);
  const Outcome warned = Run({"schema", "lint", open_});
  EXPECT_EQ(1, warned.exit);
  EXPECT_EQ(0u, warned.out.find(open_ + ":1:54: warning: /schema: "));
  EXPECT_EQ(0u, Run({"schema", "lint", "-"}, kOpen).out.find("standard input:1:54: warning: /schema: "));
  const Outcome refused = Run({"schema", "lint", open_, wrong_, "--json"});
  EXPECT_EQ(3, refused.exit);
  EXPECT_NE(std::string::npos,
            refused.out.find(",\"pointer\":\"/schema/properties/a/default\",\"severity\":\"error\","));
  EXPECT_EQ(0u, refused.out.find("[{\"file\":\"" + open_ +
                                 "\",\"line\":1,\"column\":54,\"pointer\":\"/schema\",\"severity\":\"warning\","));
}

TEST_F(SchemaCommands, WhatALintWarnsOfIsRefusedInPlace) {
  ASSERT_EQ(0, Run({"schema", "add", open_}).exit);
  Expect({"", {}, "", 3, {"line 1, column 2: /x: Invalid field in schema: x"}}, Run({"set", "c/g/k"}, R"({"x":1})"));
}

const Case kSchemaCases[] = {
    {"LintMissingFile", {"schema", "lint", "/no/such/file"}, "", 2, {"/no/such/file"}},
    {"Doc", {"schema", "doc", kNetd}, "", 0, {"# netd/ipstack/stack\\_settings\n", "### /routing/mode\n"}},
    {"DocForMan", {"schema", "doc", kUser, "--format", "man"}, "", 0, {".TH \"" + kUser + "\" 5", ".SH FIELDS\n"}},
    {"DocInAnotherFormat", {"schema", "doc", kNetd, "--format", "html"}, "", 2, {"--format"}},
    {"DocOfUnknownType", {"schema", "doc", "a/b/c"}, "", 4, {"csctl types"}},
    {"Export", {"schema", "export", "--json-schema", kUser, "--json"}, "", 0, {"\"type\":\"array\"", "draft-07"}},
    {"ExportInNoForm", {"schema", "export", kUser}, "", 2, {"--json-schema"}},
    {"ExportOfUnknownType", {"schema", "export", "--json-schema", "a/b/c"}, "", 4, {"csctl types"}},
};

class OnAHostWithTypes : public StockedHost {};
TEST_P(OnAHostWithTypes, EndsAsDocumented) {
  Expect(GetParam(), Run(GetParam().arguments));
}
INSTANTIATE_TEST_SUITE_P(Schema, OnAHostWithTypes, testing::ValuesIn(kSchemaCases), CaseName);
