#include "configstore/inspect.h"

#include "api/checks.h"
#include "api/secrets.h"
#include "configstore/errors.h"
#include "platform/json_reader.h"
#include "platform/sql_format.h"
#include "store/connection.h"
#include "store/statements.h"
#include "store/store_contents.h"

namespace OrvoConfigStore {
namespace {

std::optional<std::string> Layer(const RowMap& row, const char* column) {
  const std::string* text = row.Find(column);
  return text == nullptr ? std::nullopt : std::optional<std::string>(*text);
}

StoredRow ToStoredRow(const RowMap& row) {
  return {Layer(row, kAutoConfValue), Layer(row, kUserValue),    Layer(row, kVitalValue),
          Layer(row, kCachedValue),   Layer(row, kDesiredValue), row.Text(kVersion),
          row.Text(kCreationTime),    row.Text(kModifiedTime),   row.Text(kSuccess) == "1"};
}

}  // namespace

std::optional<StoredRow> ReadStoredRow(const ConfigStoreObjectId& id) {
  ValidateCsoId(id, LookUpSchema(id));
  std::optional<StoredRow> stored;
  const std::string sql = FormatSql(Sql::kGetStoredRow, {id.key, id.group, id.component, id.instanceId});
  if (!ForEachRow(GetConn(), sql, [&](RowMap&& row) { stored = ToStoredRow(row); })) {
    const std::string cause = DBStore::LastFailure().message;
    throw ConfigStoreException(CS_GENERAL, ("Get failed: " + id.toString() + ": " + cause).c_str());
  }
  return stored;
}

std::vector<StoredName> ListStoredObjects(const std::string& component, const std::string& group,
                                          const std::string& key) {
  std::vector<StoredName> names;
  for (const RowMap& row : GetStoreRows(FormatSql(Sql::kListObjects, {component, group, key}), GetConn())) {
    const ConfigStoreObjectId id(row.Text(kName), row.Text(kGroup), row.Text(kComponent), row.Text(kIdentifier));
    names.push_back({id, row.Text(kVersion), row.Text(kSuccess) == "1", row.Text(kPending) == "1"});
  }
  return names;
}

std::string MaskSecrets(const ConfigStoreObjectId& id, const std::string& json) {
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(id);
  CheckSchema(id, schema);
  if (!schema->HasSecrets()) return json;
  JsonStorage storage(json.size());
  std::string masked;
  if (!ReadJson(json, storage.document, nullptr) || !storage.document.IsObject()) return kSecretMask;
  MaskSecretValues(storage.document, schema->GetObjectNode());
  return WriteJson(storage.document, masked) ? masked : kSecretMask;
}

}  // namespace OrvoConfigStore
