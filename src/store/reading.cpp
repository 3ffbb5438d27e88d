#include "store/reading.h"

#include <cstring>
#include <string_view>
#include <utility>

#include "configstore/errors.h"
#include "configstore/filter_spec.h"
#include "configstore/logging.h"
#include "objects/instance_filter.h"
#include "objects/json_access.h"
#include "store/statements.h"
#include "store/update_merge.h"

namespace OrvoConfigStore {
namespace {

void LogDamage(const ConfigStoreObjectId& id, const char* column, const char* what) {
  CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "Stored value is damaged: %s of %s: %s", column, id.toString().c_str(),
                what);
}

std::shared_ptr<JsonDoc> ParseLayer(const ConfigStoreObjectId& id, const char* column, std::string_view text) {
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

[[noreturn]] void ThrowGetFailed(const ConfigStoreObjectId& id) {
  Throw("Get failed: " + id.toString() + ": " + DBStore::LastFailure().message);
}

std::shared_ptr<ConfigStoreObject> MakeLayer(const ConfigStoreObjectId& id, const char* column, std::string_view text,
                                             const std::shared_ptr<SchemaObject>& schema, RowFacts facts) {
  return std::make_shared<ConfigStoreObject>(id, ParseLayer(id, column, text), schema, std::move(facts));
}

// Runs a query for one object and returns what `toObject` makes of its row; an
// empty pointer when there is none. Of several rows the first counts.
template <class ToObject>
std::shared_ptr<ConfigStoreObject> ReadOne(const DBStore::NamedText& query, const ConfigStoreObjectId& id,
                                           const Connection& connection, ToObject toObject) {
  std::shared_ptr<ConfigStoreObject> object;
  bool found = false;
  const bool done = ForEachRow(connection, query, [&](const Row& row) {
    if (!std::exchange(found, true)) object = toObject(row);
  });
  if (!done) ThrowGetFailed(id);
  return object;
}

std::shared_ptr<ConfigStoreObject> ReadMerged(const char* sql, const ConfigStoreObjectId& id,
                                              const Connection& connection,
                                              const std::shared_ptr<SchemaObject>& schema) {
  return ReadOne({sql, {id.key, id.group, id.component, id.instanceId}}, id, connection,
                 [&](const Row& row) { return MergeRow(id, row, schema); });
}

// Runs a query for all instances of a type and hands to `visit` those that
// `toObject` makes something of and that match the filter, each before the next
// row is read.
template <class ToObject>
void ForEachInstance(const char* sql, const FilterSpecObject& filter, const Connection& connection, ToObject toObject,
                     const InstanceVisitor& visit) {
  const ConfigStoreObjectId& type = filter.GetId();
  const InstanceFilter taken(filter);
  ConfigStoreObjectId id(type.key, type.group, type.component);
  const auto take = [&](const Row& row) {
    id.instanceId = row.Text(kIdentifier);
    std::shared_ptr<ConfigStoreObject> object = toObject(id, row);
    if (object != nullptr && taken.Takes(*object)) visit(std::move(object));
  };
  if (!ForEachRow(connection, {sql, {type.key, type.group, type.component}}, take)) {
    Throw("Read Instances failed for: " + type.toString());
  }
}

template <class ToObject>
ObjectList ReadInstances(const char* sql, const std::shared_ptr<FilterSpecObject>& filter, const Connection& connection,
                         ToObject toObject) {
  ObjectList instances;
  ForEachInstance(sql, *filter, connection, toObject,
                  [&](std::shared_ptr<ConfigStoreObject>&& object) { instances.push_back(std::move(object)); });
  return instances;
}

ObjectList ReadValueInstances(const char* sql, const std::shared_ptr<FilterSpecObject>& filter,
                              const Connection& connection, const std::shared_ptr<SchemaObject>& schema) {
  return ReadInstances(sql, filter, connection, [&](const ConfigStoreObjectId& id, const Row& row) {
    return LayerFromRow(id, row, kValue, schema);
  });
}

}  // namespace

RowMap ReadObjectRow(const char* sql, const ConfigStoreObjectId& id, const Connection& connection) {
  RowMap first;
  bool found = false;
  const DBStore::NamedText query{sql, {id.key, id.group, id.component, id.instanceId}};
  const bool done = ForEachRow(connection, query, [&](const Row& row) {
    if (!std::exchange(found, true)) first = row.Keep();
  });
  if (!done) ThrowGetFailed(id);
  return first;
}

std::shared_ptr<ConfigStoreObject> LayerFromRow(const ConfigStoreObjectId& id, const Row& row, const char* column,
                                                const std::shared_ptr<SchemaObject>& schema) {
  const char* const text = row.Find(column);
  if (text == nullptr) return nullptr;
  return MakeLayer(id, column, text, schema, {row.Text(kVersion), row.Text(kCreationTime), row.Text(kModifiedTime)});
}

std::shared_ptr<ConfigStoreObject> UserLayerFromRow(const ConfigStoreObjectId& id, const Row& row,
                                                    const std::shared_ptr<SchemaObject>& schema) {
  return std::strcmp(row.Text(kSuccess), "1") == 0 ? LayerFromRow(id, row, kUserValue, schema) : nullptr;
}

std::shared_ptr<ConfigStoreObject> MergeConfig(std::shared_ptr<ConfigStoreObject> base,
                                               std::shared_ptr<ConfigStoreObject> first,
                                               std::shared_ptr<ConfigStoreObject> second,
                                               std::shared_ptr<ConfigStoreObject> third, const SchemaObject* schema) {
  for (const auto* layer : {&first, &second, &third}) UpdateConfigInternal(*layer, base, nullptr, schema);
  return base;
}

std::shared_ptr<ConfigStoreObject> MergeRow(const ConfigStoreObjectId& id, const Row& row,
                                            const std::shared_ptr<SchemaObject>& schema) {
  return MergeConfig(LayerFromRow(id, row, kVitalValue, schema), LayerFromRow(id, row, kCachedValue, schema),
                     LayerFromRow(id, row, kAutoConfValue, schema), UserLayerFromRow(id, row, schema), schema.get());
}

std::shared_ptr<ConfigStoreObject> GetInternal(const ConfigStoreObjectId& id, const Connection& connection,
                                               const std::shared_ptr<SchemaObject>& schema) {
  return ReadMerged(Sql::kGet, id, connection, schema);
}

std::shared_ptr<ConfigStoreObject> GetWithState(const ConfigStoreObjectId& id, const Connection& connection,
                                                const std::shared_ptr<SchemaObject>& schema, uint64_t* state) {
  return ReadOne({Sql::kGet, {id.key, id.group, id.component, id.instanceId}}, id, connection, [&](const Row& row) {
    *state = DBStore::StateBeingRead(connection);
    return MergeRow(id, row, schema);
  });
}

std::shared_ptr<ConfigStoreObject> GetConfigByContext(const ConfigStoreObjectId& id, const Connection& connection,
                                                      const USERDATA_CONTEXT& context,
                                                      const std::shared_ptr<SchemaObject>& schema) {
  const char* sql = context.kind == USERDATA_CONTEXT::EXTERNAL ? Sql::kGetForUser : Sql::kGetForAutoConf;
  return ReadMerged(sql, id, connection, schema);
}

std::shared_ptr<ConfigStoreObject> GetDesiredInternal(const ConfigStoreObjectId& id, const Connection& connection,
                                                      const std::shared_ptr<SchemaObject>& schema) {
  return ReadOne({Sql::kGetDesired, {id.key, id.group, id.component, id.instanceId}}, id, connection,
                 [&](const Row& row) { return LayerFromRow(id, row, kValue, schema); });
}

std::shared_ptr<ConfigStoreObject> GetDefaultConfigInternal(const ConfigStoreObjectId& id, const Connection& connection,
                                                            const std::shared_ptr<SchemaObject>& schema) {
  return Read(kDefaultConfigTable, id, false, connection, schema);
}

ObjectList GetConfigInstancesInternal(const std::shared_ptr<FilterSpecObject>& filter, const Connection& connection,
                                      const std::shared_ptr<SchemaObject>& schema) {
  return ReadInstances(Sql::kGetInstances, filter, connection,
                       [&](const ConfigStoreObjectId& id, const Row& row) { return MergeRow(id, row, schema); });
}

void VisitConfigInstancesInternal(const FilterSpecObject& filter, const Connection& connection,
                                  const std::shared_ptr<SchemaObject>& schema, const InstanceVisitor& visit) {
  const auto toObject = [&](const ConfigStoreObjectId& id, const Row& row) { return MergeRow(id, row, schema); };
  ForEachInstance(Sql::kGetInstances, filter, connection, toObject, visit);
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
  const auto take = [&](const Row& row) { return LayerFromRow(id, row, kValue, schema); };
  if (id.instanceId.empty()) {
    const char* const sql = confirmedOnly ? Sql::kReadConfirmedSingleton : Sql::kReadSingleton;
    return ReadOne({sql, {table, id.key, id.component, id.group}}, id, connection, take);
  }
  const char* const sql = confirmedOnly ? Sql::kReadConfirmedInstance : Sql::kReadInstance;
  return ReadOne({sql, {table, id.key, id.component, id.instanceId, id.group}}, id, connection, take);
}

}  // namespace OrvoConfigStore
