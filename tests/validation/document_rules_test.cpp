#include "validation/document_rules.h"

#include "validation/validation_case.h"

using namespace OrvoConfigStore;

namespace {

// A document, and what is wrong with it as one to import and as user configuration.
// clang-format off
const char kValidNetd[] = "{'components':{'netd':{'ipstack':{'stack_settings':{'hostname':'n'}}}}}";
const char kAdditional[] = ": Additional property not allowed: x", kInvalid[] = "2000 Invalid JSON";
const char kMissing[] = "/components/netd/ipstack/stack_settings: Required property missing: hostname";
const struct { const char *document, *import, *user; } kDocumentCases[] = {
    {"{'components':{}}", "", ""},
    {kValidNetd, "", ""},
    {"{'components':{},'x':1}", kAdditional, kAdditional},
    {"{'components':{'netd':{'ipstack':{'stack_settings':{'mtu':1}}}}}", kMissing, kMissing},
    {"{'components':{'netd':{'ipstack':{'stack_settings':{'hostname':'n','learned_domain':'d'}}}}}", "",
     "/components/netd/ipstack/stack_settings/learned_domain: Non user property not allowed."},
    {"{}", kInvalid, kInvalid},
    {"{'components':[]}", kInvalid, kInvalid},
};
// clang-format on

/// Returns what `validate` appends, or throws.
template <class Validate>
std::string Outcome(Validate validate) {
  std::vector<ErrorInfo> errors;
  bool isValid = false;
  std::string text = Thrown([&] { isValid = validate(errors); });
  EXPECT_EQ(isValid, text.empty() && errors.empty());
  for (const ErrorInfo& info : errors) text += info.field + ": " + info.error;
  return text;
}

std::string Imported(const JsonDocument& document) {
  return Outcome([&](auto& errors) { return ValidateImportDocument(document, LookUpSchemas(document), errors); });
}

TEST(DocumentRules, DocumentsAreValidatedWithTheSchemasOfTheirTypes) {
  const TestStore store;
  for (const auto& row : kDocumentCases) {
    const auto document = CreateDocumentFromString(Quoted(row.document));
    EXPECT_EQ(row.import, Imported(*document->document)) << row.document;
    const auto object = ConfigStore::CreateObject({"document", "g", "c"}, Quoted(row.document));
    EXPECT_EQ(row.user, Outcome([&](auto& errors) { return ValidateDocument(object, errors); })) << row.document;
  }
  EXPECT_EQ("/components/netd/ipstack: Additional property not allowed: stack_settings", Outcome([](auto& errors) {
              return ValidateImportDocument(*CreateDocumentFromString(Quoted(kValidNetd))->document, {}, errors);
            }));
}

TEST(DocumentRules, InstancesAreNamedWhereTheStoreDoes) {
  const TestStore store;
  const auto document =
      CreateDocumentFromString(Quoted("{'components':{'accessd':{'local':{'user_account':[{'login':'a','uid':1}]}}}}"));
  EXPECT_EQ("", Imported(*document->document));
  EXPECT_NE(std::string::npos, JsonText(*document->document).find("\"cs_generated_id\":\""));
}

}  // namespace
