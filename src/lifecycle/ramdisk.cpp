#include "configstore/errors.h"
#include "configstore/lifecycle.h"
#include "platform/host_paths.h"
#include "platform/mount_point.h"

namespace OrvoConfigStore {
namespace {

struct RamDisk {
  const char* target;
  const char* options;  // handed to the file system as they stand
  const char* failure;
};

const RamDisk kRamDisks[] = {
    {HaldenLib::kStoreDirectory, "32,32,0,0,0,00644,configstore", "Failed to reserve memory for ConfigStore"},
    {HaldenLib::kBackupDirectory, "32,32,0,0,0,00644,configstorebkp",
     "Failed to reserve memory for ConfigStore backup"},
};

}  // namespace

int SetupStoreRamDisk() {
  for (const RamDisk& disk : kRamDisks) {
    if (HaldenLib::Mount("none", disk.target, "quorfs", 0, disk.options) != 0) {
      throw ConfigStoreException(CS_GENERAL, disk.failure);
    }
  }
  return 0;
}

}  // namespace OrvoConfigStore
