#include "store/writing.h"

#include <cstring>
#include <initializer_list>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "configstore/errors.h"
#include "platform/config_upgrade.h"
#include "platform/sql_format.h"
#include "platform/sql_forms.h"
#include "store/statements.h"

namespace OrvoConfigStore {
namespace {

[[noreturn]] void Throw(const std::string& message) {
  throw ConfigStoreException(CS_GENERAL, message.c_str());
}

ConfigStoreObjectId TypeOf(const ConfigStoreObjectId& id) {
  return {id.key, id.group, id.component};
}

bool IsOfType(const ConfigStoreObjectId& id, const ConfigStoreObjectId& type) {
  return id.key == type.key && id.group == type.group && id.component == type.component;
}

std::string VersionOf(const ConfigStoreObjectId& id) {
  const auto schema = OrvoSchemaStore::SchemaStore::GetStore()->GetSchema(id.component, id.group, id.key);
  return schema == nullptr ? std::string() : schema->GetVersion();
}

// What fills the places of a composed statement.
using Names = std::initializer_list<std::string_view>;

// Runs a form with layer texts, an empty one as NULL: an unset layer, never an
// empty text.
int ExecuteWithLayers(const Connection& connection, std::string_view form, Names names,
                      const std::vector<std::string>& layers) {
  std::vector<int> types;
  types.reserve(layers.size());
  for (const std::string& layer : layers) types.push_back(layer.empty() ? DBStore::VALUE_NULL : DBStore::VALUE_TEXT);
  return DBStore::ExecuteNamed(connection, {form, names}, layers, types, DBStore::kBusyTimeout);
}

int ExecuteFor(const Connection& connection, std::string_view form, Names names) {
  return DBStore::QueryNamed(connection, {form, names}, nullptr, nullptr, DBStore::kBusyTimeout);
}

void WriteLayerInstances(const ObjectList& objects, LayerWrite write, const Connection& connection) {
  const std::string& form = LayerWriteSql(write).text;
  for (const std::shared_ptr<ConfigStoreObject>& object : objects) {
    const ConfigStoreObjectId& id = object->GetId();
    const std::string version = object->GetVersion();
    const Names names = {id.instanceId, id.key, id.group, id.component, version};
    const int result = DBStore::ExecuteNamed(connection, {form, names}, {object->GetData()}, {DBStore::VALUE_TEXT},
                                             DBStore::kBusyTimeout);
    if (result == 1) Throw("Write config instances failed");
  }
}

// The texts, in this order and moved from where they are.
std::vector<std::string> ListOf(std::initializer_list<std::string*> layers) {
  std::vector<std::string> list;
  list.reserve(layers.size());
  for (std::string* layer : layers) list.push_back(std::move(*layer));
  return list;
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

void ExecuteByContext(const ConfigStoreObject& object, const SchemaObject& schema, std::string_view form, Names names,
                      const Connection& connection) {
  LayerValues values = BuildContextValues(object, schema);
  const std::vector<std::string> layers = ListOf({&values.user, &values.vital, &values.cached});
  // Deliberate: any result but 0 is a failure here, elsewhere only 1 is.
  if (ExecuteWithLayers(connection, form, names, layers) != 0) {
    Throw("Database call to update configuration by context failed for: " + object.GetId().toString());
  }
}

std::string VersionOfObject(const BaseObject& object) {
  const auto* full = dynamic_cast<const ConfigStoreObject*>(&object);
  return full == nullptr ? std::string() : full->GetVersion();
}

void WriteComplete(const ConfigStoreObjectId& id, const std::string& version, LayerValues values,
                   const Connection& connection) {
  const std::vector<std::string> layers = ListOf({&values.autoConf, &values.user, &values.vital, &values.cached});
  if (ExecuteWithLayers(connection, CompleteWriteSql().text, {id.instanceId, id.key, id.group, id.component, version},
                        layers) == 1) {
    Throw("WriteComplete failed");
  }
}

}  // namespace

void SetInternal(const std::shared_ptr<ConfigStoreObject>& object, const std::shared_ptr<SchemaObject>& schema,
                 const USERDATA_CONTEXT& context, const Connection& connection) {
  WriteComplete(object->GetId(), schema->GetVersion(), BuildLayerValues(*object, *schema, context.kind), connection);
}

void SetInstancesInternal(const ObjectList& objects, const USERDATA_CONTEXT& context, const SchemaMap& schemas,
                          const Connection& connection) {
  // Each is written before the next is split: the texts of a large list are
  // never all in memory, and rows that are read in order lie in order.
  auto schema = schemas.end();
  for (const std::shared_ptr<ConfigStoreObject>& object : objects) {
    if (schema == schemas.end() || !IsOfType(object->GetId(), schema->first)) {
      schema = schemas.find(TypeOf(object->GetId()));
    }
    if (schema == schemas.end()) throw std::out_of_range("_Map_base::at");
    WriteComplete(object->GetId(), schema->second->GetVersion(),
                  BuildLayerValues(*object, *schema->second, context.kind), connection);
  }
}

void WriteCompleteConfigInstances(const std::unordered_map<ConfigStoreObjectId, LayerValues>& objects,
                                  const Connection& connection) {
  for (const auto& [id, layers] : objects) WriteComplete(id, VersionOf(id), layers, connection);
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
  if (ExecuteFor(connection, Sql::kClearLayer, {column, type.key, type.group, type.component}) == 1)
    Throw("Failed to Delete in SetConfigInstancesInternal");
}

void DeleteInternal(const ConfigStoreObjectId& id, const Connection& connection) {
  if (ExecuteFor(connection, Sql::kDelete, {id.key, id.component, id.instanceId, id.group}) == 1)
    Throw("Delete failed: " + id.toString());
}

void DeleteInstancesInternal(const ConfigStoreObjectId& type, const Connection& connection) {
  if (ExecuteFor(connection, Sql::kDeleteInstances, {type.key, type.component, type.group}) == 1)
    Throw("Delete instances failed: " + type.toString());
}

void SetByContextInternal(const std::shared_ptr<ConfigStoreObject>& object, const std::shared_ptr<SchemaObject>& schema,
                          const UPDATE_CONTEXT& context, const Connection& connection) {
  const ConfigStoreObjectId& id = object->GetId();
  ExecuteByContext(*object, *schema, ContextWriteSql(StatementsOf(context).set).text,
                   {id.instanceId, id.key, id.group, id.component, object->GetVersion()}, connection);
}

void UpdateByContextInternal(const std::shared_ptr<ConfigStoreObject>& object,
                             const std::shared_ptr<SchemaObject>& schema, const UPDATE_CONTEXT& context,
                             const Connection& connection) {
  const ConfigStoreObjectId& id = object->GetId();
  ExecuteByContext(*object, *schema, StatementsOf(context).update, {id.key, id.group, id.component, id.instanceId},
                   connection);
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
