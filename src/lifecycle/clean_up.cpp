#include "configstore/lifecycle.h"
#include "configstore/logging.h"
#include "lifecycle/exec_command.h"
#include "lifecycle/load_steps.h"
#include "platform/host_paths.h"
#include "platform/host_settings.h"
#include "store/connection.h"
#include "store/statements.h"

namespace OrvoConfigStore {
namespace {

// Opens the store for a clean-up, which does nothing when that fails.
Connection Connect() {
  Connection connection = GetDBStore(DBStore::TYPE_STORE, false);
  if (connection == nullptr) {
    CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "Cleanup failed: could not connect to ConfigStore");
  }
  return connection;
}

}  // namespace

void CleanupAutoConfig() {
  if (!HaldenLib::FeatureState_IsEnabled(HaldenLib::kFeatureStore)) return;
  CSLogger::Log(CSLogger::LOG_PRIORITY_INFO, "Cleanup auto configurations");
  const Connection connection = Connect();
  if (connection != nullptr) CleanupAutoConfigInternal(connection);
}

void CleanupStore() {
  if (!HaldenLib::FeatureState_IsEnabled(HaldenLib::kFeatureStore)) return;
  CSLogger::Log(CSLogger::LOG_PRIORITY_INFO, "Cleanup config store");
  const Connection connection = Connect();
  if (connection == nullptr) return;
  const AttachedSchemaStore schemaStore(connection);
  if (!schemaStore.IsAttached()) {
    CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "Cleanup failed: could not attach to SchemaStore");
    return;
  }
  if (DBStore::ExecuteV2(connection, Sql::kDeleteUnknownTypes, nullptr, nullptr, DBStore::kBusyTimeout) != 0) {
    CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "Cleanup failed: SQL command unsuccessful");
  }
}

void CleanupRestoredFiles() {
  const char* const command[] = {
      HaldenLib::kPython, HaldenLib::kFileTracker, "restore", "--checkNewFiles", "true", nullptr};
  if (!ExecCommand(command)) CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "%s failed", "CleanupRestoredFiles");
}

}  // namespace OrvoConfigStore
