#include <sstream>

#include "validation/validation_case.h"

namespace {

using namespace OrvoConfigStore;

// Values, separated by blanks, that a schema takes, and those that it refuses with an error.
// clang-format off
const struct { const char *schema, *valid, *invalid, *error; } kScalars[] = {
    {"{'type':'string'}", "'x' '' null", "1 true", "INCORRECT TYPE: expected string."},
    {"{'type':'secret'}", "'x'", "{}", "INCORRECT TYPE: expected string."},
    {"{'type':'integer'}", "-2147483648 2147483647", "3000000000 5.0", "INCORRECT TYPE: expected integer."},
    {"{'type':'long'}", "3000000000 5", "9223372036854775808 5.0", "INCORRECT TYPE: expected long."},
    {"{'type':'double'}", "5.0 5e0", "5", "INCORRECT TYPE: expected double."},
    {"{'type':'boolean'}", "false", "0 'true'", "INCORRECT TYPE: expected boolean."},
    {"{'type':'object'}", "{}", "[] 1", "INCORRECT TYPE: expected object."},
    {"{'type':'array','items':{}}", "[]", "{} 1", "INCORRECT TYPE: expected array."},
    {"{'type':'colour'}", "1 'x'", "", ""},
    {"{'minLength':1}", "null", "''", "Invalid schema:Type not specified."},
    {"{'type':null}", "null", "1", "Invalid schema:Type not specified."},
    {"{'type':'string','type':'integer'}", "'x'", "1", "INCORRECT TYPE: expected string."},
    {"{'type':'string','minLength':3}", "'abc'", "'ab'", "String length shorter than minimum: 3"},
    {"{'type':'string','maxLength':5}", "'abcde'", "'abcdef' '\u00e4\u00e4\u00e4'",
     "String length longer than maximum: 5"},
    {"{'type':'secret','minLength':2}", "'ab'", "'a'", "String length shorter than minimum: 2"},
    {"{'type':'string','enum':['a','b']}", "'b'", "'c' ''", "String value not one of the enum options"},
    {"{'type':'string','enum':[]}", "null", "''", "String value not one of the enum options"},
    {"{'type':'string','maxLength':1,'enum':['a']}", "'a'", "'bb'", "String length longer than maximum: 1"},
    {"{'type':'string','enum':['a'],'pattern':'a'}", "'a'", "'b'", "String value not one of the enum options"},
    {"{'type':'string','pattern':'[a-z]+'}", "'abc'", "'abc1'", "String does not match pattern: [a-z]+"},
    {"{'type':'integer','minimum':-2}", "-2", "-3", "Integer value below minimum: -2"},
    {"{'type':'integer','maximum':7}", "7", "8", "Integer value above maximum: 7"},
    {"{'type':'long','minimum':-2}", "-2", "-3", "Long value below minimum: -2"},
    {"{'type':'long','maximum':5000000000}", "5000000000", "5000000001", "Long value above maximum: 5000000000"},
    {"{'type':'double','minimum':1.5}", "1.5", "1.4", "Double value below minimum: 1.500000"},
    {"{'type':'double','maximum':2.5}", "2.5", "2.6", "Double value above maximum: 2.500000"},
    {"{'type':'double','minimum':2}", "2.0", "1.5", "Double value below minimum: 2.000000"},
    {"{'type':'boolean','minimum':'x','pattern':'('}", "true", "", ""},
    {"{'type':'string','minLength':null,'enum':null,'pattern':null}", "''", "", ""},
};

const ValidationCase kSelections[] = {
    {"5", "null", {}, ""},
    {"{'type':'string'}", "1", {CHECK_ADDITIONAL_PROPERTIES}, ""},
    {"{'type':'string'}", "1", {CHECK_SCALAR_TYPES}, ": INCORRECT TYPE: expected string."},
    {"{'type':'object'}", "1", {CHECK_REQUIRED}, ": INCORRECT TYPE: expected object."},
    {"{'type':'array'}", "1", {CHECK_REQUIRED}, ": INCORRECT TYPE: expected array."},
    {"{'type':'string','pattern':'(a'}", "'a'", {CHECK_REQUIRED}, ""},  // not read unless it is needed
};
// clang-format on

TEST(Scalars, AreOfTheirTypeAndWithinTheirBounds) {
  for (const auto& row : kScalars) {
    for (const bool isValid : {true, false}) {
      std::istringstream values(isValid ? row.valid : row.invalid);
      for (std::string value; values >> value;) {
        EXPECT_EQ(isValid ? "" : std::string(": ") + row.error, Violations(row.schema, value, {}))
            << row.schema << " on " << value;
      }
    }
  }
  ExpectViolations(kSelections);
}

TEST(Scalars, OfAnUnusableSchemaAreRefused) {
  for (const char* schema :
       {"{'type':1}", "['type']", "{'type':'string','minLength':'3'}", "{'type':'string','enum':'a'}",
        "{'type':'string','enum':['a',1]}", "{'type':'string','pattern':1}", "{'type':'string','pattern':'(a'}"}) {
    EXPECT_EQ("2000 Invalid JSON", Violations(schema, "'a'", {})) << schema;
  }
  EXPECT_EQ("2000 Invalid JSON", Violations("{'type':'integer','minimum':1.5}", "3", {}));
}

TEST(Scalars, AreReportedWithNumbersOfAnyLength) {
  const std::string message = Violations("{'type':'double','minimum':1e300}", "1.5", {});
  EXPECT_EQ(0u, message.find(": Double value below minimum: 10000000000000000525047602552044202487")) << message;
  EXPECT_EQ(30u + 301 + 7, message.size()) << message;
}

}  // namespace
