#include "validation/document_rules.h"

#include "validation/validation_case.h"

using namespace OrvoConfigStore;

namespace {

// A document, and what is wrong with it as user configuration; imports are tested as a whole.
// clang-format off
const std::pair<const char*, const char*> kDocumentCases[] = {
    {"{'components':{}}", ""},
    {"{'components':{'netd':{'ipstack':{'stack_settings':{'hostname':'n'}}}}}", ""},
    {"{'components':{},'x':1}", ": Additional property not allowed: x"},
    {"{'components':{'netd':{'ipstack':{'stack_settings':{'mtu':1}}}}}",
     "/components/netd/ipstack/stack_settings: Required property missing: hostname"},
    {"{'components':{'netd':{'ipstack':{'stack_settings':{'hostname':'n','learned_domain':'d'}}}}}",
     "/components/netd/ipstack/stack_settings/learned_domain: Non user property not allowed."},
    {"{}", "2000 Invalid JSON"},
    {"{'components':[]}", "2000 Invalid JSON"},
};
// clang-format on

TEST(DocumentRules, DocumentsAreValidatedWithTheSchemasOfTheirTypes) {
  const TestStore store;
  for (const auto& [document, expected] : kDocumentCases) {
    const auto object = ConfigStore::CreateObject({"document", "g", "c"}, Quoted(document));
    std::vector<ErrorInfo> errors;
    bool isValid = false;
    std::string found = Thrown([&] { isValid = ValidateDocument(object, errors); });
    EXPECT_EQ(isValid, found.empty() && errors.empty());
    for (const ErrorInfo& info : errors) found += info.field + ": " + info.error;
    EXPECT_EQ(expected, found) << document;
  }
}

}  // namespace
