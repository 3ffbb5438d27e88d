#include "lifecycle/restore_store.h"

#include <string>

#include "configstore/lifecycle.h"
#include "configstore/logging.h"
#include "platform/child_program.h"
#include "platform/db_store.h"
#include "platform/host_files.h"
#include "platform/host_paths.h"

// Replacing the store file. A database's side files belong to it by name alone:
// left beside another one they would be played into that, so they go with theirs,
// and never before it.

namespace OrvoConfigStore {
namespace {

const std::string kStore = HaldenLib::kStoreFile;
constexpr char kLogSuffix[] = "-wal";

void RemoveStore() {
  if (HaldenLib::FileExists(kStore) && HaldenLib::RunCommand("/bin/rm -f " + kStore) != 0) {
    CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "Error removing sticky ConfigStore file");
  }
  if (!HaldenLib::FileExists(kStore)) HaldenLib::RemoveSideFiles(kStore);
}

bool Copies(const std::string& from, const std::string& to) {
  return HaldenLib::RunCommand("/bin/cp " + from + " " + to) == 0 && HaldenLib::KeepToOwner(to) == 0;
}

// The side files of what was there before go once its content is gone. A log that
// could not be moved into the backup, as on a read-only medium, comes along.
bool CopyBackup(const std::string& backup) {
  if (!Copies(backup, kStore)) return false;
  HaldenLib::RemoveSideFiles(kStore);
  return !HaldenLib::FileExists(backup + kLogSuffix) || Copies(backup + kLogSuffix, kStore + kLogSuffix);
}

void RestoreFrom(const std::string& backup) {
  const bool isStuck = HaldenLib::FileExists(kStore);
  if (CopyBackup(backup)) {
    CSLogger::Log(CSLogger::LOG_PRIORITY_INFO, "ConfigStore restored successfully from backup");
    return;
  }
  CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "Cannot copy ConfigStore from backup [%s], creating new ConfigStore.",
                backup.c_str());
  if (isStuck) return;
  HaldenLib::RemoveFile(kStore);  // half a copy
  HaldenLib::RemoveSideFiles(kStore);
}

}  // namespace

std::string FindBackup() {
  for (const char* path : {HaldenLib::kBackupFile, HaldenLib::kFirstBootBackupFile}) {
    if (HaldenLib::FileExists(path)) return path;
  }
  return "";
}

bool IsConsistentStore(const std::string& path) {
  return DBStore::Check(path);
}

void RestoreStore() {
  RemoveStore();
  const std::string backup = FindBackup();
  if (backup.empty()) {
    CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "ConfigStore backup not found %s", backup.c_str());
  } else if (DBStore::Check(backup)) {
    CSLogger::Log(CSLogger::LOG_PRIORITY_INFO, "ConfigStore backup [%s] is valid.", backup.c_str());
    RestoreFrom(backup);
  } else {
    CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "ConfigStore backup [%s] is inconsistent, creating new ConfigStore.",
                  backup.c_str());
  }
  DBStore::CreateDatabases(
      DBStore::Origin::Elsewhere);  // a failure has been logged, and shows in the steps that follow
}

}  // namespace OrvoConfigStore
