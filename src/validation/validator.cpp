#include "validation/validator.h"

#include <memory>

#include "configstore/json_document.h"
#include "configstore/validation.h"
#include "platform/json_reader.h"

namespace OrvoConfigStore {

bool ValidateNode(const JsonValue& schemaNode, JsonAllocator& allocator, const JsonValue& dataNode,
                  const ReferenceValues& referenceValues, const std::string& path, JsonDocument& errors,
                  const std::unordered_set<int>& checks, const OptionTagNames& optionTagNames, bool layerFlag) {
  SchemaNode schema(schemaNode);
  return Walk{CheckSelection(checks), allocator, referenceValues, optionTagNames, errors}.Node(
      schema, dataNode, {nullptr, path}, layerFlag);
}

void VisitViolations(const JsonValue& schema, const JsonValue& data, const CheckSelection& checks,
                     JsonAllocator& allocator, const FindingListener& listener) {
  JsonStorage unused;
  SchemaNode root(schema);
  Validate(root, data, checks, allocator, unused.document, &listener);
}

void ValidateJsonInternal(const JsonValue& schema, const JsonValue& data, JsonDocument& errors,
                          const std::unordered_set<int>& checks, JsonAllocator& allocator) {
  SchemaNode root(schema);
  Validate(root, data, CheckSelection(checks), allocator, errors);
}

void ValidateJsonInternal(const JsonValue& schema, const JsonDocument& data, JsonDocument& errors,
                          const std::unordered_set<int>& checks) {
  ValidateJsonInternal(schema, data, errors, checks, CallersOwn(data).GetAllocator());
}

void ValidateJson(const std::string& schemaText, const std::string& dataText, JsonDocument& errors,
                  const std::unordered_set<int>& checks) {
  const std::shared_ptr<JsonDoc> schema = CreateDocumentFromString(schemaText);
  const std::shared_ptr<JsonDoc> data = CreateDocumentFromString(dataText);
  ValidateJsonInternal(*schema->document, *data->document, errors, checks);
}

std::string ValidateJsonStr(const std::string& schemaText, const std::string& dataText,
                            const std::unordered_set<int>& checks) {
  constexpr size_t kErrorChunk = size_t{64} << 10;
  constexpr size_t kErrorStack = 1024;
  JsonAllocator allocator(kErrorChunk);
  JsonDocument errors(&allocator, kErrorStack);
  ValidateJson(schemaText, dataText, errors, checks);
  std::string text;
  SerializeValue(errors, text);
  return text;
}

}  // namespace OrvoConfigStore
