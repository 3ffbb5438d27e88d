#include "platform/host_vfs.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <atomic>
#include <cstring>
#include <new>
#include <string>

#include "platform/host_paths.h"
#include "platform/process_identity.h"

namespace DBStore {

namespace {

constexpr char kVfsName[] = "configstore-host";

using FileStatus = int (*)(int, struct stat*);

/// SQLite keeps one record of the locks that this process holds per file, found
/// by device and inode. A child inherits the records but not the locks: it would
/// count itself holder of locks it does not have (and a log file in use would be
/// deleted under it), or wait for ever for one that a connection of the parent
/// held. So a child shows SQLite its files as on a device of their own, and
/// SQLite starts new records.
struct ForkState {
  std::atomic<pid_t> owner{0};
  std::atomic<unsigned> generation{0};
  FileStatus original = nullptr;
};

ForkState& Fork() {
  static ForkState state;
  return state;
}

int StatusOnOwnDevice(int file, struct stat* status) {
  constexpr int kUnusedDeviceBits = 48;
  const int result = Fork().original(file, status);
  if (result == 0) status->st_dev ^= dev_t{Fork().generation.load()} << kUnusedDeviceBits;
  return result;
}

void ReplaceFileStatus(sqlite3_vfs* vfs) {
  if (vfs == nullptr || vfs->iVersion < 3 || vfs->xSetSystemCall == nullptr || vfs->xGetSystemCall == nullptr) return;
  Fork().original = reinterpret_cast<FileStatus>(vfs->xGetSystemCall(vfs, "fstat"));
  if (Fork().original == nullptr) return;
  vfs->xSetSystemCall(vfs, "fstat", reinterpret_cast<sqlite3_syscall_ptr>(StatusOnOwnDevice));
}

void RestoreFileStatus(sqlite3_vfs* vfs) {
  if (Fork().original == nullptr) return;
  vfs->xSetSystemCall(vfs, "fstat", reinterpret_cast<sqlite3_syscall_ptr>(Fork().original));
}

class HostVfs {
 public:
  static HostVfs& Instance() {
    static HostVfs instance;
    return instance;
  }

  ~HostVfs() {
    if (!IsRegistered()) return;
    RestoreFileStatus(base_);
    sqlite3_vfs_unregister(&vfs_);
  }
  HostVfs(const HostVfs&) = delete;
  HostVfs& operator=(const HostVfs&) = delete;

  bool IsRegistered() const { return base_ != nullptr; }
  sqlite3_vfs* Base() const { return base_; }

 private:
  // The wrapper is a copy of the default: its functions find their state in
  // pAppData, and only the naming differs.
  HostVfs() : base_(sqlite3_vfs_find(nullptr)) {
    if (base_ == nullptr) return;
    vfs_ = *base_;
    vfs_.pNext = nullptr;
    vfs_.zName = kVfsName;
    vfs_.xFullPathname = FullPathname;
    if (sqlite3_vfs_register(&vfs_, 0) != SQLITE_OK) base_ = nullptr;
  }

  static int FullPathname(sqlite3_vfs*, const char* name, int size, char* fullName) {
    try {
      return FullPathOf(HaldenLib::ResolvePath(name), size, fullName);
    } catch (const std::bad_alloc&) {
      return SQLITE_NOMEM;  // the caller is C
    }
  }

  /// Links are followed on the way to the file only. SQLite opens the last name as
  /// it is, which fails when that is a link, however lately it was put there.
  static int FullPathOf(const std::string& path, int size, char* fullName) {
    const size_t slash = path.rfind('/');
    const std::string directory = slash == std::string::npos ? "." : path.substr(0, slash);
    const std::string file = path.substr(slash + 1);
    sqlite3_vfs* const base = Instance().base_;
    *fullName = '\0';  // the root, of which SQLite knows no full name
    const int code = directory.empty() ? SQLITE_OK : base->xFullPathname(base, directory.c_str(), size, fullName);
    if ((code & 0xFF) != SQLITE_OK) return code;
    const std::string full = fullName + ("/" + file);
    if (full.size() >= static_cast<size_t>(size)) return SQLITE_CANTOPEN;
    std::strcpy(fullName, full.c_str());
    return code;
  }

  sqlite3_vfs* base_;
  sqlite3_vfs vfs_{};
};

}  // namespace

const char* HostVfsName() {
  return HostVfs::Instance().IsRegistered() ? kVfsName : nullptr;
}

void SeparateFromParent() {
  const pid_t self = HaldenLib::ProcessId();
  const pid_t owner = Fork().owner.exchange(self);
  if (owner == 0 || owner == self) return;
  ++Fork().generation;
  if (Fork().original == nullptr) ReplaceFileStatus(HostVfs::Instance().Base());
}

}  // namespace DBStore
