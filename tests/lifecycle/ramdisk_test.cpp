#include <sched.h>
#include <sys/mount.h>
#include <sys/vfs.h>

#include "lifecycle/test_host.h"

using namespace OrvoConfigStore;

namespace {

constexpr long kTmpfs = 0x01021994;
constexpr int kNoNamespace = 77;

TEST(RamDisk, IsRecordedUnderARoot) {
  const TempRoot root;
  EXPECT_EQ(0, SetupStoreRamDisk());
  EXPECT_EQ(
      "none /etc/halden/configstore quorfs 32,32,0,0,0,00644,configstore 0 0\n"
      "none /var/lib/halden/configstore/backup quorfs 32,32,0,0,0,00644,configstorebkp 0 0\n",
      root.Read("/etc/mtab"));
  CreateDatabases();
  EXPECT_NE(nullptr, ConfigStore::GetStore(""));
}

bool EnterNamespace() {
  if (unshare(CLONE_NEWNS) != 0) return false;
  const auto cover = [](const char* path) { return mount("none", path, "tmpfs", 0, "size=1m,mode=0755") == 0; };
  return mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 && cover("/etc") && cover("/var/lib");
}

bool IsRamDisk(const char* path) {
  struct statfs system;
  return statfs(path, &system) == 0 && system.f_type == kTmpfs &&
         static_cast<long>(system.f_blocks) * system.f_bsize == 32 << 20 && ModeOf(path) == fs::perms(0755);
}

// Everything that is mounted goes with the child, which reports by number what is wrong.
TEST(RamDisk, IsMountedForRealAndNeverOverTheStore) {
  const int result = InChild([] {
    if (!EnterNamespace()) return kNoNamespace;
    HaldenLib::SetHostRoot("");
    if (SetupStoreRamDisk() != 0) return 1;
    if (!IsRamDisk(HaldenLib::kStoreDirectory) || !IsRamDisk(HaldenLib::kBackupDirectory)) return 2;
    LoadStore(true);
    SetKV("BACKUP_FILES", "stored");
    if (SetupStoreRamDisk() != 0) return 3;
    return GetKV("BACKUP_FILES") == "stored" ? 0 : 4;
  });
  if (result == kNoNamespace) GTEST_SKIP() << "a mount namespace takes root";
  EXPECT_EQ(0, result);
}

}  // namespace
