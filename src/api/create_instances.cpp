#include <string>
#include <utility>

#include "api/checks.h"
#include "configstore/config_store.h"
#include "configstore/errors.h"
#include "objects/json_access.h"

namespace OrvoConfigStore {
namespace {

// The identifier of an element, made when the store names the instances.
std::string InstanceIdOf(const JsonValue& element, const std::string& idKey) {
  const JsonValue* identifier = FindValue(element, idKey);
  if (identifier == nullptr && idKey == kGeneratedId) return GenerateInstanceId();
  if (identifier == nullptr || !identifier->IsString()) {
    ThrowException<ConfigStoreException>(CS_KEY_VALUE_INVALID, idKey.c_str());
  }
  return std::string(TextOf(*identifier));
}

std::shared_ptr<JsonDoc> CopyOf(const JsonValue& value) {
  return DocOver(CopyToStorage(value));
}

}  // namespace

std::vector<std::shared_ptr<ConfigStoreObject>> ConfigStore::CreateInstances(const ConfigStoreObjectId& type,
                                                                             const std::string& jsonText) {
  LogCall("CreateInstances", type);
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(type);
  ValidateCsoIdInstances(type, schema);
  const std::string idKey(TextOf(*FindValue(schema->GetJson(), "instanceId")));
  const std::shared_ptr<JsonDoc> array = CreateDocumentFromString(jsonText);
  if (!array->document->IsArray()) {
    throw InvalidArgumentException(CS_GENERAL, "Invalid JSON string, should be an array of objects");
  }
  std::vector<std::shared_ptr<ConfigStoreObject>> objects;
  for (const JsonValue& element : array->document->GetArray()) {
    if (!element.IsObject()) {
      throw InvalidArgumentException(CS_GENERAL, "Invalid JSON string, should be an array of objects");
    }
    const ConfigStoreObjectId id(type.key, type.group, type.component, InstanceIdOf(element, idKey));
    objects.push_back(std::make_shared<ConfigStoreObject>(id, CopyOf(element), schema, schema->GetVersion(), "", "",
                                                          true, nullptr, nullptr));
  }
  return objects;
}

}  // namespace OrvoConfigStore
