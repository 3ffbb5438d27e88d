#pragma once

#include <string>

namespace HaldenLib {

/// Mounts a file system on the directory `target`, as mount(2) does, and creates
/// that when it is missing. Returns 0, or -1 with errno.
///
/// A type that the kernel does not know gives way to tmpfs (32 MiB, mode 0755),
/// which does not take `options`. A target that is a mount point already is left
/// alone: a second file system would hide what is stored in the first. Under a
/// host root nothing is mounted; the request is written to the root's /etc/mtab.
int Mount(const std::string& source, const std::string& target, const std::string& type, unsigned long flags,
          const std::string& options);

}  // namespace HaldenLib
