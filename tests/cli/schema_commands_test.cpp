#include "cli/host.h"

namespace {

const std::string kOpen =
    R"({"component":"c","group":"g","key":"k","version":"1","schema":{"type":"object","properties":{}}})";
const std::string kWrong =
    R"({"component":"c","group":"g","key":"w","version":"1","schema":{"type":"object","additionalProperties":false,)"
    R"("properties":{"a":{"type":"double","default":1}}}})";

using SchemaCommands = StockedHost;

TEST_F(SchemaCommands, LintEndsByWhatItFinds) {
  const std::string open = root_.Write("/open.json", kOpen), wrong = root_.Write("/wrong.json", kWrong);
  const Outcome clean = Csctl("schema lint $components/netd/schema/stack_settings.json");
  EXPECT_EQ(0, clean.exit);
  EXPECT_EQ("", clean.out + clean.err);
  const Outcome warned = Csctl("schema lint " + open);
  EXPECT_EQ(1, warned.exit);
  EXPECT_EQ(0u, warned.out.find(open + ":1:54: warning: /schema: "));
  EXPECT_EQ(0u, Printed("schema lint -", kOpen).find("standard input:1:54: warning: /schema: "));
  const Outcome refused = Csctl("schema lint --json " + open + " " + wrong);
  EXPECT_EQ(3, refused.exit);
  EXPECT_NE(std::string::npos,
            refused.out.find(",\"pointer\":\"/schema/properties/a/default\",\"severity\":\"error\","));
  EXPECT_EQ(0u, refused.out.find("[{\"file\":\"" + open +
                                 "\",\"line\":1,\"column\":54,\"pointer\":\"/schema\",\"severity\":\"warning\","));
  ASSERT_EQ(0, Csctl("schema add " + open).exit);
  Check({"set c/g/k", R"({"x":1})", 3, {"line 1, column 2: /x: Invalid field in schema: x"}});  // as it warned
}

// clang-format off
const std::vector<Row> kRows = {
    {"schema lint /no/such/file", "", 2, {"/no/such/file"}},
    {"schema doc $net", "", 0, {"# netd/ipstack/stack\\_settings\n", "### /routing/mode\n"}},
    {"schema doc $user --format man", "", 0, {".TH \"$user\" 5", ".SH FIELDS\n"}},
    {"schema doc $net --format html", "", 2, {"--format"}},
    {"schema export --json-schema $user --json", "", 0, {"\"type\":\"array\"", "draft-07"}},
    {"schema export $user", "", 2, {"--json-schema"}},
};
// clang-format on

TEST_F(SchemaCommands, EndAsDocumented) {
  ExpectEach(kRows);
}

}  // namespace
