#include <regex>

#include "validation/validation_case.h"
#include "validation/validator.h"

namespace {

using namespace OrvoConfigStore;

std::string Errors(const std::string& schema, const std::string& data, const std::unordered_set<int>& checks = {}) {
  return ValidateJsonStr(Quoted(schema), Quoted(data), checks);
}

}  // namespace

TEST(ErrorArray, HoldsValueFieldAndErrorInThisOrder) {
  EXPECT_EQ("[]", Errors("{'type':'object'}", "{}"));
  EXPECT_EQ(Quoted("[{'value':{'b':[1,null]},'field':'/a','error':'INCORRECT TYPE: expected string.'},"
                   "{'value':2,'field':'/c','error':'INCORRECT TYPE: expected string.'}]"),
            Errors("{'type':'object','properties':{'a':{'type':'string'},'c':{'type':'string'}}}",
                   "{'a':{'b':[1,null]},'c':2}"));
}

// Which value an error shows where it is not the one at the field's path.
// clang-format off
const struct { const char *schema, *data, *value; } kValueCases[] = {
    {"{'type':'object','required':['b']}", "{'a':1}", "{'a':1}"},
    {"{'type':'object','additionalProperties':false}", "{'a':1}", "{'a':1}"},
    {"{'type':'array','instanceId':'i','items':{'type':'object','properties':{'i':{'type':'string'}}}}",
     "[{'i':'x','n':1},{'i':'x','n':2},{'i':'x','n':3}]", "{'i':'x','n':2}"},
    {"{'type':'object','properties':{'x':{'type':'string','optionDependency':{'name':'k','value':[]}}}}", "{'x':'y'}",
     "'y'"},
};
// clang-format on

TEST(ErrorArray, ShowsTheValueThatTheRuleIsAbout) {
  for (const auto& row : kValueCases) {
    const std::string start = Quoted(std::string("[{'value':") + row.value + ",");
    EXPECT_EQ(start, Errors(row.schema, row.data, {0, 4, 8}).substr(0, start.size()));
  }
}

TEST(ErrorArray, ReplacesWhatTheDocumentHeldAndRefusesTextsThatAreNoJson) {
  const auto errors = CreateDocumentFromString("[1]");
  ValidateJson("{\"type\":\"object\"}", "{}", *errors->document, {});
  EXPECT_TRUE(errors->document->IsArray() && errors->document->Empty());
  EXPECT_EQ("1080 Failed to parse JSON String", Thrown([] { Errors("{", "{}"); }));
  EXPECT_EQ("1080 Failed to parse JSON String", Thrown([] { Errors("{'type':'object'}", ""); }));
}

TEST(ErrorArray, IsBoundedInLengthAndInTheValuesItCopies) {
  // Nearly every member is forbidden, and every error shows the object with all of them.
  const std::string errors =
      Errors("{'type':'object','additionalProperties':false,'properties':{'last':{'type':'string'}}}",
             "{" + Repeated("'x':1,", 99999) + "'last':1}");
  EXPECT_LT(errors.size(), size_t{64} << 20);
  EXPECT_EQ(0u, errors.find("[{\"value\":{\"x\":1,"));
  const std::string last = "{\"value\":null,\"field\":\"/last\",\"error\":\"INCORRECT TYPE: expected string.\"}]";
  EXPECT_EQ(errors.size() - last.size(), errors.find(last));
  const auto bounded = CreateDocument();
  ValidateJson(R"({"type":"array","items":{"type":"string"}})", "[" + Repeated("1,", 250000) + "1]", *bounded->document,
               {});
  EXPECT_EQ(250000u, bounded->document->Size());
}

TEST(ErrorArray, CanBeWrittenForTheDeepestData) {
  const auto error = [](const std::string& value) {
    return "[{\"value\":" + value + ",\"field\":\"\",\"error\":\"INCORRECT TYPE: expected string.\"}]";
  };
  for (const size_t levels : {512, 511}) {
    EXPECT_EQ(error("null"), Errors("{'type':'string'}", Repeated("[", levels) + Repeated("]", levels))) << levels;
  }
  const std::string shallower = Repeated("[", 510) + "1" + Repeated("]", 510);
  EXPECT_EQ(error(shallower), Errors("{'type':'string'}", shallower));
}

TEST(ErrorArray, IsLoggedWithoutTheValues) {
  const TempRoot root;
  const LogCapture log(root);
  Errors("{'type':'object','properties':{'pin':{'type':'secret','maxLength':2}},'additionalProperties':null}",
         "{'pin':'1234'}");
  EXPECT_EQ((std::vector<std::string>{"[Validator] Field: /pin, Error: String length longer than maximum: 2"}),
            log.Lines());
  Errors("{'type':'object','additionalProperties':null}", "{'a':1,'b':2}");
  EXPECT_EQ("Value null for key: additionalProperties", log.Lines().at(1));
  Violations("{'type':'string','pattern':'(a'}", "'1234'", {});
  EXPECT_EQ(0u, log.Lines().at(2).find("A pattern of the schema cannot be used: "));
}

TEST(GeneratedIds, AreAssignedWhereTheSchemaHasThem) {
  const auto schema = CreateDocumentFromString(
      Quoted("{'type':'object','properties':{'cs_generated_id':{'type':'string'},'l':{'type':'array','items':{"
             "'type':'object','properties':{'cs_generated_id':{'type':'string'}}}},'o':{'type':'object'}}}"));
  const auto data = CreateDocumentFromString(Quoted("{'l':[{},{'cs_generated_id':'kept'}],'o':{}}"));
  const auto assign = [&](int check) {
    const auto errors = CreateDocument();
    ValidateJsonInternal(*schema->document, *data->document, *errors->document, {check});
    return std::regex_replace(JsonText(*data->GetJsonValuePtr()),
                              std::regex("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}"), "NEW");
  };
  EXPECT_EQ(Quoted("{'l':[{},{'cs_generated_id':'kept'}],'o':{}}"), assign(CHECK_REQUIRED));
  EXPECT_EQ(Quoted("{'l':[{'cs_generated_id':'NEW'},{'cs_generated_id':'kept'}],'o':{},'cs_generated_id':'NEW'}"),
            assign(CHECK_ASSIGN_GENERATED_ID));
}

TEST(ValidateNodeInLongForm, StartsAtTheGivenPlace) {
  const auto schema = CreateDocumentFromString(Quoted(
      "{'type':'object','properties':{'r':{'type':'string','reference':'/n'},'x':{'type':'string','optionDependency':{"
      "'name':'k','value':['v']}},'z':{'type':'integer'}}}"));
  const auto data = CreateDocumentFromString(Quoted("{'r':'text','k':'v','x':'1','z':'2'}"));
  const auto errors = CreateDocumentFromString("[]");
  const auto node = [&](const ReferenceValues& references, const std::unordered_set<int>& checks,
                        const OptionTagNames& tags, bool inLayer) {
    errors->document->SetArray();
    const bool valid = ValidateNode(*schema->document, *data->allocator, *data->document, references, "/at",
                                    *errors->document, checks, tags, inLayer);
    return (valid ? "valid" : "not ") + Text(*errors->document);
  };
  EXPECT_EQ("valid", node({{"/n", {"text"}}}, {2, 5, 8}, {"k"}, true));
  EXPECT_EQ("not /at/r: REFERENCE ERROR: /at/r->/n", node({{"/n", {"other"}}}, {2}, {}, false));
  EXPECT_EQ("not /at/x: Object does not follow UnionTag condition", node({}, {8}, {}, false));
  EXPECT_EQ("not /at/r: property is not vital; /at/x: property is not vital; /at/z: property is not vital",
            node({}, {5}, {}, false));
}
