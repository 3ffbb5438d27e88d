#include "api/boot_status.h"

#include <string>

#include "api/checks.h"
#include "api/config_store_impl.h"
#include "api/desired_config.h"
#include "api/transaction.h"
#include "api/write_preparation.h"
#include "configstore/boot_state.h"
#include "configstore/errors.h"
#include "platform/host_settings.h"
#include "platform/rapidjson.h"
#include "platform/sql_format.h"
#include "store/connection.h"
#include "store/reading.h"
#include "store/statements.h"
#include "store/update_merge.h"
#include "validation/action_rules.h"

namespace OrvoConfigStore {
namespace {

constexpr char kPartial[] = "SetPartialBootStatus";

bool IsSwitchedOn() {
  HaldenLib::FeatureState_Init();
  return HaldenLib::FeatureState_IsEnabled(HaldenLib::kFeatureStore);
}

void Run(const std::string& sql, const std::vector<std::string>& values, const char* failure,
         const Connection& connection) {
  const std::vector<int> types(values.size(), DBStore::VALUE_TEXT);
  if (DBStore::Execute(connection, sql, values, types, DBStore::kBusyTimeout) == 0) return;
  throw ConfigStoreException(CS_GENERAL, failure);
}

std::string ForRow(const char* sql, const ConfigStoreObjectId& id) {
  return FormatSql(sql, {id.key, id.group, id.component, id.instanceId});
}

bool HoldSameData(const ConfigStoreObject& a, const ConfigStoreObject& b) {
  return *a.GetJsonDocPtr()->GetJsonValuePtr() == *b.GetJsonDocPtr()->GetJsonValuePtr();
}

}  // namespace

void SetBootStatusInternal(const ConfigStoreObjectId& id, bool success, const Connection& connection) {
  if (!success) return;
  const std::string sql = id.instanceId.empty() ? FormatSql(Sql::kConfirm, {id.key, id.group, id.component})
                                                : ForRow(Sql::kConfirmInstance, id);
  if (DBStore::ExecuteV2(connection, sql, nullptr, nullptr, DBStore::kBusyTimeout) != 0) {
    throw ConfigStoreException(CS_GENERAL, "SetBootStatus: Failed to mark success status for given csoId.");
  }
}

void SetPartialBootStatusInternal(const std::shared_ptr<ConfigStoreObject>& part,
                                  const std::shared_ptr<SchemaObject>& schema, const Connection& connection) {
  const ConfigStoreObjectId& id = part->GetId();
  // 1. A row that is confirmed keeps its desired value, also when it has no user value.
  const RowMap confirmed = ReadObjectRow(Sql::kGetConfirmedUser, id, connection);
  const bool isConfirmed = confirmed.Find(kModifiedTime) != nullptr;
  if (!isConfirmed) Run(ForRow(Sql::kParkUser, id), {}, "Failed to keep the desired value.", connection);
  const auto desired = LayerFromRow(id, ReadObjectRow(Sql::kGetParked, id, connection), kDesiredValue, schema);
  // 2.
  std::shared_ptr<ConfigStoreObject> value = LayerFromRow(id, confirmed, kUserValue, schema);
  UpdateConfigInternal(part, value, nullptr, schema.get());
  Run(ForRow(Sql::kSetConfirmedUser, id), {value->GetData()}, "Failed to confirm the user value.", connection);
  // 3.
  if (desired == nullptr || !HoldSameData(*value, *desired)) return;
  Run(FormatSql(Sql::kClearDesired, {id.key, id.component, id.group, id.instanceId}), {},
      "Failed to clear the desired value.", connection);
}

void SetBootStatus(const ConfigStoreObjectId& id, bool success) {
  if (IsSwitchedOn()) SetBootStatusInternal(id, success, GetDBStore(DBStore::TYPE_STORE, false));
}

void SetPartialBootStatus(std::shared_ptr<ConfigStoreObject> object) {
  if (!IsSwitchedOn() || ObjIsEmpty(object, kPartial)) return;
  const ConfigStoreObjectId& id = object->GetId();
  LogCall(kPartial, id);
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(id);
  ValidateCsoId(id, schema);
  const Connection connection = GetDBStore(DBStore::TYPE_STORE, false);
  PrepareForWrite(*object, schema, CS_PARTIAL_CONFIG_INVALID,
                  [&] { return GetExpectedInternal(id, connection, schema); });
  ValidatePartialConfig(schema, object);
  ConfigStoreImpl store(connection);
  RunInTransaction(store, kPartial, [&] { SetPartialBootStatusInternal(object, schema, connection); });
}

}  // namespace OrvoConfigStore
