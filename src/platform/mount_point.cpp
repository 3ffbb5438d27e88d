#include "platform/mount_point.h"

#include <sys/mount.h>

#include <cerrno>

#include "platform/host_files.h"
#include "platform/host_log.h"
#include "platform/host_paths.h"

namespace HaldenLib {

namespace {

constexpr char kFallbackType[] = "tmpfs";
constexpr char kFallbackOptions[] = "size=32m,mode=0755";

int ResultWith(int error) {
  errno = error;
  return error == 0 ? 0 : -1;
}

int MountOrFallBack(const std::string& source, const std::string& target, const std::string& type, unsigned long flags,
                    const std::string& options) {
  const char* const from = source.c_str();
  const int result = mount(from, target.c_str(), type.c_str(), flags, options.c_str());
  if (result == 0 || errno != ENODEV) return result;
  LogLine(LOG_LEVEL_WARNING, "The kernel has no %s; %s is mounted as %s", type.c_str(), target.c_str(), kFallbackType);
  return mount(from, target.c_str(), kFallbackType, flags, kFallbackOptions);
}

}  // namespace

int Mount(const std::string& source, const std::string& target, const std::string& type, unsigned long flags,
          const std::string& options) {
  const int made = MakeDirectories(target);
  if (made != 0) return ResultWith(made);
  if (!GetHostRoot().empty()) {
    const std::string entry = source + " " + target + " " + type + " " + options + " 0 0\n";
    return ResultWith(AppendToFile(kMountRecordFile, entry));
  }
  if (IsMountPoint(target)) {
    LogLine(LOG_LEVEL_WARNING, "%s is a mount point already and is left alone", target.c_str());
    return 0;
  }
  return MountOrFallBack(source, target, type, flags, options);
}

}  // namespace HaldenLib
