#pragma once

#include <signal.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cerrno>
#include <initializer_list>

/// Has the database's writes fail while it lives: from the one after `writes` on
/// the disk is full or, with `kills`, the process is killed.
class FailingDisk {
 public:
  explicit FailingDisk(int writes, bool kills = false) {
    Left() = writes;
    Kills() = kills;
    Replace(reinterpret_cast<sqlite3_syscall_ptr>(Write));
  }
  FailingDisk(const FailingDisk&) = delete;
  FailingDisk& operator=(const FailingDisk&) = delete;
  ~FailingDisk() { Replace(nullptr); }

  static bool HasFailed() { return Left() < 0; }

 private:
  static int& Left() {
    static int left = 0;
    return left;
  }
  static bool& Kills() {
    static bool kills = false;
    return kills;
  }
  static ssize_t Write(int file, const void* data, size_t size, off_t offset) {
    if (Left()-- > 0) return pwrite(file, data, size, offset);
    if (Kills()) raise(SIGKILL);
    errno = ENOSPC;
    return -1;
  }
  /// Only the form that SQLite was built for has an effect.
  static void Replace(sqlite3_syscall_ptr call) {
    sqlite3_vfs* const vfs = sqlite3_vfs_find(nullptr);
    for (const char* name : {"pwrite", "pwrite64"}) vfs->xSetSystemCall(vfs, name, call);
  }
};
