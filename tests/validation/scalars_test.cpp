#include "validation/validation_case.h"

namespace {

using namespace OrvoConfigStore;

// clang-format off
const ValidationCase kTypes[] = {
    {"{'type':'string'}", "'x'", {}, ""},
    {"{'type':'string'}", "1", {}, ": INCORRECT TYPE: expected string."},
    {"{'type':'secret'}", "'x'", {}, ""},
    {"{'type':'secret'}", "{}", {}, ": INCORRECT TYPE: expected string."},
    {"{'type':'integer'}", "-2147483648", {}, ""},
    {"{'type':'integer'}", "3000000000", {}, ": INCORRECT TYPE: expected integer."},
    {"{'type':'integer'}", "5.0", {}, ": INCORRECT TYPE: expected integer."},
    {"{'type':'long'}", "3000000000", {}, ""},
    {"{'type':'long'}", "5", {}, ""},
    {"{'type':'long'}", "9223372036854775808", {}, ": INCORRECT TYPE: expected long."},
    {"{'type':'double'}", "5.0", {}, ""},
    {"{'type':'double'}", "5", {}, ": INCORRECT TYPE: expected double."},
    {"{'type':'boolean'}", "false", {}, ""},
    {"{'type':'boolean'}", "0", {}, ": INCORRECT TYPE: expected boolean."},
    {"{'type':'object'}", "[]", {}, ": INCORRECT TYPE: expected object."},
    {"{'type':'array','items':{}}", "{}", {}, ": INCORRECT TYPE: expected array."},
    {"{'type':'colour'}", "1", {}, ""},
    {"{'minLength':1}", "''", {}, ": Invalid schema:Type not specified."},
    {"{'type':null}", "1", {}, ": Invalid schema:Type not specified."},
    {"{'type':'string','type':'integer'}", "1", {}, ": INCORRECT TYPE: expected string."},
    {"{'type':'string','minLength':1}", "null", {}, ""},
    {"5", "null", {}, ""},
    {"{'type':'string'}", "1", {CHECK_ADDITIONAL_PROPERTIES}, ""},
    {"{'type':'string'}", "1", {CHECK_SCALAR_TYPES}, ": INCORRECT TYPE: expected string."},
    {"{'type':'object'}", "1", {CHECK_REQUIRED}, ": INCORRECT TYPE: expected object."},
    {"{'type':'array'}", "1", {CHECK_REQUIRED}, ": INCORRECT TYPE: expected array."},
};

const char kText[] = "{'type':'string','minLength':3,'maxLength':5}";
const char kInteger[] = "{'type':'integer','minimum':-2,'maximum':7}";
const char kLong[] = "{'type':'long','minimum':-2,'maximum':5000000000}";
const char kDouble[] = "{'type':'double','minimum':1.5,'maximum':2.5}";
const char kPattern[] = "{'type':'string','pattern':'[a-z]+'}";

const ValidationCase kBounds[] = {
    {kText, "'ab'", {}, ": String length shorter than minimum: 3"}, {kText, "'abc'", {}, ""},
    {kText, "'abcde'", {}, ""},
    {kText, "'abcdef'", {}, ": String length longer than maximum: 5"},
    {kText, "'\u00e4\u00e4\u00e4'", {}, ": String length longer than maximum: 5"},  // bytes count
    {"{'type':'secret','minLength':2}", "'a'", {}, ": String length shorter than minimum: 2"},
    {"{'type':'string','enum':['a','b']}", "'b'", {}, ""},
    {"{'type':'string','enum':['a','b']}", "'c'", {}, ": String value not one of the enum options"},
    {"{'type':'string','enum':[]}", "''", {}, ": String value not one of the enum options"},
    {"{'type':'string','maxLength':1,'enum':['a']}", "'bb'", {}, ": String length longer than maximum: 1"},
    {"{'type':'string','enum':['a'],'pattern':'x'}", "'b'", {}, ": String value not one of the enum options"},
    {kPattern, "'abc'", {}, ""}, {kPattern, "'abc1'", {}, ": String does not match pattern: [a-z]+"},
    {kInteger, "-3", {}, ": Integer value below minimum: -2"}, {kInteger, "-2", {}, ""}, {kInteger, "7", {}, ""},
    {kInteger, "8", {}, ": Integer value above maximum: 7"},
    {kLong, "-3", {}, ": Long value below minimum: -2"}, {kLong, "-2", {}, ""}, {kLong, "5000000000", {}, ""},
    {kLong, "5000000001", {}, ": Long value above maximum: 5000000000"},
    {kDouble, "1.4", {}, ": Double value below minimum: 1.500000"}, {kDouble, "1.5", {}, ""}, {kDouble, "2.5", {}, ""},
    {kDouble, "2.6", {}, ": Double value above maximum: 2.500000"},
    {"{'type':'double','minimum':2}", "1.5", {}, ": Double value below minimum: 2.000000"},
    {"{'type':'boolean','minimum':'x','pattern':'('}", "true", {}, ""},
    {"{'type':'string','minLength':null,'enum':null,'pattern':null}", "''", {}, ""},
};

const ValidationCase kUnusable[] = {
    {"{'type':1}", "1", {}, "2000 Invalid JSON"},
    {"['type']", "1", {}, "2000 Invalid JSON"},
    {"{'type':'string','minLength':'3'}", "''", {}, "2000 Invalid JSON"},
    {"{'type':'string','enum':'a'}", "'a'", {}, "2000 Invalid JSON"},
    {"{'type':'string','enum':['a',1]}", "'a'", {}, "2000 Invalid JSON"},
    {"{'type':'integer','minimum':1.5}", "3", {}, "2000 Invalid JSON"},
    {"{'type':'string','pattern':1}", "'a'", {}, "2000 Invalid JSON"},
    {"{'type':'string','pattern':'(a'}", "'a'", {}, "2000 Invalid JSON"},
    {"{'type':'string','pattern':'(a'}", "'a'", {CHECK_REQUIRED}, ""},  // not read unless it is needed
};
// clang-format on

TEST(Scalars, AreOfTheirTypeAndWithinTheirBounds) {
  ExpectViolations(kTypes);
  ExpectViolations(kBounds);
  ExpectViolations(kUnusable);
}

TEST(Scalars, AreReportedWithNumbersOfAnyLength) {
  const std::string message = Violations("{'type':'double','minimum':1e300}", "1.5", {});
  EXPECT_EQ(0u, message.find(": Double value below minimum: 10000000000000000525047602552044202487")) << message;
  EXPECT_EQ(30u + 301 + 7, message.size()) << message;
}

}  // namespace
