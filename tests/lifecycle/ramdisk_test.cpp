#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

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

TEST(RamDisk, ThatCannotBeMadeIsReported) {
  const TempRoot first;
  first.Write("/var/lib/halden/configstore/backup", "a file");
  EXPECT_EQ("2000 Failed to reserve memory for ConfigStore backup", Thrown([] { SetupStoreRamDisk(); }));
  const TempRoot second;
  second.Write("/etc/halden", "a file");
  EXPECT_EQ("2000 Failed to reserve memory for ConfigStore", Thrown([] { SetupStoreRamDisk(); }));
}

// Root within a namespace of its own, for who is not root already.
bool BecomeRoot() {
  const std::string user = "0 " + std::to_string(geteuid()) + " 1", group = "0 " + std::to_string(getegid()) + " 1";
  if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
  std::ofstream("/proc/self/setgroups") << "deny";
  std::ofstream("/proc/self/uid_map") << user;
  std::ofstream("/proc/self/gid_map") << group;
  return geteuid() == 0;
}

bool EnterNamespace() {
  if (unshare(CLONE_NEWNS) != 0 && !BecomeRoot()) return false;
  if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return false;
  for (const char* directory : {"/etc", "/var/lib"}) {
    if (mount("none", directory, "tmpfs", 0, "size=1m,mode=0755") != 0) return false;
  }
  return true;
}

bool IsRamDisk(const char* path) {
  struct statfs system;
  struct stat status;
  if (statfs(path, &system) != 0 || stat(path, &status) != 0) return false;
  return system.f_type == kTmpfs && static_cast<long>(system.f_blocks) * system.f_bsize == 32 << 20 &&
         (status.st_mode & 0777) == 0755;
}

// Everything that is mounted goes with the child.
int MountForReal() {
  if (!EnterNamespace()) return kNoNamespace;
  SetHostRoot("");
  if (SetupStoreRamDisk() != 0) return 1;
  if (!IsRamDisk(HaldenLib::kStoreDirectory) || !IsRamDisk(HaldenLib::kBackupDirectory)) return 2;
  LoadStore(true);
  SetKV("BACKUP_FILES", "stored");
  if (SetupStoreRamDisk() != 0) return 3;
  return GetKV("BACKUP_FILES") == "stored" ? 0 : 4;
}

TEST(RamDisk, IsMountedForRealAndNeverOverTheStore) {
  const pid_t child = fork();
  if (child == 0) {
    int result = 5;
    try {
      result = MountForReal();
    } catch (const std::exception&) {
    }
    _exit(result);
  }
  int status = 0;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  if (WEXITSTATUS(status) == kNoNamespace) GTEST_SKIP() << "a mount namespace takes root, or user namespaces";
  EXPECT_EQ(0, status);
}

}  // namespace
