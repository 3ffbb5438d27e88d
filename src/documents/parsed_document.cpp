#include "documents/parsed_document.h"

#include <string_view>
#include <unordered_set>

#include "configstore/logging.h"
#include "documents/unstorable.h"
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

// Why the element's name is none; empty when it is one, or when the validator has
// said so already.
std::string RefusalOf(const JsonValue& element, std::string_view idKey) {
  const JsonValue* name = element.IsObject() ? FindValue(element, idKey) : nullptr;
  if (name == nullptr || name->IsNull()) return "Required property missing: " + std::string(idKey);
  if (!name->IsString()) return {};
  const std::string_view text = TextOf(*name);
  if (text.empty()) return "Non-Singleton object should contain instanceId";
  if (text.size() > OrvoSchemaStore::kMaxIdentifierBytes) return "instanceId is longer than 255 bytes";
  return text.find('\0') == std::string_view::npos ? "" : "instanceId holds a NUL byte";
}

std::string PathBelow(const std::string& path, const JsonValue& name) {
  return path + "/" + std::string(TextOf(name));
}

void Tell(const FindingListener& listener, const JsonValue& place, const std::string& path,
          const std::string& message) {
  listener({place, {}, path, message});
}

void FindNullLevels(const JsonValue& components, const FindingListener& listener) {
  for (const auto& component : components.GetObject()) {
    const std::string path = PathBelow("/components", component.name);
    if (component.value.IsNull()) Tell(listener, component.value, path, kExpectedObject);
    if (!component.value.IsObject()) continue;
    for (const auto& group : component.value.GetObject()) {
      if (group.value.IsNull()) Tell(listener, group.value, PathBelow(path, group.name), kExpectedObject);
    }
  }
}

}  // namespace

std::string TypeEntry::Path() const {
  return "/components/" + type.component + "/" + type.group + "/" + type.key;
}

std::shared_ptr<JsonStorage> ReadDocumentText(const std::string& text, JsonReadFailure* failure) {
  *failure = {0, "Text is longer than 1 GiB."};
  if (text.size() > kMaxDocumentBytes) return nullptr;
  auto storage = std::make_shared<JsonStorage>(text.size());
  return ReadJson(text, storage->document, failure, kMaxJsonDepth + kDocumentLevels) ? storage : nullptr;
}

void FindTypes(ParsedDocument& document) {
  document.schemas = LookUpSchemas(document.storage->document);
  ForEachType(document.storage->document, [&](const ConfigStoreObjectId& type, const JsonValue& value) {
    const auto schema = document.schemas.find(type);
    // The document is the caller's to change.
    if (schema != document.schemas.end()) {
      document.entries.push_back({type, schema->second, const_cast<JsonValue*>(&value)});
    }
  });
}

ParsedDocument ParseDocument(const std::string& text) {
  ParsedDocument document;
  JsonReadFailure failure;
  document.storage = ReadDocumentText(text, &failure);
  if (document.storage == nullptr) {
    CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "JSON text refused at byte %zu: %s", failure.offset, failure.reason);
    ThrowException<InvalidArgumentException>(CS_JSON_STRING_INVALID);
  }
  FindTypes(document);
  return document;
}

void FindNullsAndRepeats(const ParsedDocument& document, const FindingListener& listener) {
  FindNullLevels(ComponentsOf(document.storage->document), listener);
  std::unordered_set<ConfigStoreObjectId> met;
  for (const TypeEntry& entry : document.entries) {
    if (!met.insert(entry.type).second) Tell(listener, *entry.value, entry.Path(), "Type is there twice");
    ForEachObject(entry, [&](const JsonValue& data) { FindRepeat(data, entry.Path(), listener); });
    const bool isArray = !entry.schema->IsSingleton();
    if (entry.value->IsNull()) {
      Tell(listener, *entry.value, entry.Path(), isArray ? kExpectedArray : kExpectedObject);
    } else if (isArray && entry.value->IsArray()) {
      ForEachObject(entry, [&](const JsonValue& element) {
        if (element.IsNull()) Tell(listener, element, entry.Path(), kExpectedObject);
      });
    }
  }
}

FindingListener AppendTo(std::vector<ErrorInfo>& errors) {
  return [&errors](const Finding& finding) { errors.push_back({finding.path, finding.message}); };
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
  if (entry.schema->IsSingleton() || !data.IsObject()) return id;
  const JsonValue* name = FindValue(data, InstanceKey(*entry.schema));
  if (name != nullptr && name->IsString()) id.instanceId = TextOf(*name);
  return id;
}

std::shared_ptr<ConfigStoreObject> MakeObject(const TypeEntry& entry, const ConfigStoreObjectId& id,
                                              const JsonValue& data) {
  return std::make_shared<ConfigStoreObject>(id, DocOver(CopyToStorage(data)), entry.schema, entry.schema->GetVersion(),
                                             "", "", true, nullptr, nullptr);
}

void CheckNames(const TypeEntry& entry, const FindingListener& listener) {
  if (entry.schema->IsSingleton() || !entry.value->IsArray()) return;
  std::unordered_set<std::string> met;
  ForEachObject(entry, [&](const JsonValue& element) {
    if (!element.IsObject()) return;
    const std::string instanceId = IdOf(entry, element).instanceId;
    std::string refusal = RefusalOf(element, InstanceKey(*entry.schema));
    if (refusal.empty() && !instanceId.empty() && !met.insert(instanceId).second) {
      refusal = "Duplicate instanceIds: " + instanceId;
    }
    if (!refusal.empty()) Tell(listener, element, entry.Path(), refusal);
  });
}

}  // namespace OrvoConfigStore
