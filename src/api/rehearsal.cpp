#include "configstore/rehearsal.h"

#include "api/stored_row.h"
#include "configstore/errors.h"
#include "platform/rehearsal.h"
#include "platform/sql_format.h"
#include "store/statements.h"

namespace OrvoConfigStore {
namespace {

void Collect(const std::string& sql, const std::function<void(RowMap&&)>& take) {
  if (ForEachRow(DBStore::RehearsalConnection(), sql, take)) return;
  throw ConfigStoreException(CS_GENERAL, ("Cannot compare: " + DBStore::LastFailure().message).c_str());
}

ObjectChange ToObjectChange(const RowMap& row) {
  ObjectChange change{IdOf(row), {}, {}};
  if (row.Find("WasThere") != nullptr) change.before = ToStoredRow(row, "Old");
  if (row.Find("IsThere") != nullptr) change.after = ToStoredRow(row);
  return change;
}

std::vector<ValueChange> CompareValues(const char* table) {
  std::vector<ValueChange> changes;
  Collect(FormatSql(Sql::kChangedValues, {table}), [&](RowMap&& row) {
    changes.push_back({IdOf(row), ColumnOf(row, "OldValue"), ColumnOf(row, kValue)});
  });
  return changes;
}

}  // namespace

Rehearsal::Rehearsal() {
  if (DBStore::BeginRehearsal() != nullptr) return;
  throw ConfigStoreException(CS_GENERAL, ("Cannot rehearse: " + DBStore::LastFailure().message).c_str());
}

Rehearsal::~Rehearsal() {
  DBStore::EndRehearsal();
}

StoreChanges Rehearsal::Compare() const {
  StoreChanges changes;
  Collect(Sql::kChangedRows, [&](RowMap&& row) { changes.objects.push_back(ToObjectChange(row)); });
  changes.staged = CompareValues(kDesiredUserConfigTable);
  changes.defaults = CompareValues(kDefaultConfigTable);
  Collect(Sql::kChangedState, [&](RowMap&& row) {
    changes.state.push_back({row.Text("Key"), row.Text("OldValue"), row.Text(kValue)});
  });
  return changes;
}

}  // namespace OrvoConfigStore
