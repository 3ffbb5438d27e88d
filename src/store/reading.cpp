#include "store/reading.h"

#include <utility>

#include "configstore/errors.h"
#include "configstore/filter_spec.h"
#include "configstore/logging.h"
#include "objects/json_access.h"
#include "platform/sql_format.h"
#include "store/statements.h"
#include "store/update_merge.h"

namespace OrvoConfigStore {
namespace {

void LogDamage(const ConfigStoreObjectId& id, const char* column, const char* what) {
  CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "Stored value is damaged: %s of %s: %s", column, id.toString().c_str(),
                what);
}

std::shared_ptr<JsonDoc> ParseLayer(const ConfigStoreObjectId& id, const char* column, const std::string& text) {
  std::shared_ptr<JsonDoc> doc = NewDocument(text.size());
  JsonReadFailure failure;
  if (!ReadJson(text, *doc->document, &failure)) {
    LogDamage(id, column, failure.reason);
    ThrowException<InvalidArgumentException>(CS_JSON_STRING_INVALID);
  }
  if (!doc->document->IsObject()) {
    LogDamage(id, column, "not a JSON object");
    ThrowInvalidJson();
  }
  return doc;
}

[[noreturn]] void Throw(const std::string& message) {
  throw ConfigStoreException(CS_GENERAL, message.c_str());
}

// Runs a query for one object and returns its row, empty when there is none.
RowMap ReadRow(const std::string& sql, const ConfigStoreObjectId& id, const Connection& connection) {
  RowMap first;
  bool found = false;
  const bool done = ForEachRow(connection, sql, [&](RowMap&& row) {
    if (!std::exchange(found, true)) first = std::move(row);
  });
  if (!done) Throw("Get failed: " + id.toString() + ": " + DBStore::LastFailure().message);
  return first;
}

// Runs a query for all instances of a type and returns those that `toObject`
// makes something of and that match the filter. Each row is an object before
// the next one is read: a large type is never held twice.
template <class ToObject>
ObjectList ReadInstances(const char* sql, const std::shared_ptr<FilterSpecObject>& filter, const Connection& connection,
                         ToObject toObject) {
  const ConfigStoreObjectId& type = filter->GetId();
  ObjectList instances;
  const auto take = [&](RowMap&& row) {
    const ConfigStoreObjectId id(type.key, type.group, type.component, row.Text(kIdentifier));
    std::shared_ptr<ConfigStoreObject> object = toObject(id, row);
    if (object != nullptr) instances.push_back(std::move(object));
  };
  if (!ForEachRow(connection, FormatSql(sql, {type.key, type.group, type.component}), take)) {
    Throw("Read Instances failed for: " + type.toString());
  }
  return FilterConfigStoreObjects(instances, filter);
}

ObjectList ReadValueInstances(const char* sql, const std::shared_ptr<FilterSpecObject>& filter,
                              const Connection& connection, const std::shared_ptr<SchemaObject>& schema) {
  return ReadInstances(sql, filter, connection, [&](const ConfigStoreObjectId& id, const RowMap& row) {
    return LayerFromRow(id, row, kValue, schema);
  });
}

}  // namespace

RowMap ReadObjectRow(const char* sql, const ConfigStoreObjectId& id, const Connection& connection) {
  return ReadRow(FormatSql(sql, {id.key, id.group, id.component, id.instanceId}), id, connection);
}

std::shared_ptr<ConfigStoreObject> LayerFromRow(const ConfigStoreObjectId& id, const RowMap& row, const char* column,
                                                const std::shared_ptr<SchemaObject>& schema) {
  const std::string* text = row.Find(column);
  if (text == nullptr) return nullptr;
  return std::make_shared<ConfigStoreObject>(id, ParseLayer(id, column, *text), schema, row.Text(kVersion),
                                             row.Text(kCreationTime), row.Text(kModifiedTime), true, nullptr, nullptr);
}

std::shared_ptr<ConfigStoreObject> UserLayerFromRow(const ConfigStoreObjectId& id, const RowMap& row,
                                                    const std::shared_ptr<SchemaObject>& schema) {
  return row.Text(kSuccess) == "1" ? LayerFromRow(id, row, kUserValue, schema) : nullptr;
}

std::shared_ptr<ConfigStoreObject> MergeConfig(std::shared_ptr<ConfigStoreObject> base,
                                               std::shared_ptr<ConfigStoreObject> first,
                                               std::shared_ptr<ConfigStoreObject> second,
                                               std::shared_ptr<ConfigStoreObject> third) {
  for (const auto* layer : {&first, &second, &third}) UpdateConfigInternal(*layer, base, nullptr);
  return base;
}

std::shared_ptr<ConfigStoreObject> MergeRow(const ConfigStoreObjectId& id, const RowMap& row,
                                            const std::shared_ptr<SchemaObject>& schema) {
  return MergeConfig(LayerFromRow(id, row, kVitalValue, schema), LayerFromRow(id, row, kCachedValue, schema),
                     LayerFromRow(id, row, kAutoConfValue, schema), UserLayerFromRow(id, row, schema));
}

std::shared_ptr<ConfigStoreObject> GetInternal(const ConfigStoreObjectId& id, const Connection& connection,
                                               const std::shared_ptr<SchemaObject>& schema) {
  return MergeRow(id, ReadObjectRow(Sql::kGet, id, connection), schema);
}

std::shared_ptr<ConfigStoreObject> GetConfigByContext(const ConfigStoreObjectId& id, const Connection& connection,
                                                      const USERDATA_CONTEXT& context,
                                                      const std::shared_ptr<SchemaObject>& schema) {
  const char* sql = context.kind == USERDATA_CONTEXT::EXTERNAL ? Sql::kGetForUser : Sql::kGetForAutoConf;
  return MergeRow(id, ReadObjectRow(sql, id, connection), schema);
}

std::shared_ptr<ConfigStoreObject> GetDesiredInternal(const ConfigStoreObjectId& id, const Connection& connection,
                                                      const std::shared_ptr<SchemaObject>& schema) {
  return LayerFromRow(id, ReadObjectRow(Sql::kGetDesired, id, connection), kValue, schema);
}

std::shared_ptr<ConfigStoreObject> GetDefaultConfigInternal(const ConfigStoreObjectId& id, const Connection& connection,
                                                            const std::shared_ptr<SchemaObject>& schema) {
  return Read(kDefaultConfigTable, id, false, connection, schema);
}

ObjectList GetConfigInstancesInternal(const std::shared_ptr<FilterSpecObject>& filter, const Connection& connection,
                                      const std::shared_ptr<SchemaObject>& schema) {
  return ReadInstances(Sql::kGetInstances, filter, connection,
                       [&](const ConfigStoreObjectId& id, const RowMap& row) { return MergeRow(id, row, schema); });
}

ObjectList GetDefaultConfigInstancesInternal(const std::shared_ptr<FilterSpecObject>& filter,
                                             const Connection& connection,
                                             const std::shared_ptr<SchemaObject>& schema) {
  return ReadValueInstances(Sql::kGetDefaultInstances, filter, connection, schema);
}

ObjectList GetDesiredUserConfigInstancesInternal(const std::shared_ptr<FilterSpecObject>& filter,
                                                 const Connection& connection,
                                                 const std::shared_ptr<SchemaObject>& schema) {
  return ReadValueInstances(Sql::kGetDesiredInstances, filter, connection, schema);
}

std::shared_ptr<ConfigStoreObject> Read(const char* table, const ConfigStoreObjectId& id, bool confirmedOnly,
                                        const Connection& connection, const std::shared_ptr<SchemaObject>& schema) {
  const std::string sql = id.instanceId.empty()
                              ? FormatSql(confirmedOnly ? Sql::kReadConfirmedSingleton : Sql::kReadSingleton,
                                          {table, id.key, id.component, id.group})
                              : FormatSql(confirmedOnly ? Sql::kReadConfirmedInstance : Sql::kReadInstance,
                                          {table, id.key, id.component, id.instanceId, id.group});
  return LayerFromRow(id, ReadRow(sql, id, connection), kValue, schema);
}

}  // namespace OrvoConfigStore
