#include "validation/validator.h"

#include <memory>

#include "configstore/json_document.h"
#include "configstore/validation.h"
#include "platform/json_reader.h"

namespace OrvoConfigStore {

namespace {

// The whole of schema and data; `listener` may be null.
void WalkAll(const JsonValue& schema, const JsonValue& data, JsonDocument& errors,
             const std::unordered_set<int>& checks, JsonAllocator& allocator, const FindingListener* listener) {
  const OptionTagNames tagNames = CollectOptionTagNames(schema);
  SchemaNode root(schema);
  ReferenceValues references;
  if (checks.count(CHECK_REFERENCES) != 0) references = CollectReferenceValues(root, data);
  errors.SetArray();
  std::string path;
  Walk{CheckSelection(checks), allocator, references, tagNames, errors, {}, listener}.Node(root, data, path, false);
}

}  // namespace

bool ValidateNode(const JsonValue& schemaNode, JsonAllocator& allocator, const JsonValue& dataNode,
                  const ReferenceValues& referenceValues, const std::string& path, JsonDocument& errors,
                  const std::unordered_set<int>& checks, const OptionTagNames& optionTagNames, bool layerFlag) {
  SchemaNode schema(schemaNode);
  std::string place = path;
  return Walk{CheckSelection(checks), allocator, referenceValues, optionTagNames, errors}.Node(schema, dataNode, place,
                                                                                               layerFlag);
}

void VisitViolations(const JsonValue& schema, const JsonValue& data, const std::unordered_set<int>& checks,
                     JsonAllocator& allocator, const FindingListener& listener) {
  JsonStorage unused;
  WalkAll(schema, data, unused.document, checks, allocator, &listener);
}

void ValidateJsonInternal(const JsonValue& schema, const JsonValue& data, JsonDocument& errors,
                          const std::unordered_set<int>& checks, JsonAllocator& allocator) {
  WalkAll(schema, data, errors, checks, allocator, nullptr);
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
