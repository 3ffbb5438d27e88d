#include "configstore/boot_state.h"
#include "configstore/lifecycle.h"
#include "configstore/logging.h"
#include "lifecycle/host_file_backup.h"
#include "lifecycle/load_steps.h"
#include "lifecycle/restore_store.h"
#include "platform/config_upgrade.h"
#include "platform/host_settings.h"
#include "store/connection.h"
#include "store/statements.h"

namespace OrvoConfigStore {
namespace {

constexpr char kBootLog[] = "configstore-boot";

void Say(const char* text) {
  CSLogger::Log(CSLogger::LOG_PRIORITY_INFO, "%s", text);
}

bool IsRestoreOn() {
  return HaldenLib::FeatureState_IsEnabled(HaldenLib::kFeatureRestore);
}

void UpgradeAtLoad() {
  if (!OrvoConfigUpgrade::IsUpgrade()) return;
  OrvoConfigUpgrade::UpgradeConfig(false, {}, true);
  CleanupStore();
}

// The upgrade, and what becomes of files that were restored. The store restores
// files itself where the host's restore is off; among them may be the switches.
void RunHooks() {
  const bool isUpgradeOn = HaldenLib::FeatureState_IsEnabled(HaldenLib::kFeatureUpgrade);
  if (isUpgradeOn) UpgradeAtLoad();
  if (isUpgradeOn && !IsRestoreOn()) {
    RestoreHostFiles();
    HaldenLib::FeatureState_Init();
  }
  if (IsRestoreOn()) CleanupRestoredFiles();
}

}  // namespace

void StartAutoConf() {
  Say("ConfigStore autoconf start");
  SetKV(kIsBootKey, "true");
}

void EndAutoConf() {
  Say("ConfigStore endconf end");
  SetKV(kIsBootKey, "");
}

int backup(const std::string& source, const std::string& destination) {
  return DBStore::Backup(source, destination);
}

void LoadStore(bool boot) {
  // 1. From here on the boot log has warnings and errors.
  void* const bootLog = CSLogger::AddFileLogger(kBootLog);
  Say("LoadStore Start.");
  HaldenLib::FeatureState_Init();
  // 2. A host that boots starts from the last backup.
  if (boot) RestoreStore();
  // 3. The types of this host; then what automatic configuration left behind.
  ProcessSchemas({});
  CleanupAutoConfig();
  const bool appliesStaged = GetNextBootMode();
  // 4.
  RunHooks();
  // 5.
  Say("Generating desired user config during boot.");
  const Connection connection = GetDBStore(DBStore::TYPE_STORE, false);
  // 6. The staged configuration replaces all user values.
  if (appliesStaged) {
    Say("Boot with new desired configuration.");
    ApplyStagedInternal(connection);
  }
  // 7. What is in force now waits for its owners to confirm it.
  ResetSuccessInternal(connection);
  // 8.
  StartAutoConf();
  SetBootMode(BOOTMODE_NORMAL);
  Say("LoadStore End.");
  CSLogger::RemoveFileLogger(bootLog);
}

}  // namespace OrvoConfigStore
