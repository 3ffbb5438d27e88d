#include "documents/parsed_document.h"

#include <set>
#include <string_view>
#include <unordered_set>

#include "configstore/logging.h"
#include "objects/json_access.h"
#include "platform/schema_check.h"

namespace OrvoConfigStore {
namespace {

constexpr size_t kMaxDocumentBytes = size_t{1} << 30;

constexpr char kExpectedObject[] = "INCORRECT TYPE: expected object.";
constexpr char kExpectedArray[] = "INCORRECT TYPE: expected array.";

std::string_view InstanceKey(const SchemaObject& schema) {
  return TextOf(*FindValue(schema.GetJson(), "instanceId"));
}

// Why no instance can have this name; null when one can.
const char* RefusalOf(const std::string& instanceId) {
  if (instanceId.empty()) return "Non-Singleton object should contain instanceId";
  if (instanceId.size() > OrvoSchemaStore::kMaxIdentifierBytes) return "instanceId is longer than 255 bytes";
  return instanceId.find('\0') != std::string::npos ? "instanceId holds a NUL byte" : nullptr;
}

std::string PathBelow(const std::string& path, const JsonValue& name) {
  return path + "/" + std::string(TextOf(name));
}

}  // namespace

std::string TypeEntry::Path() const {
  return "/components/" + type.component + "/" + type.group + "/" + type.key;
}

std::shared_ptr<JsonStorage> ParseDocumentText(const std::string& text) {
  auto storage = std::make_shared<JsonStorage>(text.size());
  JsonReadFailure failure{0, "Text is longer than 1 GiB."};
  if (text.size() > kMaxDocumentBytes || !ReadJson(text, storage->document, &failure)) {
    CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "JSON text refused at byte %zu: %s", failure.offset, failure.reason);
    ThrowException<InvalidArgumentException>(CS_JSON_STRING_INVALID);
  }
  ComponentsOf(storage->document);
  return storage;
}

ParsedDocument ParseDocument(const std::string& text) {
  ParsedDocument document;
  document.storage = ParseDocumentText(text);
  document.schemas = LookUpSchemas(document.storage->document);
  ForEachType(document.storage->document, [&](const ConfigStoreObjectId& type, const JsonValue& value) {
    const auto schema = document.schemas.find(type);
    // The document is this function's own.
    document.entries.push_back(
        {type, schema == document.schemas.end() ? nullptr : schema->second, const_cast<JsonValue*>(&value)});
  });
  return document;
}

void FindNullsAndRepeats(const ParsedDocument& document, std::vector<ErrorInfo>& errors) {
  for (const auto& component : ComponentsOf(document.storage->document).GetObject()) {
    const std::string path = PathBelow("/components", component.name);
    if (component.value.IsNull()) errors.push_back({path, kExpectedObject});
    if (!component.value.IsObject()) continue;
    for (const auto& group : component.value.GetObject()) {
      if (group.value.IsNull()) errors.push_back({PathBelow(path, group.name), kExpectedObject});
    }
  }
  std::unordered_set<ConfigStoreObjectId> met;
  for (const TypeEntry& entry : document.entries) {
    if (!met.insert(entry.type).second) errors.push_back({entry.Path(), "Type is there twice"});
    const bool isArray = entry.schema != nullptr && !entry.schema->IsSingleton();
    if (entry.value->IsNull()) {
      errors.push_back({entry.Path(), isArray ? kExpectedArray : kExpectedObject});
    } else if (isArray && entry.value->IsArray()) {
      ForEachObject(entry, [&](const JsonValue& element) {
        if (element.IsNull()) errors.push_back({entry.Path(), kExpectedObject});
      });
    }
  }
}

void NameInstances(const TypeEntry& entry, JsonAllocator& allocator) {
  if (!entry.schema->IsGeneratedId()) return;
  ForEachObject(entry, [&](JsonValue& data) {
    if (FindValue(data, kGeneratedId) != nullptr) return;
    data.AddMember(TextValue(kGeneratedId, allocator), TextValue(GenerateInstanceId(), allocator), allocator);
  });
}

ConfigStoreObjectId IdOf(const TypeEntry& entry, const JsonValue& data) {
  ConfigStoreObjectId id = entry.type;
  if (entry.schema == nullptr || entry.schema->IsSingleton() || !data.IsObject()) return id;
  const JsonValue* name = FindValue(data, InstanceKey(*entry.schema));
  if (name != nullptr && name->IsString()) id.instanceId = TextOf(*name);
  return id;
}

std::shared_ptr<ConfigStoreObject> MakeObject(const TypeEntry& entry, const ConfigStoreObjectId& id,
                                              const JsonValue& data) {
  return std::make_shared<ConfigStoreObject>(id, DocOver(CopyToStorage(data)), entry.schema, entry.schema->GetVersion(),
                                             "", "", true, nullptr, nullptr);
}

void CheckNames(const TypeEntry& entry, std::vector<ErrorInfo>& errors) {
  if (entry.schema->IsSingleton()) return;
  std::unordered_set<std::string> met;
  ForEachObject(entry, [&](const JsonValue& data) {
    const std::string instanceId = IdOf(entry, data).instanceId;
    const char* refusal = RefusalOf(instanceId);
    if (refusal != nullptr) {
      errors.push_back({entry.Path(), refusal});
    } else if (!met.insert(instanceId).second) {
      errors.push_back({entry.Path(), "Duplicate instanceIds: " + instanceId});
    }
  });
}

}  // namespace OrvoConfigStore
