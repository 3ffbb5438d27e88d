#include "api/checks.h"

#include <algorithm>
#include <string>

#include "api/boot_state.h"
#include "configstore/errors.h"
#include "configstore/logging.h"
#include "platform/config_upgrade.h"
#include "platform/schema_check.h"
#include "store/layer_split.h"

namespace OrvoConfigStore {
namespace {

[[noreturn]] void Refuse(const std::string& message) {
  throw ValidationException(CS_GENERAL, message.c_str(), {});
}

// The parts that name the type were checked when it was registered.
void CheckInstanceLength(const ConfigStoreObjectId& id) {
  if (id.instanceId.size() > OrvoSchemaStore::kMaxIdentifierBytes) Refuse("instanceId is longer than 255 bytes");
}

}  // namespace

std::shared_ptr<SchemaObject> LookUpSchema(const ConfigStoreObjectId& id) {
  return OrvoSchemaStore::SchemaStore::GetStore()->GetSchema(id.component, id.group, id.key);
}

void CheckSchema(const ConfigStoreObjectId& id, const std::shared_ptr<SchemaObject>& schema) {
  if (schema == nullptr) Refuse("Schema not found for object: " + id.toString());
}

void validateSingletonNonSingleton(const ConfigStoreObjectId& id, const std::shared_ptr<SchemaObject>& schema) {
  if (schema->IsSingleton() && !id.instanceId.empty()) Refuse("Singleton object cannot contain instanceId");
  if (!schema->IsSingleton() && id.instanceId.empty()) Refuse("Non-Singleton object should contain instanceId");
  CheckInstanceLength(id);
}

void validateSingletonNonSingleton(const std::shared_ptr<ConfigStoreObject>& object,
                                   const std::shared_ptr<SchemaObject>& schema) {
  validateSingletonNonSingleton(object->GetId(), schema);
}

void ValidateCsoId(const ConfigStoreObjectId& id, const std::shared_ptr<SchemaObject>& schema) {
  CheckSchema(id, schema);
  validateSingletonNonSingleton(id, schema);
}

void ValidateCsoId(const std::shared_ptr<ConfigStoreObject>& object, const std::shared_ptr<SchemaObject>& schema) {
  ValidateCsoId(object->GetId(), schema);
}

void ValidateCsoIdInstances(const ConfigStoreObjectId& id, const std::shared_ptr<SchemaObject>& schema) {
  CheckSchema(id, schema);
  if (schema->IsSingleton()) Refuse("GetInstances() API called for singleton object");
}

void ValidateCsoIdInstances(const std::shared_ptr<FilterSpecObject>& filter,
                            const std::shared_ptr<SchemaObject>& schema) {
  ValidateCsoIdInstances(filter->GetId(), schema);
}

void checkUserContext(bool isBoot, const USERDATA_CONTEXT& context) {
  if (isBoot && context.kind == USERDATA_CONTEXT::EXTERNAL && !OrvoConfigUpgrade::GetUpgradeRunner()) {
    Refuse("API cannot be invoked with EXTERNAL context during boot");
  }
}

void CheckBootContext(const std::shared_ptr<ConfigStoreObject>& object, const std::shared_ptr<SchemaObject>& schema,
                      const USERDATA_CONTEXT& context, const std::shared_ptr<DBStore::StoreConnection>& connection) {
  if (IsBootInternal(connection) && isUserType(*object, *schema)) checkUserContext(true, context);
}

bool CheckList(const std::vector<std::shared_ptr<ConfigStoreObject>>& objects, const char* operation) {
  if (objects.empty()) throw InvalidArgumentException(CS_GENERAL, "ConfigStoreObject list cannot be empty");
  return std::none_of(objects.begin(), objects.end(),
                      [operation](const auto& object) { return ObjIsEmpty(object, operation); });
}

void CheckListedObject(const ConfigStoreObject& object, const ConfigStoreObjectId& first) {
  const ConfigStoreObjectId& id = object.GetId();
  if (id.component != first.component || id.group != first.group || id.key != first.key) {
    throw InvalidArgumentException(CS_GENERAL, "All ConfigStoreObjects are not for the same schema.");
  }
  validateInstanceId(id);
  CheckInstanceLength(id);
}

void LogCall(const char* operation, const ConfigStoreObjectId& id, const USERDATA_CONTEXT& context) {
  if (!CSLogger::WouldLog(CSLogger::LOG_PRIORITY_INFO)) return;
  CSLogger::Log(CSLogger::LOG_PRIORITY_INFO, "%s invoked for: %s, userdatacontext: %d", operation,
                id.toString().c_str(), context.kind == 0 ? 1 : 0);
}

}  // namespace OrvoConfigStore
