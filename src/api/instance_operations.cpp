#include "api/checks.h"
#include "api/config_store_impl.h"
#include "api/transaction.h"
#include "api/write_preparation.h"
#include "configstore/errors.h"
#include "store/reading.h"
#include "store/writing.h"
#include "validation/action_rules.h"

/// Reading, replacing and deleting the instances of a type, and its defaults.

namespace OrvoConfigStore {

std::shared_ptr<ConfigStoreObject> ConfigStoreImpl::GetDefaultConfig(const ConfigStoreObjectId& id) {
  LogCall("GetDefaultConfig", id);
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(id);
  ValidateCsoId(id, schema);
  return GetDefaultConfigInternal(id, connection_, schema);
}

std::vector<std::shared_ptr<ConfigStoreObject>> ConfigStoreImpl::GetDefaultConfigInstances(
    const std::shared_ptr<FilterSpecObject>& filter) {
  if (FsoIsEmpty(filter, "GetDefaultConfigInstances")) return {};
  LogCall("GetDefaultConfigInstances", filter->GetId());
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(filter->GetId());
  ValidateCsoIdInstances(filter, schema);
  return GetDefaultConfigInstancesInternal(filter, connection_, schema);
}

std::vector<std::shared_ptr<ConfigStoreObject>> ConfigStoreImpl::GetInstances(
    const std::shared_ptr<FilterSpecObject>& filter) {
  if (FsoIsEmpty(filter, "GetInstances")) return {};
  LogCall("GetInstances", filter->GetId());
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(filter->GetId());
  ValidateCsoIdInstances(filter, schema);
  return GetConfigInstancesInternal(filter, connection_, schema);
}

void VisitInstances(const std::shared_ptr<ConfigStore>& store, const std::shared_ptr<FilterSpecObject>& filter,
                    const std::function<void(const std::shared_ptr<ConfigStoreObject>&)>& visit) {
  if (FsoIsEmpty(filter, "VisitInstances")) return;
  LogCall("VisitInstances", filter->GetId());
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(filter->GetId());
  ValidateCsoIdInstances(filter, schema);
  const Connection connection = static_cast<ConfigStoreImpl&>(*store).connection_;
  VisitConfigInstancesInternal(*filter, connection, schema, visit);
}

void SetReadCacheLimit(size_t bytes) {
  SetReadCacheLimitInternal(bytes);
}

void ConfigStoreImpl::SetInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects,
                                   const USERDATA_CONTEXT& context) {
  if (!CheckList(objects, "SetInstances")) return;
  const ConfigStoreObjectId& first = objects.front()->GetId();
  LogCall("SetInstances", first, context);
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(first);
  ValidateCsoIdInstances(first, schema);
  for (const std::shared_ptr<ConfigStoreObject>& object : objects) {
    CheckListedObject(*object, first);
    PrepareForWrite(*object, schema, CS_SET_INVALID, connection_);
    ValidateSetByContext(schema, object, context);
  }
  RunInTransaction(*this, "SetInstances", [&] {
    DeleteInstancesInternal(first, connection_);
    const ConfigStoreObjectId type(first.key, first.group, first.component);
    SetInstancesInternal(objects, context, {{type, schema}}, connection_);
  });
}

void ConfigStoreImpl::DeleteInstances(const std::shared_ptr<FilterSpecObject>& filter) {
  if (FsoIsEmpty(filter, "DeleteInstances")) return;
  LogCall("DeleteInstances", filter->GetId());
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(filter->GetId());
  ValidateCsoIdInstances(filter, schema);
  RunInTransaction(*this, "DeleteInstances", [&] {
    for (const std::shared_ptr<ConfigStoreObject>& found : GetConfigInstancesInternal(filter, connection_, schema)) {
      DeleteInternal(found->GetId(), connection_);
    }
  });
}

}  // namespace OrvoConfigStore
