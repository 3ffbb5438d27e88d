#include "configstore/diagnostics.h"

#include "configstore/inspect.h"
#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

/// Returns "LINE:COLUMN POINTER [INSTANCE]: ERROR (RULE) ?NEAREST", a line each, warnings with "warning" in front.
std::string Text(const std::vector<Diagnostic>& diagnostics) {
  std::string text;
  for (const Diagnostic& found : diagnostics) {
    text += text.empty() ? "" : "\n";
    text += std::string(found.isWarning ? "warning " : "") + std::to_string(found.line) + ":" +
            std::to_string(found.column) + " " + found.pointer;
    if (!found.instance.empty()) text += " [" + found.instance + "]";
    text += ": " + found.violation.error;
    if (!found.rule.empty()) text += " (" + found.rule + ")";
    if (!found.nearest.empty()) text += " ?" + found.nearest;
  }
  return text;
}

// Holds what validation lets pass and no layer takes.
constexpr char kOpen[] = R"({"component": "c", "group": "g", "key": "open", "version": "1", "schema": {"type": "object",
  "properties": {"color": {"type": "string", "vital": true}, "bare": {"type": "object"},
    "part": {"type": "array", "items": {"type": "object", "properties": {"a": {"type": "integer"}}}}}}})";
const ConfigStoreObjectId kOpenType("open", "g", "c");

// Objects and documents, with ' for ", and what is found, as Text gives it.
const struct {
  ConfigStoreObjectId id;
  DIAGNOSE_FOR use;
  const char *text, *expected;
} kObjectCases[] = {
    {kStackSettings, DIAGNOSE_SET, "{'hostname':'n'}", ""},
    {kStackSettings, DIAGNOSE_SET, "{'hostname':'n',\n  x}", "2:3 : Missing a name for object member."},
    {kStackSettings, DIAGNOSE_SET, "[]", "1:1 : INCORRECT TYPE: expected object. (object)"},
    {kStackSettings, DIAGNOSE_SET, "{'hostname':'n', 'mtu': 1,\n\t'hostnme': 'm'}",
     "1:25 /mtu: Integer value below minimum: 576 (integer, from 576 to 9000)\n"
     "2:2 /hostnme: Additional property not allowed: hostnme ?hostname"},
    // Columns count characters; escapes are passed over.
    {kStackSettings, DIAGNOSE_SET, "{'hostname':'n','learned_domain':'\u00e9\\'}\\\\','mtu':'x'}",
     "1:49 /mtu: INCORRECT TYPE: expected integer. (integer, from 576 to 9000)"},
    // What is missing hides nothing below it, and an array is looked through to its end.
    {kStackSettings, DIAGNOSE_SET,
     "{'link':[{'name':'eth0'},\n{'name':'eth1','enabled':1,\n "
     "'address':[{'cs_generated_id':'g','ip':2}]},\n{'nam':'x'}]}",
     "1:1 : Required property missing: hostname (string, from 1 to 253 bytes, matches [A-Za-z0-9.-]+)\n"
     "2:26 /link/1/enabled [eth1]: INCORRECT TYPE: expected boolean. (boolean)\n"
     "3:41 /link/1/address/0/ip [g]: INCORRECT TYPE: expected string. (string, at most 45 bytes)\n"
     "4:1 /link/2: Required property missing: name (string)\n"
     "4:2 /link/2/nam: Additional property not allowed: nam ?name"},
    {kStackSettings, DIAGNOSE_SET, "{'hostname':'n','link':[{'name':'a'},{'name':'a'}],'default_link':'b'}",
     "1:38 /link/1 [a]: Duplicate instanceIds: a (object)\n"
     "warning 1:67 /default_link: REFERENCE ERROR: /default_link->/link/name (string, names a value of /link/name)"},
    {kStackSettings, DIAGNOSE_SET, "{'hostname':'n',\n'hostname':'m'}",
     "2:1 /hostname: Member is there twice: hostname"},
    {kOpenType, DIAGNOSE_UPDATE, "{'colr':'x','bare':{},\n'part':[{'a':1},{'b':1}]}",
     "1:2 /colr: Invalid field in schema: colr ?color\n"
     "1:20 /bare: The schema describes no member of this object: it cannot be stored (object)\n"
     "2:18 /part/1/b: Invalid field in schema: b"},
    {kOpenType, DIAGNOSE_STAGE, "{'colr':'x'}", ""},
    {kStackSettings, DIAGNOSE_UPDATE, "{'default_link':'b'}", ""},
    {kStackSettings, DIAGNOSE_VITAL, "{'mtu':1500}", "1:8 /mtu: property is not vital (integer, from 576 to 9000)"},
    {kStackSettings, DIAGNOSE_USER, "{'hostname':'n','learned_domain':'x'}",
     "1:34 /learned_domain: Non user property not allowed. (string)"},
    {kTimeSource, DIAGNOSE_SET, "{'method':'dhcp','ptp':{},'a/b~':1}",
     "1:11 /method: String value not one of the enum options (string, one of ntp, ptp, manual)\n"
     "1:24 /ptp: Object does not follow UnionTag condition (object, only while method is ptp)\n"
     "1:27 /a~1b~0: Additional property not allowed: a/b~"},
    {UserAccount("i"), DIAGNOSE_SET, "{'login':'a','uid':1,'password_hash':'\u2022\u2022\u2022'}", ""},
    {UserAccount(""), DIAGNOSE_SET, "[{'cs_generated_id':'i','login':'a'},\n{'login':'B','uid':1}]",
     "1:2 /0 [i]: Required property missing: uid (integer, from 0 to 65534)\n"
     "2:10 /1/login: String does not match pattern: [a-z_][a-z0-9_-]* (string, from 1 to 32 bytes, matches "
     "[a-z_][a-z0-9_-]*)"},
};

const std::pair<const char*, const char*> kDocumentCases[] = {
    {"{'components':{}}", ""},
    {"", "1:1 : The document is empty."},
    {"null", "1:1 : INCORRECT TYPE: expected object. (object)"},
    {"{'component':{}}",
     "1:1 : Required property missing: components (object)\n"
     "1:2 /component: Additional property not allowed: component ?components"},
    {"{'components':null}", "1:15 /components: INCORRECT TYPE: expected object. (object)"},
    {"{'components':{'netd':[]}}", "1:23 /components/netd: INCORRECT TYPE: expected object. (object)"},
    {"{'components':{'netd':{'ipstack':{'stack_setings':{}}}}}",
     "1:35 /components/netd/ipstack/stack_setings: Additional property not allowed: stack_setings "
     "?netd/ipstack/stack_settings"},
    {"{'components':{'accessd':{'local':{'user_account':[\n{'cs_generated_id':'i','login':'a','uid':1},\n"
     "{'cs_generated_id':'i','login':'b','uid':-1}, null]}}}}",
     "3:1 /components/accessd/local/user_account/1 [i]: Duplicate instanceIds: i (object)\n"
     "3:42 /components/accessd/local/user_account/1/uid [i]: Integer value below minimum: 0 (integer, from 0 to "
     "65534)\n"
     "3:47 /components/accessd/local/user_account/2: INCORRECT TYPE: expected object. (object)"},
    {"{'components':{'netd':{'ipstack':{'stack_settings':{'hostname':'n','default_link':'e'}}}}}",
     "warning 1:83 /components/netd/ipstack/stack_settings/default_link: REFERENCE ERROR: "
     "/default_link->/link/name (string, names a value of /link/name)"},
};

}  // namespace

TEST(Diagnostics, ObjectsAreExplainedInPlace) {
  const TestStore store{{kOpen}};
  for (const auto& row : kObjectCases) {
    EXPECT_EQ(row.expected, Text(DiagnoseObject(row.id, Quoted(row.text), row.use))) << row.text;
  }
}

TEST(Diagnostics, DocumentsAreExplainedInPlace) {
  const TestStore store;
  for (const auto& [text, expected] : kDocumentCases) EXPECT_EQ(expected, Text(DiagnoseDocument(Quoted(text)))) << text;
}
