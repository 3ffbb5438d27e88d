#include "lifecycle/load_steps.h"

#include <new>
#include <string>
#include <vector>

#include "api/boot_state.h"
#include "configstore/errors.h"
#include "store/statements.h"

namespace OrvoConfigStore {
namespace {

// A statement, and what is said when it fails.
struct Step {
  const char* sql;
  const char* failure;
};

const std::vector<Step> kCleanUp = {
    {Sql::kClearAutoConf, "Error removing auto configuration value."},
    {Sql::kDeleteEmptyRows, "Error cleaning up config."},
};

const std::vector<Step> kApply = {
    {Sql::kClearUserLayer, "Failed to cleanup previous user configuration."},
    {Sql::kInsertStaged, "Failed to cleanup previous user configuration."},
    {Sql::kApplyStaged, "Failed to update config table."},
    {Sql::kDropStaged, "Failed to cleanup desired configuration."},
};

bool Runs(const char* sql, const Connection& connection) {
  return DBStore::ExecuteV2(connection, sql, nullptr, nullptr, DBStore::kBusyTimeout) == 0;
}

void Check(bool done, const char* failure) {
  if (!done) throw ConfigStoreException(CS_GENERAL, failure);
}

// Runs the steps and what comes `last` in one transaction. Its beginning fails as
// the first step would, its end as the last.
template <class Last>
void RunSteps(const std::vector<Step>& steps, const Connection& connection, Last last) {
  Check(DBStore::BeginTransaction(connection) == 0, steps.front().failure);
  try {
    for (const Step& step : steps) Check(Runs(step.sql, connection), step.failure);
    Check(last(), steps.back().failure);
    Check(DBStore::CommitTransaction(connection) == 0, steps.back().failure);
  } catch (...) {
    DBStore::CancelTransaction(connection);
    throw;
  }
}

}  // namespace

void CleanupAutoConfigInternal(const Connection& connection) {
  RunSteps(kCleanUp, connection, [] { return true; });
}

void ApplyStagedInternal(const Connection& connection) {
  // With the mode in the same transaction, a load that is cut short applies the
  // staged values at the next try, or has applied them: never half, never twice.
  RunSteps(kApply, connection, [&] { return SetKVInternal(kApplyBootKey, "false", connection) == 0; });
}

void ResetSuccessInternal(const Connection& connection) {
  AttachedSchemaStore schemaStore(connection);
  Check(schemaStore.IsAttached(), "Failed to attach schema store");
  Check(Runs(Sql::kResetSuccess, connection), "Failed to reset success flag for configuration.");
  Check(schemaStore.Detach(), "Failed to detach schema store");
}

AttachedSchemaStore::AttachedSchemaStore(const Connection& connection)
    : connection_(connection), isAttached_(Runs(Sql::kAttachSchemaStore, connection)) {}

AttachedSchemaStore::~AttachedSchemaStore() {
  try {
    Detach();
  } catch (const std::bad_alloc&) {
    // It stays attached for as long as the connection lives.
  }
}

bool AttachedSchemaStore::Detach() {
  if (!isAttached_) return true;
  isAttached_ = false;
  return Runs(Sql::kDetachSchemaStore, connection_);
}

}  // namespace OrvoConfigStore
