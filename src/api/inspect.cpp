#include "configstore/inspect.h"

#include "api/checks.h"
#include "api/secrets.h"
#include "api/stored_row.h"
#include "configstore/errors.h"
#include "configstore/rehearsal.h"
#include "platform/json_reader.h"
#include "platform/sql_format.h"
#include "store/connection.h"
#include "store/statements.h"

namespace OrvoConfigStore {
namespace {

void ForEachOrThrow(const std::string& sql, const std::function<void(RowMap&&)>& visit) {
  if (ForEachRow(GetConn(), sql, visit)) return;
  throw ConfigStoreException(CS_GENERAL, ("Get failed: " + DBStore::LastFailure().message).c_str());
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
  ForEachOrThrow(FormatSql(Sql::kListObjects, {component, group, key}), [&names](RowMap&& row) {
    names.push_back({IdOf(row), row.Text(kVersion), row.Text(kSuccess) == "1", row.Text(kPending) == "1"});
  });
  return names;
}

void ForEachStoredRow(const std::string& component, const std::string& group, const std::string& key,
                      const std::function<void(const ConfigStoreObjectId& id, const StoredRow& row)>& visit) {
  ForEachOrThrow(FormatSql(Sql::kListRows, {component, group, key}),
                 [&visit](RowMap&& row) { visit(IdOf(row), ToStoredRow(row)); });
}

namespace {

std::string Masked(const ConfigStoreObjectId& id, const std::string& json, bool isInput) {
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(id);
  CheckSchema(id, schema);
  if (!schema->HasSecrets()) return json;
  JsonStorage storage(json.size());
  std::string masked;
  if (!ReadJson(json, storage.document, nullptr) || !storage.document.IsObject()) return kSecretMask;
  MaskSecretValues(storage.document, schema->GetObjectNode());
  if (isInput) MaskUndescribedValues(storage.document, schema->GetObjectNode());
  return WriteJson(storage.document, masked) ? masked : kSecretMask;
}

}  // namespace

std::string MaskSecrets(const ConfigStoreObjectId& id, const std::string& json) {
  return Masked(id, json, false);
}

std::string MaskSecretsOfInput(const ConfigStoreObjectId& id, const std::string& json) {
  return Masked(id, json, true);
}

}  // namespace OrvoConfigStore
