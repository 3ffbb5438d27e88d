#include "configstore/config_store_object.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

#include "configstore/errors.h"
#include "configstore/filter_spec.h"
#include "configstore/logging.h"
#include "objects/json_access.h"
#include "platform/schema_store.h"

namespace OrvoConfigStore {
namespace {

using SchemaPointer = std::shared_ptr<OrvoSchemaStore::SchemaObject>;

void LogCall(const char* operation, const SubObjectId& sid) {
  if (!CSLogger::WouldLog(CSLogger::LOG_PRIORITY_TRACE)) return;
  CSLogger::Log(CSLogger::LOG_PRIORITY_TRACE, "%s invoked for: %s", operation, sid.toString().c_str());
}

void LogMissing(CSLogger::log_priority priority, const char* operation, const std::string& key) {
  CSLogger::Log(priority, "%s: Could not find key: %s", operation, key.c_str());
}

[[noreturn]] void Throw(const std::string& message) {
  throw ConfigStoreException(CS_GENERAL, message.c_str());
}

std::shared_ptr<JsonDoc> StepInto(const JsonDoc& doc, JsonNode step) {
  std::vector<JsonNode> path = doc.path;
  path.push_back(std::move(step));
  return std::make_shared<JsonDoc>(doc.document, doc.allocator, std::move(path));
}

SchemaPointer SchemaOr(const SchemaPointer& schema, const ConfigStoreObjectId& id) {
  if (schema != nullptr) return schema;
  return OrvoSchemaStore::SchemaStore::GetStore()->GetSchema(id.component, id.group, id.key);
}

// What all objects of a type share, kept with its schema.
struct TypeDocuments {
  std::string key;
  std::shared_ptr<JsonDoc> idMap;
  std::shared_ptr<JsonDoc> defaults;  // of the key; null when there are none
};

std::shared_ptr<JsonDoc> DefaultsOf(const std::string& key, const std::shared_ptr<JsonDoc>& parent) {
  const JsonValue& values = *parent->GetJsonValuePtr();
  const JsonValue* own = values.IsObject() ? FindValue(values, key) : nullptr;
  return own != nullptr && own->IsObject() ? StepInto(*parent, {key, "", ""}) : nullptr;
}

// The schema holds what is returned.
const TypeDocuments& DocumentsOf(const OrvoSchemaStore::SchemaObject& schema, const std::string& key) {
  std::shared_ptr<const void>& companion = schema.Companion();
  const auto* const kept = static_cast<const TypeDocuments*>(companion.get());
  if (kept != nullptr && kept->key == key) return *kept;
  auto made = std::make_shared<const TypeDocuments>(
      TypeDocuments{key, DocOver(schema.GetIdMap()), DefaultsOf(key, DocOver(schema.GetDefaults()))});
  const TypeDocuments& documents = *made;
  companion = std::move(made);
  return documents;
}

}  // namespace

RowTime::RowTime(std::string_view text) {
  if (text.size() > sizeof place_) {
    long_ = std::make_unique<const std::string>(text);
    return;
  }
  size_ = static_cast<unsigned char>(text.size());
  text.copy(place_, text.size());
}

std::string RowTime::Text() const {
  return long_ != nullptr ? *long_ : std::string(place_, size_);
}

ConfigStoreObject::ConfigStoreObject(const ConfigStoreObjectId& id) : WritableObject(id), fromSchema_(true) {
  const auto schema = OrvoSchemaStore::SchemaStore::GetStore()->GetSchema(id.component, id.group, id.key);
  if (schema != nullptr) version_ = schema->GetVersion();
  TakeIdMapAndDefaults(schema);
  SetInstanceIdFromCsoId();
}

ConfigStoreObject::ConfigStoreObject(const ConfigStoreObjectId& id, const std::shared_ptr<JsonDoc>& data,
                                     const std::shared_ptr<OrvoSchemaStore::SchemaObject>& schema,
                                     const std::string& version, const std::string& creationTime,
                                     const std::string& modifiedTime, bool fromSchema,
                                     const std::shared_ptr<JsonDoc>& idMap, const std::shared_ptr<JsonDoc>& defaults)
    : WritableObject(id, data),
      fromSchema_(fromSchema),
      version_(version),
      creationTime_(creationTime),
      modifiedTime_(modifiedTime) {
  if (fromSchema) {
    TakeIdMapAndDefaults(SchemaOr(schema, id));
  } else {
    idMap_ = idMap;
    if (defaults != nullptr) defaults_ = DefaultsOf(id_.key, defaults);
  }
  SetInstanceIdFromCsoId();
}

ConfigStoreObject::ConfigStoreObject(const ConfigStoreObjectId& id, std::shared_ptr<JsonDoc> data,
                                     const std::shared_ptr<OrvoSchemaStore::SchemaObject>& schema, RowFacts row)
    : WritableObject(id, std::move(data)),
      fromSchema_(true),
      version_(row.version),
      creationTime_(row.creationTime),
      modifiedTime_(row.modifiedTime) {
  TakeIdMapAndDefaults(SchemaOr(schema, id));
  SetInstanceIdFromCsoId();
}

ConfigStoreObject::~ConfigStoreObject() = default;

void ConfigStoreObject::TakeIdMapAndDefaults(const std::shared_ptr<OrvoSchemaStore::SchemaObject>& schema) {
  if (schema == nullptr) {
    CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "Schema object not found for key: %s", id_.key.c_str());
    CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "Schema object is null.");
    return;
  }
  const TypeDocuments& shared = DocumentsOf(*schema, id_.key);
  idMap_ = shared.idMap;
  defaults_ = shared.defaults;
}

const JsonValue* ConfigStoreObject::GetValuePtrDefault(const char* key, bool& isDefault) const {
  isDefault = false;
  const JsonValue* own = GetValuePtr(key);
  if (own != nullptr || defaults_ == nullptr) return own;
  const JsonValue* fallback = FindValue(std::as_const(*defaults_->GetJsonValuePtr()), key);
  if (fallback == nullptr || fallback->IsNull()) return nullptr;
  isDefault = true;
  return fallback;
}

std::string ConfigStoreObject::GetVersion() const {
  return version_;
}
std::string ConfigStoreObject::GetCreationTime() const {
  return creationTime_.Text();
}
std::string ConfigStoreObject::GetModifiedTime() const {
  return modifiedTime_.Text();
}
std::shared_ptr<JsonDoc> ConfigStoreObject::GetIdMap() const {
  return idMap_;
}

std::string ConfigStoreObject::GetIdMapStr() const {
  std::string text = "{}";
  if (idMap_ != nullptr) SerializeValue(*idMap_->GetJsonValuePtr(), text);
  return text;
}

std::string ConfigStoreObject::GetData() const {
  const JsonValue& data = *std::as_const(*doc_).GetJsonValuePtr();
  std::string text;
  if (!data.IsObject() || FindValue(data, kGeneratedId) == nullptr) {
    SerializeValue(data, text);
    return text;
  }
  const std::shared_ptr<JsonStorage> scratch = CopyToStorage(data);
  while (scratch->document.EraseMember(kGeneratedId)) {
  }
  SerializeValue(scratch->document, text);
  return text;
}

void ConfigStoreObject::SetValueEx(const char* key, const void* value) {
  const JsonValue& wanted = *static_cast<const JsonValue*>(value);
  GetValuePtr(key);  // refuses an empty key
  JsonValue& object = *doc_->GetJsonValuePtr();
  const JsonValue* existing = FindValue(object, key);
  if (existing != nullptr && *existing == wanted) return;
  // Copied before anything is removed: `value` may lie in this very object.
  JsonValue copy(wanted, *doc_->allocator);
  object.EraseMember(key);
  object.AddMember(TextValue(key, *doc_->allocator), copy, *doc_->allocator);
}

void ConfigStoreObject::SetInstanceIdFromCsoId() {
  const char* const idKey = IdKeyOf(id_.key);
  if (idKey == nullptr) return;
  const JsonValue* const current = GetValuePtr(idKey);
  const bool isSet = current != nullptr && current->IsString() && TextOf(*current) == id_.instanceId;
  if (!isSet) SetValue(idKey, id_.instanceId);
}

const char* ConfigStoreObject::IdKeyOf(const std::string& key) const {
  if (idMap_ == nullptr) return nullptr;
  const JsonValue* idKey = FindValue(std::as_const(*idMap_->GetJsonValuePtr()), key);
  return idKey == nullptr ? nullptr : idKey->GetString();
}

std::shared_ptr<ConfigStoreObject> ConfigStoreObject::MakeSubObjectPtr(const SubObjectId& sid,
                                                                       const std::string& instanceId,
                                                                       const std::string& idKeyName) const {
  return HandleOf(sid, {sid.key, idKeyName, instanceId});
}

std::shared_ptr<ConfigStoreObject> ConfigStoreObject::HandleOf(const SubObjectId& sid, const JsonNode& step) const {
  const ConfigStoreObjectId id(sid.key, id_.group, id_.component, step.idValue);
  return std::make_shared<ConfigStoreObject>(id, StepInto(*doc_, step), nullptr, version_, GetCreationTime(),
                                             GetModifiedTime(), false, idMap_, defaults_);
}

std::shared_ptr<ConfigStoreObject> ConfigStoreObject::GetSubObject(const SubObjectId& sid) const {
  LogCall("GetSubObject", sid);
  const JsonValue* member = GetValuePtr(sid.key.c_str());
  if (member == nullptr) {
    LogMissing(CSLogger::LOG_PRIORITY_TRACE, "GetSubObject", sid.key);
    return nullptr;
  }
  if (const char* idKey = IdKeyOf(sid.key)) {
    if (sid.instanceId.empty()) Throw("Non-Singleton object should contain instanceId: " + sid.toString());
    const int index = FindInstanceIndex(*member, idKey, sid.instanceId);
    return index < 0 ? nullptr : HandleOf(sid, {sid.key, idKey, sid.instanceId, static_cast<uint32_t>(index)});
  }
  if (!member->IsObject()) {
    throw InvalidArgumentException(CS_GENERAL, ("Not a singleton SubObject: " + sid.toString()).c_str());
  }
  if (!sid.instanceId.empty()) Throw("Singleton object should not contain instanceId: " + sid.toString());
  return MakeSubObjectPtr(sid, "", "");
}

std::shared_ptr<ConfigStoreObject> ConfigStoreObject::CreateSubObject(const SubObjectId& sid) {
  LogCall("CreateSubObject", sid);
  if (doc_->path.size() + 1 >= kMaxJsonDepth) Throw("Objects cannot be nested deeper than 512 levels.");
  const JsonValue* member = GetValuePtr(sid.key.c_str());
  JsonAllocator& allocator = *doc_->allocator;
  const char* idKey = IdKeyOf(sid.key);
  if (idKey == nullptr) {
    if (member != nullptr) Throw("Object already exists.");
    PlaceMember(sid.key, rapidjson::kObjectType);
    return MakeSubObjectPtr(sid, "", "");
  }
  if (sid.instanceId.empty()) Throw("Non-Singleton object should contain instanceId");
  if (member != nullptr && FindInstanceIndex(*member, idKey, sid.instanceId) >= 0) Throw("Object already exists.");
  JsonValue& elements =
      member == nullptr ? PlaceMember(sid.key, rapidjson::kArrayType) : *FindValue(*doc_->GetJsonValuePtr(), sid.key);
  JsonValue element(rapidjson::kObjectType);
  element.AddMember(TextValue(idKey, allocator), TextValue(sid.instanceId, allocator), allocator);
  elements.PushBack(element, allocator);
  return HandleOf(sid, {sid.key, idKey, sid.instanceId, elements.Size() - 1});
}

JsonValue& ConfigStoreObject::PlaceMember(const std::string& key, int type) {
  JsonValue& object = *doc_->GetJsonValuePtr();
  JsonValue empty(static_cast<rapidjson::Type>(type));
  if (JsonValue* null = FindValue(object, key)) return *null = empty;
  object.AddMember(TextValue(key, *doc_->allocator), empty, *doc_->allocator);
  return (object.MemberEnd() - 1)->value;
}

void ConfigStoreObject::DeleteSubObject(const SubObjectId& sid) {
  LogCall("DeleteSubObject", sid);
  if (GetValuePtr(sid.key.c_str()) == nullptr) {
    LogMissing(CSLogger::LOG_PRIORITY_WARNING, "DeleteSubObject", sid.key);
    return;
  }
  JsonValue& object = *doc_->GetJsonValuePtr();
  if (const char* idKey = IdKeyOf(sid.key)) {
    JsonValue& elements = *FindValue(object, sid.key);
    const int index = FindInstanceIndex(elements, idKey, sid.instanceId);
    if (index < 0) return;
    elements.Erase(elements.Begin() + index);
    if (!elements.Empty()) return;
  }
  object.EraseMember(sid.key.c_str());
}

std::vector<std::shared_ptr<ConfigStoreObject>> ConfigStoreObject::GetSubObjectInstances(
    const std::shared_ptr<FilterSpecObject>& filter) const {
  std::vector<std::shared_ptr<ConfigStoreObject>> instances;
  if (filter == nullptr) {
    CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "%s called with no filter spec object", "GetSubObjectInstances");
    return instances;
  }
  const SubObjectId sid(filter->GetId().key, filter->GetId().instanceId);
  LogCall("GetSubObjectInstances", sid);
  const char* idKey = IdKeyOf(sid.key);
  if (idKey == nullptr) Throw("Not a non-singleton object:  " + sid.toString());
  const JsonValue* elements = GetValuePtr(sid.key.c_str());
  if (elements == nullptr) {
    LogMissing(CSLogger::LOG_PRIORITY_TRACE, "GetSubObjectInstances", sid.key);
    return instances;
  }
  uint32_t place = 0;
  for (const JsonValue& element : elements->GetArray()) {
    const JsonValue* identifier = FindValue(element, idKey);
    if (identifier == nullptr || !identifier->IsString()) {
      ThrowException<ConfigStoreException>(CS_KEY_VALUE_INVALID, idKey);
    }
    instances.push_back(HandleOf(sid, {sid.key, idKey, std::string(TextOf(*identifier)), place++}));
  }
  return FilterConfigStoreObjects(instances, filter);
}

void ConfigStoreObject::DeleteSubObjectInstances(const std::shared_ptr<FilterSpecObject>& filter) {
  if (filter == nullptr) {
    CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "%s called with no filter spec object", "DeleteSubObjectInstances");
    return;
  }
  const std::string& key = filter->GetId().key;
  std::unordered_map<std::string, size_t> doomed;  // how many of each identifier
  for (const auto& instance : GetSubObjectInstances(filter)) {
    LogCall("DeleteSubObject", SubObjectId(key, instance->GetId().instanceId));
    ++doomed[instance->GetId().instanceId];
  }
  if (doomed.empty()) return;
  const char* const idKey = IdKeyOf(key);
  const auto isDoomed = [&](const JsonValue& element) {
    const auto found = doomed.find(std::string(TextOf(*FindValue(element, idKey))));
    return found != doomed.end() && found->second > 0 && found->second-- > 0;
  };
  JsonValue& object = *doc_->GetJsonValuePtr();
  JsonValue& elements = *FindValue(object, key);
  elements.Erase(std::remove_if(elements.Begin(), elements.End(), isDoomed), elements.End());
  if (elements.Empty()) object.EraseMember(key.c_str());
}

}  // namespace OrvoConfigStore
