#include "validation/validation_case.h"

namespace {

using namespace OrvoConfigStore;

const char kClosed[] = "{'type':'object','additionalProperties':false,'properties':{'a':{'type':'integer'},'b':null}}";
const char kOpen[] = "{'type':'object','properties':{'a':{'type':'integer'}}}";

const ValidationCase kMembers[] = {
    {"AdditionalMember", kClosed, "{'x':1}", {}, ": Additional property not allowed: x"},
    {"OthersAreStillValidated",
     kClosed,
     "{'x':1,'a':'y','z':null}",
     {},
     ": Additional property not allowed: x; /a: INCORRECT TYPE: expected integer.; : Additional property not allowed: "
     "z"},
    {"NullPropertyDescribesNothing", kClosed, "{'b':1}", {}, ": Additional property not allowed: b"},
    {"AdditionalIsOffWithoutItsCheck", kClosed, "{'x':1}", {CHECK_SCALAR_TYPES}, ""},
    {"AdditionalCheckAlone",
     kClosed,
     "{'x':1,'a':'y'}",
     {CHECK_ADDITIONAL_PROPERTIES},
     ": Additional property not allowed: x"},
    {"AdditionalIsAllowedByDefault", kOpen, "{'x':{'y':1}}", {}, ""},
    {"AdditionalTrue", "{'type':'object','additionalProperties':true}", "{'x':1}", {}, ""},
    {"WithoutPropertiesAllAreAdditional",
     "{'type':'object','additionalProperties':false}",
     "{'x':1}",
     {},
     ": Additional property not allowed: x"},
    {"NullMemberIsValid", kOpen, "{'a':null}", {}, ""},
    {"EachOfTwoMembersOfOneName",
     kOpen,
     "{'a':1,'a':'x','a':'y'}",
     {},
     "/a: INCORRECT TYPE: expected integer.; /a: INCORRECT TYPE: expected integer."},
    {"PathsLeadDown",
     "{'type':'object','properties':{'o':{'type':'object','properties':{'a/b':{'type':'string'}}},"
     "'p':{'type':'string'}}}",
     "{'o':{'a/b':1},'p':1}",
     {},
     "/o/a/b: INCORRECT TYPE: expected string.; /p: INCORRECT TYPE: expected string."},
    {"PropertiesIsNoObject", "{'type':'object','properties':[]}", "{'x':1}", {}, "2000 Invalid JSON"},
    {"PropertyIsNoObject", "{'type':'object','properties':{'a':5}}", "{'a':1}", {}, "2000 Invalid JSON"},
    {"AdditionalIsNoBoolean", "{'type':'object','additionalProperties':0}", "{'x':1}", {}, "2000 Invalid JSON"},
};
INSTANTIATE_TEST_SUITE_P(Members, Validation, testing::ValuesIn(kMembers), CaseName);

// One required name for every way of marking its property.
const char kRequired[] =
    "{'type':'object','additionalProperties':false,'required':['plain','v','c','s','none','unmarked'],'properties':{"
    "'plain':{'type':'string'},'v':{'type':'string','vital':true},'c':{'type':'string','cached':true},"
    "'s':{'type':'string','storeSpecific':true},'unmarked':{'type':'string','vital':false,'cached':null}}}";
const char kLenient[] =
    ": Required property missing: plain; : Required property missing: none; : Required property missing: unmarked";
const char kStrict[] =
    ": Required property missing: plain; : Required property missing: v; : Required property missing: c; "
    ": Required property missing: s; : Required property missing: none; : Required property missing: unmarked";

const ValidationCase kRequiredCases[] = {
    {"DefaultIsLenient", kRequired, "{}", {}, kLenient},
    {"NonLayered", kRequired, "{}", {CHECK_REQUIRED_NON_LAYERED}, kLenient},
    {"WithMarkers", kRequired, "{}", {CHECK_REQUIRED, CHECK_NON_USER_MARKERS}, kLenient},
    {"WithMarkersAndVital", kRequired, "{}", {CHECK_REQUIRED, CHECK_NON_USER_MARKERS, CHECK_VITAL_ONLY}, kLenient},
    {"NonLayeredBeatsStrict", kRequired, "{}", {CHECK_REQUIRED, CHECK_REQUIRED_NON_LAYERED}, kLenient},
    {"Strict", kRequired, "{}", {CHECK_REQUIRED}, kStrict},
    {"VitalOnly", kRequired, "{}", {CHECK_REQUIRED, CHECK_VITAL_ONLY}, ": Required property missing: v"},
    {"MarkersAloneRequireNothing", kRequired, "{}", {CHECK_NON_USER_MARKERS}, ""},
    {"VitalAloneRequiresNothing", kRequired, "{}", {CHECK_VITAL_ONLY}, ""},
    {"OtherChecksRequireNothing", kRequired, "{}", {CHECK_ADDITIONAL_PROPERTIES, CHECK_SCALAR_TYPES}, ""},
    {"MissingEndsTheObject",
     kRequired,
     "{'plain':1,'x':1}",
     {},
     ": Required property missing: none; : Required property missing: unmarked"},
    {"NullIsPresent", "{'type':'object','required':['a']}", "{'a':null}", {}, ""},
    {"NoListIsNone", "{'type':'object','required':null}", "{}", {}, ""},
    {"BelowThePathIsTheObjects",
     "{'type':'object','properties':{'o':{'type':'object','required':['a']}}}",
     "{'o':{}}",
     {},
     "/o: Required property missing: a"},
    {"IsNoList", "{'type':'object','required':'a'}", "{'a':1}", {}, "2000 Invalid JSON"},
    {"HoldsNoText", "{'type':'object','required':[1]}", "{'a':1}", {}, "2000 Invalid JSON"},
    {"MarkIsNoBoolean",
     "{'type':'object','required':['a'],'properties':{'a':{'type':'string','vital':1}}}",
     "{}",
     {},
     "2000 Invalid JSON"},
};
INSTANTIATE_TEST_SUITE_P(Required, Validation, testing::ValuesIn(kRequiredCases), CaseName);

const char kUnion[] =
    "{'type':'object','properties':{'kind':{'type':'string'},'before':{'type':'integer'},"
    "'x':{'type':'integer','optionDependency':{'name':'kind','value':['a','b']}},'after':{'type':'integer'}}}";
const char kBrokenUnion[] = "/x: Object does not follow UnionTag condition";

const ValidationCase kUnions[] = {
    {"Holds", kUnion, "{'x':1,'kind':'b'}", {CHECK_OPTION_DEPENDENCY}, ""},
    {"OtherTag", kUnion, "{'kind':'c','x':1}", {CHECK_OPTION_DEPENDENCY}, kBrokenUnion},
    {"NoTag", kUnion, "{'x':1}", {CHECK_OPTION_DEPENDENCY}, kBrokenUnion},
    {"TagIsNoText", kUnion, "{'kind':1,'x':1}", {CHECK_OPTION_DEPENDENCY}, kBrokenUnion},
    {"TagIsNull", kUnion, "{'kind':null,'x':1}", {CHECK_OPTION_DEPENDENCY}, kBrokenUnion},
    {"EndsTheObject",
     kUnion,
     "{'before':'i','x':'i','after':'i'}",
     {CHECK_OPTION_DEPENDENCY, CHECK_SCALAR_TYPES},
     "/before: INCORRECT TYPE: expected integer.; /x: Object does not follow UnionTag condition"},
    {"AbsentMemberNeedsNoTag", kUnion, "{'kind':'c'}", {CHECK_OPTION_DEPENDENCY}, ""},
    {"IsOffWithoutItsCheck", kUnion, "{'x':1}", {CHECK_SCALAR_TYPES}, ""},
    {"IsOffByDefault", kUnion, "{'x':1}", {}, ""},
    {"TagIsASibling",
     "{'type':'object','properties':{'kind':{'type':'string'},'o':{'type':'object','properties':{"
     "'x':{'type':'integer','optionDependency':{'name':'kind','value':['a']}}}}}}",
     "{'kind':'a','o':{'x':1}}",
     {CHECK_OPTION_DEPENDENCY},
     "/o/x: Object does not follow UnionTag condition"},
    {"WithoutNameIsNone",
     "{'type':'object','properties':{'x':{'type':'string','optionDependency':{'name':1}}}}",
     "{'x':'y'}",
     {CHECK_OPTION_DEPENDENCY},
     ""},
    {"OfOtherTypeIsNone",
     "{'type':'object','properties':{'x':{'type':'string','optionDependency':'name'}}}",
     "{'x':'y'}",
     {CHECK_OPTION_DEPENDENCY},
     ""},
    {"PropertyOfThatNameIsNone",
     "{'type':'object','properties':{'optionDependency':{'type':'string'}}}",
     "{'optionDependency':'y'}",
     {CHECK_OPTION_DEPENDENCY},
     ""},
    {"ValuesAreNoList",
     "{'type':'object','properties':{'x':{'type':'string','optionDependency':{'name':'k',"
     "'value':'a'}}}}",
     "{'x':'y'}",
     {CHECK_OPTION_DEPENDENCY},
     "2000 Invalid JSON"},
    {"ValuesAreMissing",
     "{'type':'object','properties':{'x':{'type':'string','optionDependency':{'name':'k'}}}}",
     "{'x':'y'}",
     {CHECK_OPTION_DEPENDENCY},
     "2000 Invalid JSON"},
};
INSTANTIATE_TEST_SUITE_P(UnionTags, Validation, testing::ValuesIn(kUnions), CaseName);

const char kLayers[] =
    "{'type':'object','properties':{'id':{'type':'string','instanceId':true},'iD':{'type':'string','instanceID':true},"
    "'u':{'type':'string'},'v':{'type':'object','vital':true,'properties':{'w':{'type':'string'}}},"
    "'c':{'type':'array','cached':true,'items':{'type':'string','vital':false}},'e':{'type':'object'}}}";
const char kLayered[] = "{'id':'1','iD':'2','u':'3','v':{'w':'4'},'c':['5'],'e':{}}";

const ValidationCase kLayerCases[] = {
    {"VitalOnly", kLayers, kLayered, {CHECK_VITAL_ONLY}, "/u: property is not vital; /c: property is not vital"},
    {"CachedOnly", kLayers, kLayered, {CHECK_CACHED_ONLY}, "/u: property is not cached; /v/w: property is not cached"},
    {"VitalSpeaksFirst", kLayers, kLayered, {CHECK_VITAL_ONLY, CHECK_CACHED_ONLY}, "/u: property is not vital"},
    {"NullIsInAnyLayer", kLayers, "{'u':null}", {CHECK_VITAL_ONLY}, ""},
    {"LayersAreOffByDefault", kLayers, kLayered, {}, ""},
    {"CachedFalseKeepsTheParents",
     "{'type':'object','cached':true,'properties':{'x':{'type':'string','cached':false}}}",
     "{'x':'1'}",
     {CHECK_CACHED_ONLY},
     ""},
    {"FalseIdentifierIsNone",
     "{'type':'object','properties':{'x':{'type':'string','instanceId':false}}}",
     "{'x':'1'}",
     {CHECK_VITAL_ONLY},
     "/x: property is not vital"},
    {"OtherSpellingCountsBeside",
     "{'type':'string','instanceId':false,'instanceID':true}",
     "'1'",
     {CHECK_CACHED_ONLY},
     ""},
    {"IdentifierSubtreeIsInLayer",
     "{'type':'object','instanceId':true,'properties':{'x':{'type':'string'}}}",
     "{'x':'1'}",
     {CHECK_CACHED_ONLY},
     ""},
    {"UserData", kLayers, "{'id':'1','u':'3'}", {CHECK_NON_USER_MARKERS}, ""},
    {"MarkersAreReportedAndPassed",
     kLayers,
     kLayered,
     {CHECK_NON_USER_MARKERS},
     "/v: Non user property not allowed.; /c: Non user property not allowed.; /c: Non user property not allowed."},
    {"VitalBeforeCached",
     "{'type':'string','cached':true,'vital':false}",
     "'1'",
     {CHECK_NON_USER_MARKERS},
     ": Non user property not allowed.; : Non user property not allowed."},
    {"NullMarkerIsNone", "{'type':'string','vital':null}", "'1'", {CHECK_NON_USER_MARKERS}, ""},
    {"AnyValueMarks",
     "{'type':'string','vital':'no'}",
     "'1'",
     {CHECK_NON_USER_MARKERS},
     ": Non user property not allowed."},
    {"WrongTypeHidesTheMarker",
     "{'type':'string','vital':true}",
     "1",
     {CHECK_NON_USER_MARKERS, CHECK_SCALAR_TYPES},
     ": INCORRECT TYPE: expected string."},
    {"MarkIsNoBoolean", "{'type':'string','vital':'yes'}", "'1'", {CHECK_VITAL_ONLY}, "2000 Invalid JSON"},
};
INSTANTIATE_TEST_SUITE_P(Layers, Validation, testing::ValuesIn(kLayerCases), CaseName);

}  // namespace
