#include "validation/validation_case.h"

namespace {

using namespace OrvoConfigStore;

const char kText[] = "{'type':'string','minLength':3,'maxLength':5}";
const char kInteger[] = "{'type':'integer','minimum':-2,'maximum':7}";
const char kLong[] = "{'type':'long','minimum':-2,'maximum':5000000000}";
const char kDouble[] = "{'type':'double','minimum':1.5,'maximum':2.5}";
const char kPattern[] = "{'type':'string','pattern':'[a-z]+'}";

const ValidationCase kTypes[] = {
    {"String", "{'type':'string'}", "'x'", {}, ""},
    {"NoString", "{'type':'string'}", "1", {}, ": INCORRECT TYPE: expected string."},
    {"Secret", "{'type':'secret'}", "'x'", {}, ""},
    {"NoSecret", "{'type':'secret'}", "{}", {}, ": INCORRECT TYPE: expected string."},
    {"Integer", "{'type':'integer'}", "-2147483648", {}, ""},
    {"IntegerTooLarge", "{'type':'integer'}", "3000000000", {}, ": INCORRECT TYPE: expected integer."},
    {"IntegerWithFraction", "{'type':'integer'}", "5.0", {}, ": INCORRECT TYPE: expected integer."},
    {"Long", "{'type':'long'}", "3000000000", {}, ""},
    {"LongOfFewBits", "{'type':'long'}", "5", {}, ""},
    {"LongTooLarge", "{'type':'long'}", "9223372036854775808", {}, ": INCORRECT TYPE: expected long."},
    {"Double", "{'type':'double'}", "5.0", {}, ""},
    {"DoubleWithoutFraction", "{'type':'double'}", "5", {}, ": INCORRECT TYPE: expected double."},
    {"Boolean", "{'type':'boolean'}", "false", {}, ""},
    {"NoBoolean", "{'type':'boolean'}", "0", {}, ": INCORRECT TYPE: expected boolean."},
    {"NoObject", "{'type':'object'}", "[]", {}, ": INCORRECT TYPE: expected object."},
    {"NoArray", "{'type':'array','items':{}}", "{}", {}, ": INCORRECT TYPE: expected array."},
    {"UnknownTypeAsksNothing", "{'type':'colour'}", "1", {}, ""},
    {"NoType", "{'minLength':1}", "''", {}, ": Invalid schema:Type not specified."},
    {"NullTypeIsNone", "{'type':null}", "1", {}, ": Invalid schema:Type not specified."},
    {"FirstOfTwoTypesCounts", "{'type':'string','type':'integer'}", "1", {}, ": INCORRECT TYPE: expected string."},
    {"NullIsValid", "{'type':'string','minLength':1}", "null", {}, ""},
    {"NullIsValidUnderAnySchema", "5", "null", {}, ""},
    {"ScalarsNeedTheirCheck", "{'type':'string'}", "1", {CHECK_ADDITIONAL_PROPERTIES}, ""},
    {"ScalarCheckAlone", "{'type':'string'}", "1", {CHECK_SCALAR_TYPES}, ": INCORRECT TYPE: expected string."},
    {"ObjectTypeNeedsNoCheck", "{'type':'object'}", "1", {CHECK_REQUIRED}, ": INCORRECT TYPE: expected object."},
    {"ArrayTypeNeedsNoCheck", "{'type':'array'}", "1", {CHECK_REQUIRED}, ": INCORRECT TYPE: expected array."},
};
INSTANTIATE_TEST_SUITE_P(Types, Validation, testing::ValuesIn(kTypes), CaseName);

const ValidationCase kBounds[] = {
    {"TextTooShort", kText, "'ab'", {}, ": String length shorter than minimum: 3"},
    {"TextAtLeast", kText, "'abc'", {}, ""},
    {"TextAtMost", kText, "'abcde'", {}, ""},
    {"TextTooLong", kText, "'abcdef'", {}, ": String length longer than maximum: 5"},
    {"LengthCountsBytes", kText, "'\u00e4\u00e4\u00e4'", {}, ": String length longer than maximum: 5"},
    {"SecretIsBounded", "{'type':'secret','minLength':2}", "'a'", {}, ": String length shorter than minimum: 2"},
    {"EnumHolds", "{'type':'string','enum':['a','b']}", "'b'", {}, ""},
    {"EnumFails", "{'type':'string','enum':['a','b']}", "'c'", {}, ": String value not one of the enum options"},
    {"EnumOfNone", "{'type':'string','enum':[]}", "''", {}, ": String value not one of the enum options"},
    {"LengthBeforeEnum",
     "{'type':'string','maxLength':1,'enum':['a']}",
     "'bb'",
     {},
     ": String length longer than maximum: 1"},
    {"EnumBeforePattern",
     "{'type':'string','enum':['a'],'pattern':'x'}",
     "'b'",
     {},
     ": String value not one of the enum options"},
    {"PatternHolds", kPattern, "'abc'", {}, ""},
    {"PatternMatchesTheWhole", kPattern, "'abc1'", {}, ": String does not match pattern: [a-z]+"},
    {"IntegerTooSmall", kInteger, "-3", {}, ": Integer value below minimum: -2"},
    {"IntegerAtLeast", kInteger, "-2", {}, ""},
    {"IntegerAtMost", kInteger, "7", {}, ""},
    {"IntegerTooLarge", kInteger, "8", {}, ": Integer value above maximum: 7"},
    {"LongTooSmall", kLong, "-3", {}, ": Long value below minimum: -2"},
    {"LongAtLeast", kLong, "-2", {}, ""},
    {"LongAtMost", kLong, "5000000000", {}, ""},
    {"LongTooLarge", kLong, "5000000001", {}, ": Long value above maximum: 5000000000"},
    {"DoubleTooSmall", kDouble, "1.4", {}, ": Double value below minimum: 1.500000"},
    {"DoubleAtLeast", kDouble, "1.5", {}, ""},
    {"DoubleAtMost", kDouble, "2.5", {}, ""},
    {"DoubleTooLarge", kDouble, "2.6", {}, ": Double value above maximum: 2.500000"},
    {"DoubleBoundMayBeWhole", "{'type':'double','minimum':2}", "1.5", {}, ": Double value below minimum: 2.000000"},
    {"BoundsOfOtherTypesAreIgnored", "{'type':'boolean','minimum':'x','pattern':'('}", "true", {}, ""},
    {"NullBoundIsNone", "{'type':'string','minLength':null,'enum':null,'pattern':null}", "''", {}, ""},
};
INSTANTIATE_TEST_SUITE_P(Bounds, Validation, testing::ValuesIn(kBounds), CaseName);

const ValidationCase kUnusable[] = {
    {"TypeIsNoText", "{'type':1}", "1", {}, "2000 Invalid JSON"},
    {"NodeIsNoObject", "['type']", "1", {}, "2000 Invalid JSON"},
    {"LengthIsNoInteger", "{'type':'string','minLength':'3'}", "''", {}, "2000 Invalid JSON"},
    {"EnumIsNoList", "{'type':'string','enum':'a'}", "'a'", {}, "2000 Invalid JSON"},
    {"EnumHoldsOthers", "{'type':'string','enum':['a',1]}", "'a'", {}, "2000 Invalid JSON"},
    {"BoundOfOtherKind", "{'type':'integer','minimum':1.5}", "3", {}, "2000 Invalid JSON"},
    {"PatternIsNoText", "{'type':'string','pattern':1}", "'a'", {}, "2000 Invalid JSON"},
    {"PatternDoesNotCompile", "{'type':'string','pattern':'(a'}", "'a'", {}, "2000 Invalid JSON"},
    {"NotReadUnlessNeeded", "{'type':'string','pattern':'(a'}", "'a'", {CHECK_REQUIRED}, ""},
};
INSTANTIATE_TEST_SUITE_P(UnusableScalars, Validation, testing::ValuesIn(kUnusable), CaseName);

TEST(ScalarMessages, HoldNumbersOfAnyLength) {
  const std::string message = Violations("{'type':'double','minimum':1e300}", "1.5", {});
  EXPECT_EQ(0u, message.find(": Double value below minimum: 10000000000000000525047602552044202487")) << message;
  EXPECT_EQ(30u + 301 + 7, message.size()) << message;
}

}  // namespace

// The only definition of the shared body; the tables are in this file and its neighbours.
TEST_P(Validation, FindsExactlyWhatIsWrong) {
  const ValidationCase& c = GetParam();
  EXPECT_EQ(c.violations, Violations(c.schema, c.data, c.checks));
}
