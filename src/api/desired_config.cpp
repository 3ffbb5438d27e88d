#include "api/desired_config.h"

#include <set>
#include <string>

#include "api/checks.h"
#include "api/write_preparation.h"
#include "configstore/boot_state.h"
#include "configstore/errors.h"
#include "configstore/filter_spec.h"
#include "configstore/logging.h"
#include "store/connection.h"
#include "store/reading.h"
#include "store/statements.h"
#include "store/store_contents.h"
#include "store/writing.h"
#include "validation/action_rules.h"

namespace OrvoConfigStore {
namespace {

constexpr char kCleanUpFailed[] = "Failed to cleanup desired configuration.";
constexpr char kSetFailed[] = "Failed to set desired configuration.";

bool Runs(const char* sql, const Connection& connection) {
  return DBStore::ExecuteV2(connection, sql, nullptr, nullptr, DBStore::kBusyTimeout) == 0;
}

// Replaces what is staged; its own transaction.
void ReplaceStaged(const ObjectList& objects, const Connection& connection) {
  bool isEmptied = false;
  try {
    isEmptied = Runs(Sql::kClearStaged, connection);
    if (!isEmptied) throw ConfigStoreException(CS_GENERAL, kCleanUpFailed);
    for (const std::shared_ptr<ConfigStoreObject>& object : objects) {
      Write(kDesiredUserConfigTable, *object, connection);
    }
  } catch (const std::exception& cause) {
    CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "SetDesiredUserConfig failed: %s", cause.what());
    Runs(Sql::kRollback, connection);
    if (!isEmptied) throw;
    throw ConfigStoreException(CS_GENERAL, kSetFailed);
  }
}

void WriteStaged(const ObjectList& objects, const Connection& connection) {
  const auto failTransaction = [] {
    CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "SetDesiredUserConfig transaction failed.");
    throw ConfigStoreException(CS_GENERAL, kSetFailed);
  };
  if (!Runs(Sql::kBegin, connection)) failTransaction();
  ReplaceStaged(objects, connection);
  if (!Runs(Sql::kCommit, connection)) {
    Runs(Sql::kRollback, connection);
    failTransaction();
  }
}

bool IsOfType(const ConfigStoreObjectId& id, const ConfigStoreObjectId& type) {
  return id.key == type.key && id.group == type.group && id.component == type.component;
}

// The staged instances of a type, but for those whose identifiers are in `others`.
ObjectList ReadStagedInstances(const ConfigStoreObjectId& type, const std::set<std::string>& others,
                               const Connection& connection, const std::shared_ptr<SchemaObject>& schema) {
  ObjectList staged;
  for (const RowMap& row : GetStoreContentsInternal(kDesiredUserConfigTable, false, connection)) {
    const ConfigStoreObjectId id(row.Text(kName), row.Text(kGroup), row.Text(kComponent), row.Text(kIdentifier));
    if (!IsOfType(id, type) || others.count(id.instanceId) != 0) continue;
    const std::shared_ptr<ConfigStoreObject> object = LayerFromRow(id, row, kValue, schema);
    if (object != nullptr) staged.push_back(object);
  }
  return staged;
}

}  // namespace

std::shared_ptr<ConfigStoreObject> GetDesiredUserConfigInternal(const ConfigStoreObjectId& id,
                                                                const Connection& connection,
                                                                const std::shared_ptr<SchemaObject>& schema) {
  const std::shared_ptr<ConfigStoreObject> desired = GetDesiredInternal(id, connection, schema);
  return desired != nullptr ? desired : Read(kDesiredUserConfigTable, id, false, connection, schema);
}

std::shared_ptr<ConfigStoreObject> GetExpectedInternal(const ConfigStoreObjectId& id, const Connection& connection,
                                                       const std::shared_ptr<SchemaObject>& schema) {
  return MergeConfig(GetInternal(id, connection, schema), GetDesiredUserConfigInternal(id, connection, schema), nullptr,
                     nullptr, schema.get());
}

void SetDesiredUserConfig(std::vector<std::shared_ptr<ConfigStoreObject>> objects) {
  if (!CheckList(objects, "SetDesiredUserConfig")) return;
  const Connection connection = GetDBStore(DBStore::TYPE_STORE, false);
  for (const std::shared_ptr<ConfigStoreObject>& object : objects) {
    const ConfigStoreObjectId& id = object->GetId();
    LogCall("SetDesiredUserConfig", id);
    const std::shared_ptr<SchemaObject> schema = LookUpSchema(id);
    ValidateCsoId(id, schema);
    PrepareForWrite(*object, schema, CS_USER_CONFIG_INVALID,
                    [&] { return GetExpectedInternal(id, connection, schema); });
    ValidateUserConfig(schema, object);
  }
  WriteStaged(objects, connection);
  CSLogger::Log(CSLogger::LOG_PRIORITY_INFO, "Desired configuration set.");
}

std::shared_ptr<ConfigStoreObject> GetDesiredUserConfig(const ConfigStoreObjectId& id) {
  LogCall("GetDesiredUserConfig", id);
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(id);
  ValidateCsoId(id, schema);
  return GetDesiredUserConfigInternal(id, GetDBStore(DBStore::TYPE_STORE, false), schema);
}

std::vector<std::shared_ptr<ConfigStoreObject>> GetDesiredUserConfigInstances(
    const std::shared_ptr<FilterSpecObject>& filter) {
  if (FsoIsEmpty(filter, "GetDesiredUserConfigInstances")) return {};
  const ConfigStoreObjectId type(filter->GetId().key, filter->GetId().group, filter->GetId().component);
  LogCall("GetDesiredUserConfigInstances", filter->GetId());
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(type);
  ValidateCsoIdInstances(filter, schema);
  const Connection connection = GetDBStore(DBStore::TYPE_STORE, false);
  // Filtered last: a staged value does not count for an instance whose row has
  // another that does not match.
  ObjectList instances =
      GetDesiredUserConfigInstancesInternal(std::make_shared<FilterSpecObject>(type), connection, schema);
  std::set<std::string> found;
  for (const std::shared_ptr<ConfigStoreObject>& instance : instances) found.insert(instance->GetId().instanceId);
  const ObjectList staged = ReadStagedInstances(type, found, connection, schema);
  instances.insert(instances.end(), staged.begin(), staged.end());
  return FilterConfigStoreObjects(instances, filter);
}

std::vector<std::shared_ptr<ConfigStoreObject>> ListStagedConfig() {
  return GetConfigStoreObjects(kDesiredUserConfigTable, false, GetDBStore(DBStore::TYPE_STORE, false));
}

void DropStagedConfig() {
  if (Runs(Sql::kClearStaged, GetDBStore(DBStore::TYPE_STORE, false))) return;
  throw ConfigStoreException(CS_GENERAL, kCleanUpFailed);
}

}  // namespace OrvoConfigStore
