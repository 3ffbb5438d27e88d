#include <string_view>
#include <utility>

#include "platform/json_values.h"
#include "platform/schema_store.h"

namespace OrvoSchemaStore {
namespace {

using OrvoConfigStore::FindValue;
using OrvoConfigStore::JsonAllocator;
using OrvoConfigStore::TextOf;
using OrvoConfigStore::TextValue;
using OrvoConfigStore::ThrowInvalidJson;

// A keyword of a schema node; null when it is absent, null, or no keyword can be there.
const JsonValue* Find(const JsonValue& node, std::string_view name) {
  const JsonValue* value = node.IsObject() ? FindValue(node, name) : nullptr;
  return value == nullptr || value->IsNull() ? nullptr : value;
}

bool IsText(const JsonValue* value, std::string_view text) {
  return value != nullptr && value->IsString() && TextOf(*value) == text;
}

bool IsArrayNode(const JsonValue& node) {
  return IsText(Find(node, "type"), "array");
}

// Calls visit(name, node) for each property of an object node.
template <class Visit>
void ForEachProperty(const JsonValue& node, Visit visit) {
  const JsonValue* properties = Find(node, "properties");
  if (properties == nullptr || !properties->IsObject()) return;
  for (const auto& property : properties->GetObject()) visit(property.name, property.value);
}

// The member that identifies an element of the array node, when the node names
// one and it is a string; null otherwise.
const JsonValue* InstanceIdOf(const JsonValue& node) {
  const JsonValue* name = Find(node, "instanceId");
  const JsonValue* items = Find(node, "items");
  if (!IsArrayNode(node) || name == nullptr || !name->IsString() || items == nullptr) return nullptr;
  const JsonValue* properties = Find(*items, "properties");
  if (properties == nullptr) return nullptr;
  const JsonValue* identifier = Find(*properties, TextOf(*name));
  return identifier != nullptr && IsText(Find(*identifier, "type"), "string") ? name : nullptr;
}

// Walks the schema below `node`, whose values stand under `name`.
void CollectIds(const JsonValue& name, const JsonValue& node, JsonValue& idMap, JsonAllocator& allocator) {
  if (const JsonValue* idKey = InstanceIdOf(node); idKey != nullptr && !idMap.HasMember(name)) {
    idMap.AddMember(JsonValue(name, allocator), JsonValue(*idKey, allocator), allocator);
  }
  const JsonValue* items = IsArrayNode(node) ? Find(node, "items") : nullptr;
  ForEachProperty(items != nullptr ? *items : node, [&](const JsonValue& property, const JsonValue& child) {
    CollectIds(property, child, idMap, allocator);
  });
}

// The default data of a node: its own, or the object of its members' (an array
// of objects: of its items'); null when there is none.
JsonValue DefaultsOf(const JsonValue& node, JsonAllocator& allocator) {
  if (const JsonValue* own = Find(node, "default")) return JsonValue(*own, allocator);
  const JsonValue* items = IsArrayNode(node) ? Find(node, "items") : nullptr;
  JsonValue members(rapidjson::kObjectType);
  ForEachProperty(items != nullptr ? *items : node, [&](const JsonValue& property, const JsonValue& child) {
    JsonValue value = DefaultsOf(child, allocator);
    if (!value.IsNull()) members.AddMember(JsonValue(property, allocator), value, allocator);
  });
  return members.ObjectEmpty() ? JsonValue() : std::move(members);
}

bool ContainsSecret(const JsonValue& node) {
  if (IsText(Find(node, "type"), "secret")) return true;
  const JsonValue* items = Find(node, "items");
  if (items != nullptr && ContainsSecret(*items)) return true;
  bool found = false;
  ForEachProperty(node, [&](const JsonValue&, const JsonValue& child) { found = found || ContainsSecret(child); });
  return found;
}

// Whether the store identifies elements of the node, or of any array below it.
bool ContainsGeneratedIds(const JsonValue& node) {
  if (IsText(Find(node, "instanceId"), OrvoConfigStore::kGeneratedId)) return true;
  const JsonValue* items = Find(node, "items");
  if (items != nullptr && ContainsGeneratedIds(*items)) return true;
  bool found = false;
  ForEachProperty(node,
                  [&](const JsonValue&, const JsonValue& child) { found = found || ContainsGeneratedIds(child); });
  return found;
}

std::shared_ptr<JsonStorage> Parse(const std::string& text) {
  auto storage = std::make_shared<JsonStorage>(text.size());
  if (!ReadJson(text, storage->document, nullptr) || !storage->document.IsObject()) ThrowInvalidJson();
  return storage;
}

}  // namespace

SchemaObject::SchemaObject(const SchemaRecord& record)
    : version_(record.version),
      noRestore_(record.noRestore),
      schema_(Parse(record.schema)),
      idMap_(std::make_shared<JsonStorage>()),
      defaults_(std::make_shared<JsonStorage>()),
      isSingleton_(!IsArrayNode(schema_->document)),
      hasSecrets_(ContainsSecret(schema_->document)),
      hasGeneratedIds_(ContainsGeneratedIds(GetObjectNode())) {
  idMap_->document.SetObject();
  CollectIds(TextValue(record.key, idMap_->allocator), schema_->document, idMap_->document, idMap_->allocator);
  defaults_->document.SetObject();
  JsonValue values = DefaultsOf(schema_->document, defaults_->allocator);
  if (values.IsNull()) return;
  defaults_->document.AddMember(TextValue(record.key, defaults_->allocator), values, defaults_->allocator);
}

bool SchemaObject::IsSingleton() const {
  return isSingleton_;
}
const std::string& SchemaObject::GetVersion() const {
  return version_;
}
bool SchemaObject::IsNoRestore() const {
  return noRestore_;
}
const JsonValue& SchemaObject::GetJson() const {
  return schema_->document;
}

const JsonValue& SchemaObject::GetObjectNode() const {
  return IsSingleton() ? schema_->document : schema_->document["items"];
}

bool SchemaObject::IsGeneratedId() const {
  const JsonValue* idKey = InstanceIdOf(schema_->document);
  return idKey != nullptr && TextOf(*idKey) == OrvoConfigStore::kGeneratedId;
}

bool SchemaObject::HasSecrets() const {
  return hasSecrets_;
}
bool SchemaObject::HasGeneratedIds() const {
  return hasGeneratedIds_;
}
const std::shared_ptr<JsonStorage>& SchemaObject::GetIdMap() const {
  return idMap_;
}
const std::shared_ptr<JsonStorage>& SchemaObject::GetDefaults() const {
  return defaults_;
}

}  // namespace OrvoSchemaStore
