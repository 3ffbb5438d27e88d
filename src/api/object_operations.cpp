#include <utility>

#include "api/checks.h"
#include "api/config_store_impl.h"
#include "api/write_preparation.h"
#include "configstore/errors.h"
#include "configstore/logging.h"
#include "configstore/validation.h"
#include "objects/json_access.h"
#include "store/reading.h"
#include "store/writing.h"
#include "validation/action_rules.h"

namespace OrvoConfigStore {

std::shared_ptr<ConfigStoreObject> ConfigStoreImpl::Get(const ConfigStoreObjectId& id) {
  LogCall("Get", id);
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(id);
  ValidateCsoId(id, schema);
  std::shared_ptr<ConfigStoreObject> object = cache_.Get(id, connection_, schema);
  if (object == nullptr) {
    CSLogger::LogErrCode(CSLogger::LOG_PRIORITY_WARNING, CS_OBJECT_NOT_FOUND, id.toString().c_str());
  }
  return object;
}

void ConfigStoreImpl::Set(std::shared_ptr<ConfigStoreObject> object, const USERDATA_CONTEXT& context) {
  if (ObjIsEmpty(object, "Set")) return;
  LogCall("Set", object->GetId(), context);
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(object->GetId());
  ValidateCsoId(object, schema);
  PrepareForWrite(*object, schema, CS_SET_INVALID, connection_);
  ValidateSetByContext(schema, object, context);
  CheckBootContext(object, schema, context, connection_);
  SetInternal(object, schema, context, connection_);
}

std::vector<ErrorInfo> CheckObject(const std::shared_ptr<ConfigStoreObject>& object, const USERDATA_CONTEXT& context) {
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(object->GetId());
  ValidateCsoId(object, schema);
  return ViolationsBySet(schema, object, context);
}

void ConfigStoreImpl::Delete(const ConfigStoreObjectId& id) {
  LogCall("Delete", id);
  ValidateCsoId(id, LookUpSchema(id));
  DeleteInternal(id, connection_);
}

std::shared_ptr<ConfigStoreObject> ConfigStore::CreateObject(const ConfigStoreObjectId& id,
                                                             const std::string& jsonText) {
  LogCall("CreateObject", id);
  const std::shared_ptr<JsonDoc> data = CreateDocumentFromString(jsonText);
  if (!data->GetJsonValuePtr()->IsObject()) {
    throw InvalidArgumentException(CS_GENERAL, "Invalid JSON string, should be  an object");
  }
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(id);
  const std::string version = schema == nullptr ? std::string() : schema->GetVersion();
  return std::make_shared<ConfigStoreObject>(id, data, schema, version, "", "", true, nullptr, nullptr);
}

std::string ConfigStore::GetSchemaVersion(const ConfigStoreObjectId& id) {
  LogCall("GetSchemaVersion", id);
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(id);
  if (schema != nullptr) return schema->GetVersion();
  CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "%s: Schema object not found", "GetSchemaVersion");
  return {};
}

}  // namespace OrvoConfigStore
