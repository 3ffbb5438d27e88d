#include "api/boot_state.h"
#include "api/checks.h"
#include "api/config_store_impl.h"
#include "api/transaction.h"
#include "api/write_preparation.h"
#include "configstore/errors.h"
#include "configstore/logging.h"
#include "platform/host_settings.h"
#include "store/writing.h"
#include "validation/action_rules.h"

/// Writing one layer of an object, or of all instances of a type.

namespace OrvoConfigStore {
namespace {

// What writing one layer consists of; the operations differ in nothing else.
struct LayerOperations {
  CSErrorCodes invalid;
  void (*validate)(std::shared_ptr<SchemaObject> schema, std::shared_ptr<ConfigStoreObject> object);
  void (*deleteLayer)(const ConfigStoreObjectId& type, const Connection& connection);
  void (*writeLayer)(const ObjectList& objects, const Connection& connection);
};

const LayerOperations kUserLayer = {CS_USER_CONFIG_INVALID, ValidateUserConfig, DeleteUserConfigInstances,
                                    WriteUserConfigInstances};
const LayerOperations kAutoConfLayer = {CS_AUTO_CONFIG_INVALID, ValidateAutoConfig, DeleteAutoConfConfigInstances,
                                        WriteAutoConfConfigInstances};
const LayerOperations kVitalLayer = {CS_VITAL_CONFIG_INVALID, ValidateVitalConfig, DeleteVitalConfigInstances,
                                     WriteVitalConfigInstances};
// Deliberate: a failed cached write reports the default-configuration code.
const LayerOperations kCachedLayer = {CS_DEFAULT_CONFIG_INVALID, ValidateCachedConfig, DeleteCachedConfigInstances,
                                      WriteCachedConfigInstances};

const LayerOperations& LayerOfContext(const USERDATA_CONTEXT& context) {
  return context.kind == USERDATA_CONTEXT::EXTERNAL ? kUserLayer : kAutoConfLayer;
}

// Writes one layer of one object: schema, identifier, validation, statement.
void SetLayer(const std::shared_ptr<ConfigStoreObject>& object, const LayerOperations& layer,
              const Connection& connection) {
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(object->GetId());
  ValidateCsoId(object, schema);
  PrepareForWrite(*object, schema, layer.invalid, connection);
  layer.validate(schema, object);
  layer.writeLayer({object}, connection);
}

// Replaces one layer in all instances of the type of the objects. All checks
// come before the transaction, so that a refused list changes nothing.
void SetDataInstancesInternal(ConfigStore& store, const ObjectList& objects, const LayerOperations& layer,
                              const Connection& connection) {
  if (!HaldenLib::FeatureState_IsEnabled(HaldenLib::kFeatureStore)) return;
  const ConfigStoreObjectId& type = objects.front()->GetId();
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(type);
  ValidateCsoIdInstances(type, schema);
  for (const std::shared_ptr<ConfigStoreObject>& object : objects) {
    CheckListedObject(*object, type);
    PrepareForWrite(*object, schema, layer.invalid, connection);
    layer.validate(schema, object);
  }
  RunInTransaction(store, "SetDataInstancesInternal", [&] {
    layer.deleteLayer(type, connection);
    layer.writeLayer(objects, connection);
  });
}

}  // namespace

void ConfigStoreImpl::SetUserData(std::shared_ptr<ConfigStoreObject> object, const USERDATA_CONTEXT& context) {
  if (ObjIsEmpty(object, "SetUserData")) return;
  LogCall("SetUserData", object->GetId(), context);
  checkUserContext(IsBootInternal(connection_), context);
  SetLayer(object, LayerOfContext(context), connection_);
}

void ConfigStoreImpl::SetVitalData(std::shared_ptr<ConfigStoreObject> object) {
  if (ObjIsEmpty(object, "SetVitalData")) return;
  LogCall("SetVitalData", object->GetId());
  SetLayer(object, kVitalLayer, connection_);
}

void ConfigStoreImpl::SetCachedData(std::shared_ptr<ConfigStoreObject> object) {
  if (ObjIsEmpty(object, "SetCachedData")) return;
  LogCall("SetCachedData", object->GetId());
  SetLayer(object, kCachedLayer, connection_);
}

void ConfigStoreImpl::SetUserDataInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects,
                                           const USERDATA_CONTEXT& context) {
  if (!CheckList(objects, "SetUserDataInstances")) return;
  LogCall("SetUserDataInstances", objects.front()->GetId(), context);
  checkUserContext(IsBootInternal(connection_), context);
  SetDataInstancesInternal(*this, objects, LayerOfContext(context), connection_);
}

void ConfigStoreImpl::SetCachedDataInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects) {
  if (!CheckList(objects, "SetCachedDataInstances")) return;
  LogCall("SetCachedDataInstances", objects.front()->GetId());
  SetDataInstancesInternal(*this, objects, kCachedLayer, connection_);
}

void ConfigStoreImpl::SetVitalDataInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects) {
  if (!CheckList(objects, "SetVitalDataInstances")) return;
  LogCall("SetVitalDataInstances", objects.front()->GetId());
  SetDataInstancesInternal(*this, objects, kVitalLayer, connection_);
}

}  // namespace OrvoConfigStore
