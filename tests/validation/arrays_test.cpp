#include "validation/validation_case.h"

namespace {

using namespace OrvoConfigStore;

std::string Instances(const std::string& idKey, const std::string& idType) {
  return "{'type':'array','instanceId':'" + idKey + "','items':{'type':'object','properties':{'" + idKey +
         "':{'type':'" + idType + "'},'n':{'type':'integer'}}}}";
}

const char kList[] =
    "{'type':'object','properties':{'a':{'type':'array','items':{'type':'object','properties':{"
    "'b':{'type':'integer'}}}}}}";

const ValidationCase kElements[] = {
    {"ElementsAreValidated",
     kList,
     "{'a':[{'b':1},{'b':'x'},{'b':'y'}]}",
     {},
     "/a/b: INCORRECT TYPE: expected integer.; /a/b: INCORRECT TYPE: expected integer."},
    {"ElementHasThePathOfTheArray",
     kList,
     "{'a':[1,null,[]]}",
     {},
     "/a: INCORRECT TYPE: expected object.; /a: INCORRECT TYPE: expected object."},
    {"EmptyArray", kList, "{'a':[]}", {}, ""},
    {"ItemsAreMissing", "{'type':'array'}", "[]", {}, "2000 Invalid JSON"},
    {"ItemsAreNull", "{'type':'array','items':null}", "[1]", {}, "2000 Invalid JSON"},
    {"ItemsAreNoObject", "{'type':'array','items':[]}", "[1]", {}, "2000 Invalid JSON"},
    {"ArrayWhereAScalarBelongs", "{'type':'string'}", "[1]", {CHECK_REQUIRED}, "2000 Invalid JSON"},
};
INSTANTIATE_TEST_SUITE_P(Elements, Validation, testing::ValuesIn(kElements), CaseName);

struct DuplicateCase {
  const char* name;
  const char* idType;
  const char* ids;  // of the elements, "-" for none
  const char* violations;
};

const DuplicateCase kDuplicates[] = {
    {"Text", "string", "'x' 'y' 'x' 'x'", ": Duplicate instanceIds: x"},
    {"TextsDiffer", "string", "'x' 'X' 'xx' ''", ""},
    {"Long", "long", "3000000000 1 3000000000", ": Duplicate instanceIds: 3000000000"},
    {"LongsDiffer", "long", "4294967296 0", ""},
    {"NegativeLong", "long", "-3000000000 -3000000000", ": Duplicate instanceIds: -3000000000"},
    {"Integer", "integer", "-7 1 -7", ": Duplicate instanceIds: -7"},
    {"Double", "double", "1.5 2.5 1.5", ": Duplicate instanceIds: 1.500000"},
    {"DoublesThatPrintAlike", "double", "1.0000001 1.0", ""},
    {"BooleanIdentifiesNothing", "boolean", "true true", ""},
    {"SecretIsNotShown", "secret", "'x' 'x'", ""},
    {"MissingIsPassedOver", "string", "- - 'x' - 'x'", ": Duplicate instanceIds: x"},
    {"NullIsPassedOver", "string", "null null 'x'", ""},
};

class DuplicateIds : public testing::TestWithParam<DuplicateCase> {
 protected:
  static std::string Elements(const std::string& ids) {
    std::string text;
    std::istringstream words(ids);
    for (std::string id; words >> id;) {
      text += (text.empty() ? "" : ",") + (id == "-" ? std::string("{'n':1}") : "{'n':1,'id':" + id + "}");
    }
    return "[" + text + "]";
  }
};

TEST_P(DuplicateIds, AreReportedOnce) {
  EXPECT_EQ(GetParam().violations,
            Violations(Instances("id", GetParam().idType), Elements(GetParam().ids), {CHECK_SCALAR_TYPES}));
}

INSTANTIATE_TEST_SUITE_P(Kinds, DuplicateIds, testing::ValuesIn(kDuplicates),
                         [](const auto& c) { return std::string(c.param.name); });

TEST(DuplicateIdsOfOtherTypes, ArePassedOverWhenTypesGoUnchecked) {
  for (const char* type : {"string", "long", "integer", "double"}) {
    EXPECT_EQ("", Violations(Instances("id", type), "[{'id':true},{'id':true},null,null]", {CHECK_REQUIRED})) << type;
  }
  EXPECT_EQ("", Violations(Instances("id", "integer"), "[{'id':3000000000},{'id':3000000000}]", {CHECK_REQUIRED}));
  EXPECT_EQ("", Violations(Instances("id", "double"), "[{'id':5},{'id':5}]", {CHECK_REQUIRED}));
}

const std::string kGenerated = Instances("cs_generated_id", "string");
const char kTwice[] = "[{'cs_generated_id':'g'},{'cs_generated_id':'g'}]";

const ValidationCase kIdentifiers[] = {
    {"GeneratedAreNotChecked", kGenerated.c_str(), kTwice, {}, ""},
    {"GeneratedAreCheckedWhenSelected",
     kGenerated.c_str(),
     kTwice,
     {CHECK_GENERATED_ID_DUPLICATES},
     ": Duplicate instanceIds: g"},
    {"OnlyWhenAllElementsHold",
     "{'type':'array','instanceId':'id','items':{'type':'object','properties':{'id':{'type':'string'},"
     "'n':{'type':'integer'}}}}",
     "[{'id':'x','n':''},{'id':'x'}]",
     {},
     "/n: INCORRECT TYPE: expected integer."},
    {"AdditionalMembersDoNotCount",
     "{'type':'array','instanceId':'id','items':{'type':'object','additionalProperties':false,'properties':{"
     "'id':{'type':'string'}}}}",
     "[{'id':'x','n':1},{'id':'x'}]",
     {},
     ": Additional property not allowed: n; : Duplicate instanceIds: x"},
    {"MarkersDoNotCount",
     "{'type':'array','instanceId':'id','items':{'type':'object','cached':false,'properties':{'id':{'type':'string'}}}"
     "}",
     "[{'id':'x'},{'id':'x'}]",
     {CHECK_NON_USER_MARKERS},
     ": Non user property not allowed.; : Non user property not allowed.; : Duplicate instanceIds: x"},
    {"IdentifierIsNotDescribed",
     "{'type':'array','instanceId':'id','items':{'type':'object'}}",
     "[{'id':'x'},{'id':'x'}]",
     {},
     ""},
    {"ArrayMayBeAnIdentifier",
     "{'type':'array','instanceId':true,'items':{'type':'string'}}",
     "['x','x']",
     {CHECK_VITAL_ONLY},
     ""},
    {"PathIsTheArrays",
     "{'type':'object','properties':{'a':{'type':'array','instanceId':'id','items':{'type':'object','properties':{"
     "'id':{'type':'string'}}}}}}",
     "{'a':[{'id':'x'},{'id':'x'}]}",
     {},
     "/a: Duplicate instanceIds: x"},
};
INSTANTIATE_TEST_SUITE_P(Identifiers, Validation, testing::ValuesIn(kIdentifiers), CaseName);

// "to" refers to the names of the links; "port" to a number.
const char kLinks[] =
    "{'type':'object','properties':{'link':{'type':'array','items':{'type':'object','properties':{"
    "'name':{'type':'string'},'number':{'type':'integer'}}}},'to':{'type':'string','reference':'/link/name'},"
    "'port':{'type':'integer','reference':'/link/number'},'also':{'type':'string','reference':'/link/"
    "number'},'n':{'type':'integer','reference':'/link/name'},"
    "'o':{'type':'object','properties':{'up':{'type':'array','items':{'type':'string','reference':'/link/name'}}}}}}";

const ValidationCase kReferences[] = {
    {"Holds", kLinks, "{'to':'b','link':[{'name':'a'},{'name':'b'}]}", {CHECK_REFERENCES}, ""},
    {"HoldsFromBelow", kLinks, "{'o':{'up':['b','a']},'link':[{'name':'a'},{'name':'b'}]}", {CHECK_REFERENCES}, ""},
    {"Fails",
     kLinks,
     "{'to':'c','link':[{'name':'a'}],'o':{'up':['a','']}}",
     {CHECK_REFERENCES},
     "/to: REFERENCE ERROR: /to->/link/name; /o/up: REFERENCE ERROR: /o/up->/link/name"},
    {"NothingThere", kLinks, "{'to':'c'}", {CHECK_REFERENCES}, "/to: REFERENCE ERROR: /to->/link/name"},
    {"NullRefersToNothing", kLinks, "{'to':null}", {CHECK_REFERENCES}, ""},
    {"NumbersAreNoTexts",
     kLinks,
     "{'also':'1','port':1,'link':[{'number':1}]}",
     {CHECK_REFERENCES},
     "/also: REFERENCE ERROR: /also->/link/number; /port: REFERENCE ERROR: /port->/link/number"},
    {"NumberIsNoneOfTheTexts",
     kLinks,
     "{'n':1,'link':[{'name':'1'}]}",
     {CHECK_REFERENCES},
     "/n: REFERENCE ERROR: /n->/link/name"},
    {"AlwaysFailsByDefault", kLinks, "{'to':'a','link':[{'name':'a'}]}", {}, "/to: REFERENCE ERROR: /to->/link/name"},
    {"IsOffWithoutItsCheck", kLinks, "{'to':'c'}", {CHECK_SCALAR_TYPES}, ""},
    {"LayerIsNotLookedAtThen",
     kLinks,
     "{'to':'c'}",
     {CHECK_REFERENCES, CHECK_VITAL_ONLY},
     "/to: REFERENCE ERROR: /to->/link/name"},
    {"LayerIsLookedAtElse",
     kLinks,
     "{'to':'a','link':[{'name':'a'}]}",
     {CHECK_REFERENCES, CHECK_VITAL_ONLY},
     "/to: property is not vital; /link/name: property is not vital"},
    {"PathIsText",
     "{'type':'object','properties':{'r':{'type':'string','reference':'/a/b'}}}",
     "{'r':'x','a/b':'x','a/bc':'y'}",
     {CHECK_REFERENCES},
     ""},
    {"IsNoText", "{'type':'string','reference':1}", "'x'", {}, "2000 Invalid JSON"},
};
INSTANTIATE_TEST_SUITE_P(References, Validation, testing::ValuesIn(kReferences), CaseName);

}  // namespace
