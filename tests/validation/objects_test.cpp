#include "validation/validation_case.h"

namespace {

using namespace OrvoConfigStore;

// clang-format off
const char kClosed[] = "{'type':'object','additionalProperties':false,'properties':{'a':{'type':'integer'},'b':null}}";
const char kOpen[] = "{'type':'object','properties':{'a':{'type':'integer'}}}";

const ValidationCase kMembers[] = {
    {kClosed, "{'x':1}", {}, ": Additional property not allowed: x"},
    {kClosed, "{'x':1,'a':'y','z':0}", {},
     ": Additional property not allowed: x; /a: INCORRECT TYPE: expected integer.; "
     ": Additional property not allowed: z"},
    {kClosed, "{'b':1}", {}, ": Additional property not allowed: b"},
    {kClosed, "{'x':1}", {CHECK_SCALAR_TYPES}, ""},
    {kClosed, "{'x':1,'a':'y'}", {CHECK_ADDITIONAL_PROPERTIES}, ": Additional property not allowed: x"},
    {kOpen, "{'x':{'y':1}}", {}, ""},
    {"{'type':'object','additionalProperties':true}", "{'x':1}", {}, ""},
    {"{'type':'object','additionalProperties':false}", "{'x':1}", {}, ": Additional property not allowed: x"},
    {kOpen, "{'a':null}", {}, ""},
    {kOpen, "{'a':1,'a':'x','a':'y'}", {},
     "/a: INCORRECT TYPE: expected integer.; /a: INCORRECT TYPE: expected integer."},
    {"{'type':'object','properties':{'o':{'type':'object','properties':{'a/b':{'type':'string'}}},'p':{'type':'string'"
     "}}}",
     "{'o':{'a/b':1},'p':1}", {}, "/o/a/b: INCORRECT TYPE: expected string.; /p: INCORRECT TYPE: expected string."},
    {"{'type':'object','properties':[]}", "{'x':1}", {}, "2000 Invalid JSON"},
    {"{'type':'object','properties':{'a':5}}", "{'a':1}", {}, "2000 Invalid JSON"},
    {"{'type':'object','additionalProperties':0}", "{'x':1}", {}, "2000 Invalid JSON"},
};

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
    {kRequired, "{}", {}, kLenient},
    {kRequired, "{}", {CHECK_REQUIRED_NON_LAYERED}, kLenient},
    {kRequired, "{}", {CHECK_REQUIRED, CHECK_NON_USER_MARKERS}, kLenient},
    {kRequired, "{}", {CHECK_REQUIRED, CHECK_NON_USER_MARKERS, CHECK_VITAL_ONLY}, kLenient},
    {kRequired, "{}", {CHECK_REQUIRED, CHECK_REQUIRED_NON_LAYERED}, kLenient},
    {kRequired, "{}", {CHECK_REQUIRED}, kStrict},
    {kRequired, "{}", {CHECK_REQUIRED, CHECK_VITAL_ONLY}, ": Required property missing: v"},
    {kRequired, "{}", {CHECK_NON_USER_MARKERS}, ""},
    {kRequired, "{}", {CHECK_VITAL_ONLY}, ""},
    {kRequired, "{}", {CHECK_ADDITIONAL_PROPERTIES, CHECK_SCALAR_TYPES}, ""},
    {kRequired, "{'plain':1,'x':1}", {},  // what is missing ends the object
     ": Required property missing: none; : Required property missing: unmarked"},
    {"{'type':'object','required':['a']}", "{'a':null}", {}, ""},
    {"{'type':'object','required':null}", "{}", {}, ""},
    {"{'type':'object','required':['cs_generated_id'],'properties':{'cs_generated_id':{'type':'string'}}}", "{}",
     {CHECK_REQUIRED, CHECK_ASSIGN_GENERATED_ID}, ""},  // it is assigned first
    {"{'type':'object','properties':{'o':{'type':'object','required':['a']}}}", "{'o':{}}", {},
     "/o: Required property missing: a"},
    {"{'type':'object','required':'a'}", "{'a':1}", {}, "2000 Invalid JSON"},
    {"{'type':'object','required':[1]}", "{'a':1}", {}, "2000 Invalid JSON"},
    {"{'type':'object','required':['a'],'properties':{'a':{'type':'string','vital':1}}}", "{}", {},
     "2000 Invalid JSON"},
};

const char kUnion[] =
    "{'type':'object','properties':{'kind':{'type':'string'},'before':{'type':'integer'},"
    "'x':{'type':'integer','optionDependency':{'name':'kind','value':['a','b']}},'after':{'type':'integer'}}}";
const char kBroken[] = "/x: Object does not follow UnionTag condition";

const ValidationCase kUnions[] = {
    {kUnion, "{'x':1,'kind':'b'}", {CHECK_OPTION_DEPENDENCY}, ""},
    {kUnion, "{'kind':'c','x':1}", {CHECK_OPTION_DEPENDENCY}, kBroken},
    {kUnion, "{'x':1}", {CHECK_OPTION_DEPENDENCY}, kBroken},
    {kUnion, "{'kind':1,'x':1}", {CHECK_OPTION_DEPENDENCY}, kBroken},
    {kUnion, "{'kind':null,'x':1}", {CHECK_OPTION_DEPENDENCY}, kBroken},
    {kUnion, "{'before':'i','x':'i','after':'i'}", {CHECK_OPTION_DEPENDENCY, CHECK_SCALAR_TYPES},  // ends the object
     "/before: INCORRECT TYPE: expected integer.; /x: Object does not follow UnionTag condition"},
    {kUnion, "{'kind':'c'}", {CHECK_OPTION_DEPENDENCY}, ""},
    {kUnion, "{'x':1}", {CHECK_SCALAR_TYPES}, ""},
    {kUnion, "{'x':1}", {}, ""},
    {"{'type':'object','properties':{'k':{'type':'string'},'o':{'type':'object','properties':{"
     "'x':{'type':'integer','optionDependency':{'name':'k','value':['a']}}}}}}",
     "{'k':'a','o':{'x':1}}", {CHECK_OPTION_DEPENDENCY}, "/o/x: Object does not follow UnionTag condition"},
    {"{'type':'object','properties':{'x':{'type':'string','optionDependency':{'name':1}}}}", "{'x':'y'}",
     {CHECK_OPTION_DEPENDENCY}, ""},
    {"{'type':'object','properties':{'x':{'type':'string','optionDependency':'name'}}}", "{'x':'y'}",
     {CHECK_OPTION_DEPENDENCY}, ""},
    {"{'type':'object','properties':{'optionDependency':{'type':'string'}}}", "{'optionDependency':'y'}",
     {CHECK_OPTION_DEPENDENCY}, ""},
    {"{'type':'object','properties':{'x':{'type':'string','optionDependency':{'name':'k','value':'a'}}}}", "{'x':'y'}",
     {CHECK_OPTION_DEPENDENCY}, "2000 Invalid JSON"},
    {"{'type':'object','properties':{'x':{'type':'string','optionDependency':{'name':'k'}}}}", "{'x':'y'}",
     {CHECK_OPTION_DEPENDENCY}, "2000 Invalid JSON"},
};

const char kLayers[] =
    "{'type':'object','properties':{'id':{'type':'string','instanceId':true},'iD':{'type':'string','instanceID':true},"
    "'u':{'type':'string'},'v':{'type':'object','vital':true,'properties':{'w':{'type':'string'}}},"
    "'c':{'type':'array','cached':true,'items':{'type':'string','vital':false}},'e':{'type':'object'}}}";
const char kLayered[] = "{'id':'1','iD':'2','u':'3','v':{'w':'4'},'c':['5'],'e':{}}";

const ValidationCase kLayerCases[] = {
    {kLayers, kLayered, {CHECK_VITAL_ONLY}, "/u: property is not vital; /c: property is not vital"},
    {kLayers, kLayered, {CHECK_CACHED_ONLY}, "/u: property is not cached; /v/w: property is not cached"},
    {kLayers, kLayered, {CHECK_VITAL_ONLY, CHECK_CACHED_ONLY}, "/u: property is not vital"},
    {kLayers, "{'u':null}", {CHECK_VITAL_ONLY}, ""},
    {kLayers, kLayered, {}, ""},
    {"{'type':'object','cached':true,'properties':{'x':{'type':'string','cached':false}}}", "{'x':'1'}",
     {CHECK_CACHED_ONLY}, ""},  // the parent's mark stays
    {"{'type':'object','properties':{'x':{'type':'string','instanceId':false}}}", "{'x':'1'}", {CHECK_VITAL_ONLY},
     "/x: property is not vital"},
    {"{'type':'string','instanceId':false,'instanceID':true}", "'1'", {CHECK_CACHED_ONLY}, ""},
    {"{'type':'object','instanceId':true,'properties':{'x':{'type':'string'}}}", "{'x':'1'}", {CHECK_CACHED_ONLY}, ""},
    {kLayers, "{'id':'1','u':'3'}", {CHECK_NON_USER_MARKERS}, ""},
    {kLayers, kLayered, {CHECK_NON_USER_MARKERS},
     "/v: Non user property not allowed.; /c: Non user property not allowed.; /c: Non user property not allowed."},
    {"{'type':'string','cached':true,'vital':false}", "'1'", {CHECK_NON_USER_MARKERS},
     ": Non user property not allowed.; : Non user property not allowed."},
    {"{'type':'string','vital':null}", "'1'", {CHECK_NON_USER_MARKERS}, ""},
    {"{'type':'string','vital':'no'}", "'1'", {CHECK_NON_USER_MARKERS}, ": Non user property not allowed."},
    {"{'type':'string','vital':true}", "1", {CHECK_NON_USER_MARKERS, CHECK_SCALAR_TYPES},
     ": INCORRECT TYPE: expected string."},
    {"{'type':'string','vital':'yes'}", "'1'", {CHECK_VITAL_ONLY}, "2000 Invalid JSON"},
};
// clang-format on

TEST(Members, AreDescribedOrAllowed) {
  ExpectViolations(kMembers);
}
TEST(RequiredMembers, DependOnTheChecksAndTheirMarks) {
  ExpectViolations(kRequiredCases);
}
TEST(UnionTags, MustBeASiblingOfAnAllowedText) {
  ExpectViolations(kUnions);
}
TEST(Layers, TakeWhatIsMarkedForThem) {
  ExpectViolations(kLayerCases);
}

}  // namespace
