#include <algorithm>
#include <optional>
#include <unordered_map>
#include <utility>

#include "api/checks.h"
#include "api/stored_row.h"
#include "configstore/check.h"
#include "configstore/errors.h"
#include "platform/inspect_database.h"
#include "platform/schema_check.h"
#include "platform/sql_format.h"
#include "store/connection.h"
#include "store/reading.h"
#include "store/statements.h"
#include "validation/action_rules.h"

namespace OrvoConfigStore {
namespace {

using OrvoSchemaStore::SchemaRecord;
using Kind = StoreFinding::Kind;

// One run over the rows.
class RowChecks {
 public:
  explicit RowChecks(std::vector<StoreFinding>& findings) : findings_(findings) {}

  // Takes up schemas that count in place of the registered ones.
  void Rehearse(const std::string& path) {
    std::string text;
    if (!OrvoSchemaStore::ReadSchemaText(path, text)) {
      return Add({Kind::SCHEMA, {"", "", ""}, path, "", "the file cannot be read"});
    }
    SchemaRecord record;
    const auto faults = OrvoSchemaStore::CheckSchemaText(text, record);
    for (const auto& fault : faults) Add({Kind::SCHEMA, {"", "", ""}, path, fault.path, fault.text});
    if (!faults.empty()) return;
    schemas_[{record.key, record.group, record.component}] = std::make_shared<SchemaObject>(record);
  }

  void CheckRow(const RowMap& row) {
    const ConfigStoreObjectId id = IdOf(row);
    const std::shared_ptr<SchemaObject> schema = SchemaOf(id);
    if (schema == nullptr) {
      return Add({Kind::UNREGISTERED, id, "row", "", "the type is not registered; the object cannot be read"});
    }
    if (schema->IsSingleton() != id.instanceId.empty()) {
      return Add({Kind::INVALID, id, "row", "",
                  schema->IsSingleton() ? "the type has a single object" : "the type has instances"});
    }
    if (row.Text(kSuccess) != "1") {
      Add({Kind::UNCONFIRMED, id, "user", "", "not confirmed: the user layer is not in force"});
    }
    // The user layer counts, confirmed or not: it comes into force as it is.
    const WriteKind kind = row.Find(kUserValue) != nullptr ? WriteKind::SetFromOutside : WriteKind::SetByHost;
    CheckObject(id, "effective", kind, *schema, [&] {
      return MergeConfig(LayerFromRow(id, row, kVitalValue, schema), LayerFromRow(id, row, kCachedValue, schema),
                         LayerFromRow(id, row, kAutoConfValue, schema), LayerFromRow(id, row, kUserValue, schema),
                         schema.get());
    });
    CheckObject(id, "desired", WriteKind::User, *schema, [&] { return LayerFromRow(id, row, kDesiredValue, schema); });
  }

  // Checks a row of another table.
  void CheckValue(const RowMap& row, const char* where, WriteKind kind) {
    const ConfigStoreObjectId id = IdOf(row);
    const std::shared_ptr<SchemaObject> schema = SchemaOf(id);
    if (schema == nullptr) return Add({Kind::UNREGISTERED, id, where, "", "the type is not registered"});
    CheckObject(id, where, kind, *schema, [&] { return LayerFromRow(id, row, kValue, schema); });
  }

 private:
  void Add(StoreFinding finding) { findings_.push_back(std::move(finding)); }

  const std::shared_ptr<SchemaObject>& SchemaOf(const ConfigStoreObjectId& id) {
    const ConfigStoreObjectId type(id.key, id.group, id.component);
    const auto [found, isNew] = schemas_.emplace(type, nullptr);
    if (isNew) found->second = LookUpSchema(type);
    return found->second;
  }

  template <class Read>
  void CheckObject(const ConfigStoreObjectId& id, const char* where, WriteKind kind, const SchemaObject& schema,
                   Read read) {
    try {
      const std::shared_ptr<ConfigStoreObject> object = read();
      if (object == nullptr) return;
      const std::shared_ptr<JsonDoc> doc = object->GetJsonDocPtr();
      const auto violations =
          FindViolations(kind, schema.GetObjectNode(), *std::as_const(*doc).GetJsonValuePtr(), *doc->allocator);
      for (const ErrorInfo& each : violations) Add({Kind::INVALID, id, where, each.field, each.error});
    } catch (const ConfigStoreException& failure) {
      Add({Kind::UNREADABLE, id, where, "", failure.what()});
    }
  }

  std::vector<StoreFinding>& findings_;
  std::unordered_map<ConfigStoreObjectId, std::shared_ptr<SchemaObject>> schemas_;
};

// Returns whether the database can be used further.
bool CheckDatabase(DBStore::Type type, const char* name, std::vector<StoreFinding>& findings) {
  const DBStore::DatabaseState state = DBStore::InspectDatabase(type);
  for (const std::string& damage : state.damages) findings.push_back({Kind::DAMAGED, {"", "", ""}, name, "", damage});
  for (const std::string& each : state.differences) findings.push_back({Kind::TABLES, {"", "", ""}, name, "", each});
  return state.damages.empty();
}

void ForEach(const std::string& sql, std::vector<StoreFinding>& findings, const std::function<void(RowMap&&)>& visit) {
  if (ForEachRow(GetConn(), sql, visit)) return;
  findings.push_back({Kind::DAMAGED, {"", "", ""}, "store", "", DBStore::LastFailure().message});
}

void CheckRows(const CheckOptions& options, std::vector<StoreFinding>& findings) {
  RowChecks checks(findings);
  for (const std::string& path : options.schemaFiles) checks.Rehearse(path);
  ForEach(FormatSql(Sql::kListRows, {"", "", ""}), findings, [&](RowMap&& row) { checks.CheckRow(row); });
  ForEach(FormatSql(Sql::kReadTable, {kDesiredUserConfigTable}), findings,
          [&](RowMap&& row) { checks.CheckValue(row, "staged", WriteKind::User); });
  ForEach(FormatSql(Sql::kReadTable, {kDefaultConfigTable}), findings,
          [&](RowMap&& row) { checks.CheckValue(row, "default", WriteKind::SetByHost); });
}

// What is gone by now was left by an interrupted run and has been settled; a log
// that is still there belongs to a program that is at work.
void CheckSideFiles(const std::vector<std::string>& before, std::vector<StoreFinding>& findings) {
  const std::vector<std::string> after = DBStore::ListSideFiles();
  for (const std::string& file : before) {
    const bool isLeft = std::count(after.begin(), after.end(), file) != 0;
    const bool isCopy = file.find(".new-") != std::string::npos;
    if (isLeft && !isCopy) continue;
    findings.push_back({Kind::SIDE_FILE,
                        {"", "", ""},
                        file,
                        "",
                        isCopy ? "a copy that was not finished, unless a backup is being made now; it may be removed"
                               : "the log of a program that was interrupted, or has just ended; it has been taken up"});
  }
}

}  // namespace

std::vector<StoreFinding> CheckStore(const CheckOptions& options) {
  std::vector<StoreFinding> findings;
  const std::vector<std::string> sideFiles = DBStore::ListSideFiles();
  if (GetConn() == nullptr) {
    throw ConfigStoreException(CS_GENERAL, ("Cannot check: " + DBStore::LastFailure().message).c_str());
  }
  const bool isSound = CheckDatabase(DBStore::TYPE_STORE, "store", findings);
  const bool hasSchemas = CheckDatabase(DBStore::TYPE_SCHEMA_STORE, "schema store", findings);
  if (isSound && hasSchemas) CheckRows(options, findings);
  CheckSideFiles(sideFiles, findings);
  return findings;
}

}  // namespace OrvoConfigStore
