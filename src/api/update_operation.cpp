#include "api/boot_state.h"
#include "api/checks.h"
#include "api/config_store_impl.h"
#include "api/transaction.h"
#include "api/write_preparation.h"
#include "configstore/errors.h"
#include "platform/host_settings.h"
#include "store/layer_split.h"
#include "store/reading.h"
#include "store/update_merge.h"
#include "store/writing.h"
#include "validation/action_rules.h"

namespace OrvoConfigStore {
namespace {

// An outside caller's update of user data discards the desired value; one of
// vital or cached data alone keeps it.
UPDATE_CONTEXT UpdateContextOf(const USERDATA_CONTEXT& context, bool hasUserData) {
  if (context.kind == USERDATA_CONTEXT::AUTOCONFIGURATION) return {UPDATE_CONTEXT::AUTOCONFIGURATION};
  return {hasUserData ? UPDATE_CONTEXT::USER_DROPPING_DESIRED : UPDATE_CONTEXT::USER};
}

}  // namespace

std::shared_ptr<ConfigStoreObject> ConfigStoreImpl::GetContext(const ConfigStoreObjectId& id,
                                                               const USERDATA_CONTEXT& context,
                                                               const std::shared_ptr<SchemaObject>& schema) {
  return GetConfigByContext(id, connection_, context, schema);
}

void ConfigStoreImpl::Update(std::shared_ptr<ConfigStoreObject> object, const USERDATA_CONTEXT& context) {
  if (!HaldenLib::FeatureState_IsEnabled(HaldenLib::kFeatureStore)) return;
  if (ObjIsEmpty(object, "Update")) return;
  LogCall("Update", object->GetId(), context);
  // 1. The partial object may be written, by this caller and now.
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(object->GetId());
  ValidateCsoId(object, schema);
  PrepareForWrite(*object, schema, CS_UPDATE_INVALID, connection_);
  ValidateUpdate(schema, object);
  const bool hasUserData = isUserType(*object, *schema);
  if (hasUserData && IsBootInternal(connection_)) checkUserContext(true, context);
  // 2. Merged into what the caller's context sees, it is valid as a whole. The
  // merge changes a copy that was read for it alone.
  std::shared_ptr<ConfigStoreObject> stored = GetContext(object->GetId(), context, schema);
  if (stored != nullptr) UpdateConfigInternal(object, stored, stored->GetJsonDocPtr(), schema.get());
  ValidateSetByContext(schema, stored != nullptr ? stored : object, context);
  // 3. It is written to the layers that the context selects.
  const UPDATE_CONTEXT update = UpdateContextOf(context, hasUserData);
  RunInTransaction(*this, "Update", [&] {
    if (stored != nullptr) {
      UpdateByContextInternal(stored, schema, update, connection_);
    } else {
      SetByContextInternal(object, schema, update, connection_);
    }
  });
}

}  // namespace OrvoConfigStore
