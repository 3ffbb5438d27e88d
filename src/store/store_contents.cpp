#include "store/store_contents.h"

#include <utility>

#include "configstore/errors.h"
#include "platform/sql_format.h"
#include "store/reading.h"
#include "store/statements.h"

namespace OrvoConfigStore {

std::vector<RowMap> GetStoreRows(const std::string& sql, const Connection& connection) {
  std::vector<RowMap> rows;
  if (!ForEachRow(connection, sql, [&](RowMap&& row) { rows.push_back(std::move(row)); })) {
    throw ConfigStoreException(CS_GENERAL, ("Get failed: " + DBStore::LastFailure().message).c_str());
  }
  return rows;
}

std::vector<RowMap> GetStoreContentsInternal(const char* table, bool confirmedOnly, const Connection& connection) {
  return GetStoreRows(FormatSql(confirmedOnly ? Sql::kReadConfirmedTable : Sql::kReadTable, {table}), connection);
}

std::vector<RowMap> GetStoreContentsInternalST(const char* column, bool confirmedOnly, const Connection& connection) {
  return GetStoreRows(FormatSql(confirmedOnly ? Sql::kReadConfirmedLayer : Sql::kReadLayer, {column}), connection);
}

ObjectList ConfigMapToConfigStoreObjects(const std::vector<RowMap>& rows) {
  ObjectList objects;
  for (const RowMap& row : rows) {
    const ConfigStoreObjectId id(row.Text(kName), row.Text(kGroup), row.Text(kComponent), row.Text(kIdentifier));
    std::shared_ptr<ConfigStoreObject> object = LayerFromRow(id, row, kValue, nullptr);
    if (object != nullptr) objects.push_back(std::move(object));
  }
  return objects;
}

std::map<std::string, std::shared_ptr<ConfigStoreObject>> ConfigMaptoCsoIdObjMap(const std::vector<RowMap>& rows) {
  std::map<std::string, std::shared_ptr<ConfigStoreObject>> objects;
  for (std::shared_ptr<ConfigStoreObject>& object : ConfigMapToConfigStoreObjects(rows)) {
    const std::string name = object->GetId().toString();
    objects[name] = std::move(object);
  }
  return objects;
}

ObjectList GetConfigStoreObjects(const char* table, bool confirmedOnly, const Connection& connection) {
  return ConfigMapToConfigStoreObjects(GetStoreContentsInternal(table, confirmedOnly, connection));
}

ObjectList GetConfigStoreObjectsST(const char* column, bool confirmedOnly, const Connection& connection) {
  return ConfigMapToConfigStoreObjects(GetStoreContentsInternalST(column, confirmedOnly, connection));
}

ObjectList GetUserConfigObjects(const Connection& connection) {
  return GetConfigStoreObjectsST(kUserValue, true, connection);
}

}  // namespace OrvoConfigStore
