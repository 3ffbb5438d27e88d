#include "configstore/lifecycle.h"
#include "platform/host_paths.h"

namespace OrvoConfigStore {

std::string GetStorePath() {
  return HaldenLib::kStoreFile;
}

std::string GetBackupPath() {
  return HaldenLib::kBackupFile;
}

}  // namespace OrvoConfigStore
