#include "validation/validation_case.h"

namespace {

using namespace OrvoConfigStore;

std::string Instances(const std::string& idKey, const std::string& idType) {
  return "{'type':'array','instanceId':'" + idKey + "','items':{'type':'object','properties':{'" + idKey +
         "':{'type':'" + idType + "'},'n':{'type':'integer'}}}}";
}

// clang-format off
const char kList[] = "{'type':'object','properties':{'a':{'type':'array','items':{'type':'object','properties':{"
                     "'b':{'type':'integer'}}}}}}";

const ValidationCase kElements[] = {
    {kList, "{'a':[{'b':1},{'b':'x'},{'b':'y'}]}", {},
     "/a/b: INCORRECT TYPE: expected integer.; /a/b: INCORRECT TYPE: expected integer."},
    {kList, "{'a':[1,null,[]]}", {}, "/a: INCORRECT TYPE: expected object.; /a: INCORRECT TYPE: expected object."},
    {kList, "{'a':[]}", {}, ""},
    {"{'type':'array'}", "[]", {}, "2000 Invalid JSON"},
    {"{'type':'array','items':null}", "[1]", {}, "2000 Invalid JSON"},
    {"{'type':'array','items':[]}", "[1]", {}, "2000 Invalid JSON"},
    {"{'type':'string'}", "[1]", {CHECK_REQUIRED}, "2000 Invalid JSON"},
};

// Identifiers of elements, with "-" for none; `checked` whether types are.
const struct { const char *idType, *ids; bool checked; const char* violations; } kDuplicates[] = {
    {"string", "'x' 'y' 'x' 'x'", true, ": Duplicate instanceIds: x"},
    {"string", "'x' 'X' 'xx' ''", true, ""},
    {"long", "3000000000 1 3000000000", true, ": Duplicate instanceIds: 3000000000"},
    {"long", "4294967296 0", true, ""},
    {"long", "-3000000000 -3000000000", true, ": Duplicate instanceIds: -3000000000"},
    {"integer", "-7 1 -7", true, ": Duplicate instanceIds: -7"},
    {"double", "1.5 2.5 1.5", true, ": Duplicate instanceIds: 1.500000"},
    {"double", "1.0000001 1.0", true, ""},
    {"boolean", "true true", true, ""},
    {"secret", "'x' 'x'", true, ""},
    {"string", "- - 'x' - 'x'", true, ": Duplicate instanceIds: x"},
    {"string", "null null 'x'", true, ""},
    {"string", "true true", false, ""}, {"long", "true true", false, ""}, {"double", "true true", false, ""},
    {"integer", "3000000000 3000000000", false, ""}, {"double", "5 5", false, ""},
};

const std::string kGenerated = Instances("cs_generated_id", "string"), kNamed = Instances("id", "string");
const char kTwice[] = "[{'cs_generated_id':'g'},{'cs_generated_id':'g'}]", kTwo[] = "[{'id':'x'},{'id':'x'}]";

const ValidationCase kIdentifiers[] = {
    {kGenerated.c_str(), kTwice, {}, ""},
    {kGenerated.c_str(), kTwice, {CHECK_GENERATED_ID_DUPLICATES}, ": Duplicate instanceIds: g"},
    {kNamed.c_str(), "[{'id':'x','n':''},{'id':'x'}]", {}, "/n: INCORRECT TYPE: expected integer."},
    {"{'type':'array','instanceId':'id','items':{'type':'object','additionalProperties':false,'properties':{"
     "'id':{'type':'string'}}}}", "[{'id':'x','n':1},{'id':'x'}]", {},
     ": Additional property not allowed: n; : Duplicate instanceIds: x"},
    {"{'type':'array','instanceId':'id','items':{'type':'object','cached':false,'properties':{'id':{'type':'string'}}}"
     "}", kTwo, {CHECK_NON_USER_MARKERS},
     ": Non user property not allowed.; : Non user property not allowed.; : Duplicate instanceIds: x"},
    {"{'type':'array','instanceId':'id','items':{'type':'object'}}", kTwo, {}, ""},
    {"{'type':'array','instanceId':true,'items':{'type':'string'}}", "['x','x']", {CHECK_VITAL_ONLY}, ""},
    {"{'type':'object','properties':{'a':{'type':'array','instanceId':'id','items':{'type':'object','properties':{"
     "'id':{'type':'string'}}}}}}", "{'a':[{'id':'x'},{'id':'x'}]}", {}, "/a: Duplicate instanceIds: x"},
};

// "to" refers to the names of the links; "port" and "also" to their numbers.
const char kLinks[] =
    "{'type':'object','properties':{'link':{'type':'array','items':{'type':'object','properties':{"
    "'name':{'type':'string'},'number':{'type':'integer'}}}},'to':{'type':'string','reference':'/link/name'},"
    "'port':{'type':'integer','reference':'/link/number'},'also':{'type':'string','reference':'/link/number'},"
    "'n':{'type':'integer','reference':'/link/name'},"
    "'o':{'type':'object','properties':{'up':{'type':'array','items':{'type':'string','reference':'/link/name'}}}}}}";
const char kDangling[] = "/to: REFERENCE ERROR: /to->/link/name";

const ValidationCase kReferences[] = {
    {kLinks, "{'to':'b','link':[{'name':'a'},{'name':'b'}]}", {CHECK_REFERENCES}, ""},
    {kLinks, "{'o':{'up':['b','a']},'link':[{'name':'a'},{'name':'b'}]}", {CHECK_REFERENCES}, ""},
    {kLinks, "{'to':'c','link':[{'name':'a'}],'o':{'up':['a','']}}", {CHECK_REFERENCES},
     "/to: REFERENCE ERROR: /to->/link/name; /o/up: REFERENCE ERROR: /o/up->/link/name"},
    {kLinks, "{'to':'c'}", {CHECK_REFERENCES}, kDangling},
    {kLinks, "{'to':null}", {CHECK_REFERENCES}, ""},
    {kLinks, "{'also':'1','port':1,'link':[{'number':1}]}", {CHECK_REFERENCES},
     "/also: REFERENCE ERROR: /also->/link/number; /port: REFERENCE ERROR: /port->/link/number"},
    {kLinks, "{'n':1,'link':[{'name':'1'}]}", {CHECK_REFERENCES}, "/n: REFERENCE ERROR: /n->/link/name"},
    {kLinks, "{'to':'a','link':[{'name':'a'}]}", {}, kDangling},
    {kLinks, "{'to':'c'}", {CHECK_SCALAR_TYPES}, ""},
    {kLinks, "{'to':'c'}", {CHECK_REFERENCES, CHECK_VITAL_ONLY}, kDangling},
    {kLinks, "{'to':'a','link':[{'name':'a'}]}", {CHECK_REFERENCES, CHECK_VITAL_ONLY},
     "/to: property is not vital; /link/name: property is not vital"},
    {"{'type':'object','properties':{'r':{'type':'string','reference':'/a/b'}}}", "{'r':'x','a/b':'x','a/bc':'y'}",
     {CHECK_REFERENCES}, ""},
    {"{'type':'string','reference':1}", "'x'", {}, "2000 Invalid JSON"},
};
// clang-format on

TEST(Elements, AreValidatedUnderThePathOfTheArray) {
  ExpectViolations(kElements);
}

TEST(Identifiers, AreReportedOnceWhenTheyAreThereTwice) {
  ExpectViolations(kIdentifiers);
  for (const auto& row : kDuplicates) {
    std::string elements;
    std::istringstream words(row.ids);
    for (std::string id; words >> id;) {
      elements += (elements.empty() ? "" : ",") + (id == "-" ? std::string("{'n':1}") : "{'n':1,'id':" + id + "}");
    }
    EXPECT_EQ(row.violations, Violations(Instances("id", row.idType), "[" + elements + "]",
                                         {row.checked ? CHECK_SCALAR_TYPES : CHECK_REQUIRED}))
        << row.idType << " " << row.ids;
  }
}

TEST(References, NameAValueOfTheDocument) {
  ExpectViolations(kReferences);
}

}  // namespace
