#include "validation/document_rules.h"

#include "validation/validation_case.h"

using namespace OrvoConfigStore;

namespace {

/// A document, and what is wrong with it as one to import and as user configuration.
struct DocumentCase {
  const char* document;
  const char* import;
  const char* user;
};

constexpr char kValidNetd[] = "{'components':{'netd':{'ipstack':{'stack_settings':{'hostname':'n'}}}}}";
const DocumentCase kDocumentCases[] = {
    {"{'components':{}}", "", ""},
    {kValidNetd, "", ""},
    {"{'components':{},'x':1}", ": Additional property not allowed: x", ": Additional property not allowed: x"},
    {"{'components':{'netd':{'ipstack':{'x':{}}}}}", "/components/netd/ipstack: Additional property not allowed: x",
     "/components/netd/ipstack: Additional property not allowed: x"},
    {"{'components':{'netd':{'ipstack':{'stack_settings':{'mtu':1}}}}}",
     "/components/netd/ipstack/stack_settings: Required property missing: hostname",
     "/components/netd/ipstack/stack_settings: Required property missing: hostname"},
    {"{'components':{'netd':{'ipstack':{'stack_settings':{'hostname':'n','learned_domain':'d'}}}}}", "",
     "/components/netd/ipstack/stack_settings/learned_domain: Non user property not allowed."},
    {"{}", "2000 Invalid JSON", "2000 Invalid JSON"},
    {"{'components':[]}", "2000 Invalid JSON", "2000 Invalid JSON"},
};

/// Returns what `validate` appends, or throws.
template <class Validate>
std::string Outcome(Validate validate) {
  std::vector<ErrorInfo> errors;
  std::string text = Thrown([&] {
    const bool isValid = validate(errors);
    EXPECT_EQ(isValid, errors.empty());
  });
  for (const ErrorInfo& info : errors) text += (text.empty() ? "" : "; ") + info.field + ": " + info.error;
  return text;
}

}  // namespace

TEST(DocumentRules, DocumentsAreValidatedWithTheSchemasOfTheirTypes) {
  const TestStore store;
  for (const DocumentCase& row : kDocumentCases) {
    const auto document = CreateDocumentFromString(Quoted(row.document));
    EXPECT_EQ(row.import, Outcome([&](auto& errors) {
                return ValidateImportDocument(*document->document, LookUpSchemas(*document->document), errors);
              }))
        << row.document;
    const auto object = ConfigStore::CreateObject({"document", "g", "c"}, Quoted(row.document));
    EXPECT_EQ(row.user, Outcome([&](auto& errors) { return ValidateDocument(object, errors); })) << row.document;
  }
}

TEST(DocumentRules, TypesWithoutASchemaInTheMapAreNotAllowed) {
  const TestStore store;
  const auto document = CreateDocumentFromString(Quoted(kValidNetd));
  EXPECT_EQ("/components/netd/ipstack: Additional property not allowed: stack_settings",
            Outcome([&](auto& errors) { return ValidateImportDocument(*document->document, {}, errors); }));
}

TEST(DocumentRules, InstancesAreNamedWhereTheStoreDoes) {
  const TestStore store;
  const auto document =
      CreateDocumentFromString(Quoted("{'components':{'accessd':{'local':{'user_account':[{'login':'a','uid':1}]}}}}"));
  EXPECT_EQ("", Outcome([&](auto& errors) {
              return ValidateImportDocument(*document->document, LookUpSchemas(*document->document), errors);
            }));
  std::string text;
  SerializeValue(*document->document, text);
  EXPECT_NE(std::string::npos, text.find("\"cs_generated_id\":\""));
}
