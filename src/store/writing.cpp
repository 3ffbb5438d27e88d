#include "store/writing.h"

#include <cstring>
#include <stdexcept>
#include <utility>

#include "configstore/errors.h"
#include "platform/config_upgrade.h"
#include "platform/sql_format.h"
#include "store/statements.h"

namespace OrvoConfigStore {
namespace {

[[noreturn]] void Throw(const std::string& message) {
  throw ConfigStoreException(CS_GENERAL, message.c_str());
}

ConfigStoreObjectId TypeOf(const ConfigStoreObjectId& id) {
  return {id.key, id.group, id.component};
}

std::string VersionOf(const ConfigStoreObjectId& id) {
  const auto schema = OrvoSchemaStore::SchemaStore::GetStore()->GetSchema(id.component, id.group, id.key);
  return schema == nullptr ? std::string() : schema->GetVersion();
}

// Fills the places of a composed statement.
std::string FormatRow(const std::string& text, const ConfigStoreObjectId& id, const std::string& version) {
  return FormatSql(text, {id.instanceId, id.key, id.group, id.component, version});
}

std::string FormatRowForObject(const std::string& text, const ConfigStoreObject& object) {
  return FormatRow(text, object.GetId(), object.GetVersion());
}

// Binds layer texts, an empty one as NULL: an unset layer, never an empty text.
int ExecuteWithLayers(const Connection& connection, const std::string& sql, const std::vector<std::string>& layers) {
  std::vector<int> types;
  for (const std::string& layer : layers) types.push_back(layer.empty() ? DBStore::VALUE_NULL : DBStore::VALUE_TEXT);
  return DBStore::Execute(connection, sql, layers, types, DBStore::kBusyTimeout);
}

int ExecuteFor(const Connection& connection, const std::string& sql) {
  return DBStore::ExecuteV2(connection, sql, nullptr, nullptr, DBStore::kBusyTimeout);
}

void WriteLayerInstances(const ObjectList& objects, LayerWrite write, const Connection& connection) {
  const std::string text = LayerWriteSql(write).Text();
  for (const std::shared_ptr<ConfigStoreObject>& object : objects) {
    const std::string sql = FormatRowForObject(text, *object);
    if (DBStore::Execute(connection, sql, {object->GetData()}, {DBStore::VALUE_TEXT}, DBStore::kBusyTimeout) == 1) {
      Throw("Write config instances failed");
    }
  }
}

// How a write by context goes about it: which layer takes the user part and
// which statements run.
struct ContextStatements {
  ContextWrite set;
  const char* update;
};

// Indexed by UPDATE_CONTEXT; any other value counts as 1.
const ContextStatements kContextStatements[] = {
    {ContextWrite::UserDroppingDesired, Sql::kUpdateForUser},
    {ContextWrite::User, Sql::kUpdateKeepingDesired},
    {ContextWrite::AutoConf, Sql::kUpdateForAutoConf},
};

const ContextStatements& StatementsOf(const UPDATE_CONTEXT& context) {
  return kContextStatements[context.kind > UPDATE_CONTEXT::AUTOCONFIGURATION
                                ? static_cast<uint32_t>(UPDATE_CONTEXT::USER)
                                : context.kind];
}

void ExecuteByContext(const ConfigStoreObject& object, const SchemaObject& schema, const std::string& sql,
                      const Connection& connection) {
  const LayerValues values = BuildContextValues(object, schema);
  // Deliberate: any result but 0 is a failure here, elsewhere only 1 is.
  if (ExecuteWithLayers(connection, sql, {values.user, values.vital, values.cached}) != 0) {
    Throw("Database call to update configuration by context failed for: " + object.GetId().toString());
  }
}

std::string VersionOfObject(const BaseObject& object) {
  const auto* full = dynamic_cast<const ConfigStoreObject*>(&object);
  return full == nullptr ? std::string() : full->GetVersion();
}

void WriteComplete(const std::string& text, const ConfigStoreObjectId& id, const std::string& version,
                   const LayerValues& layers, const Connection& connection) {
  const std::string sql = FormatRow(text, id, version);
  if (ExecuteWithLayers(connection, sql, {layers.autoConf, layers.user, layers.vital, layers.cached}) == 1) {
    Throw("WriteComplete failed");
  }
}

}  // namespace

void SetInternal(const std::shared_ptr<ConfigStoreObject>& object, const std::shared_ptr<SchemaObject>& schema,
                 const USERDATA_CONTEXT& context, const Connection& connection) {
  WriteComplete(CompleteWriteSql().Text(), object->GetId(), schema->GetVersion(),
                BuildLayerValues(*object, *schema, context.kind), connection);
}

void SetInstancesInternal(const ObjectList& objects, const USERDATA_CONTEXT& context, const SchemaMap& schemas,
                          const Connection& connection) {
  // Each is written before the next is split: the texts of a large list are
  // never all in memory, and rows that are read in order lie in order.
  const std::string text = CompleteWriteSql().Text();
  for (const std::shared_ptr<ConfigStoreObject>& object : objects) {
    const auto schema = schemas.find(TypeOf(object->GetId()));
    if (schema == schemas.end()) throw std::out_of_range("_Map_base::at");
    WriteComplete(text, object->GetId(), schema->second->GetVersion(),
                  BuildLayerValues(*object, *schema->second, context.kind), connection);
  }
}

void WriteCompleteConfigInstances(const std::unordered_map<ConfigStoreObjectId, LayerValues>& objects,
                                  const Connection& connection) {
  const std::string text = CompleteWriteSql().Text();
  for (const auto& [id, layers] : objects) WriteComplete(text, id, VersionOf(id), layers, connection);
}

void WriteUserConfigInstances(const ObjectList& objects, const Connection& connection) {
  const bool upgrading = OrvoConfigUpgrade::GetUpgradeRunner();
  WriteLayerInstances(objects, upgrading ? LayerWrite::UserInUpgrade : LayerWrite::User, connection);
}
void WriteAutoConfConfigInstances(const ObjectList& objects, const Connection& connection) {
  WriteLayerInstances(objects, LayerWrite::AutoConf, connection);
}
void WriteVitalConfigInstances(const ObjectList& objects, const Connection& connection) {
  WriteLayerInstances(objects, LayerWrite::Vital, connection);
}
void WriteCachedConfigInstances(const ObjectList& objects, const Connection& connection) {
  WriteLayerInstances(objects, LayerWrite::Cached, connection);
}

void DeleteUserConfigInstances(const ConfigStoreObjectId& type, const Connection& connection) {
  DeletePartialConfigInstances(kUserValue, type, connection);
}
void DeleteAutoConfConfigInstances(const ConfigStoreObjectId& type, const Connection& connection) {
  DeletePartialConfigInstances(kAutoConfValue, type, connection);
}
void DeleteVitalConfigInstances(const ConfigStoreObjectId& type, const Connection& connection) {
  DeletePartialConfigInstances(kVitalValue, type, connection);
}
void DeleteCachedConfigInstances(const ConfigStoreObjectId& type, const Connection& connection) {
  DeletePartialConfigInstances(kCachedValue, type, connection);
}

void DeletePartialConfigInstances(const char* column, const ConfigStoreObjectId& type, const Connection& connection) {
  const std::string sql = FormatSql(Sql::kClearLayer, {column, type.key, type.group, type.component});
  if (ExecuteFor(connection, sql) == 1) Throw("Failed to Delete in SetConfigInstancesInternal");
}

void DeleteInternal(const ConfigStoreObjectId& id, const Connection& connection) {
  const std::string sql = FormatSql(Sql::kDelete, {id.key, id.component, id.instanceId, id.group});
  if (ExecuteFor(connection, sql) == 1) Throw("Delete failed: " + id.toString());
}

void DeleteInstancesInternal(const ConfigStoreObjectId& type, const Connection& connection) {
  const std::string sql = FormatSql(Sql::kDeleteInstances, {type.key, type.component, type.group});
  if (ExecuteFor(connection, sql) == 1) Throw("Delete instances failed: " + type.toString());
}

void SetByContextInternal(const std::shared_ptr<ConfigStoreObject>& object, const std::shared_ptr<SchemaObject>& schema,
                          const UPDATE_CONTEXT& context, const Connection& connection) {
  const std::string sql = FormatRowForObject(ContextWriteSql(StatementsOf(context).set).Text(), *object);
  ExecuteByContext(*object, *schema, sql, connection);
}

void UpdateByContextInternal(const std::shared_ptr<ConfigStoreObject>& object,
                             const std::shared_ptr<SchemaObject>& schema, const UPDATE_CONTEXT& context,
                             const Connection& connection) {
  const ConfigStoreObjectId& id = object->GetId();
  const std::string sql = FormatSql(StatementsOf(context).update, {id.key, id.group, id.component, id.instanceId});
  ExecuteByContext(*object, *schema, sql, connection);
}

void Write(const char* table, const BaseObject& object, const Connection& connection) {
  const ConfigStoreObjectId& id = object.GetId();
  const bool hasInstance = !id.instanceId.empty();
  const bool takesInstance = std::strcmp(table, kConfigSchemaTable) != 0;
  const std::string sql = FormatSql(hasInstance && takesInstance ? Sql::kWriteInstance : Sql::kWriteSingleton, {table});
  std::vector<std::string> values = {id.component, id.group, id.key, object.GetData()};
  if (hasInstance) values.push_back(id.instanceId);
  values.push_back(VersionOfObject(object));
  const std::vector<int> types(values.size(), DBStore::VALUE_TEXT);
  if (DBStore::Execute(connection, sql, values, types, DBStore::kBusyTimeout) == 1) Throw("Database Error");
}

}  // namespace OrvoConfigStore
