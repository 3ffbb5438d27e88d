#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "platform/host_files.h"
#include "platform/host_paths.h"
#include "platform/log_output.h"

// Copying a file below directories whose content may be anybody's doing: each
// directory is opened within the one before, never through a link, so that no
// name leads anywhere else.

namespace HaldenLib {

namespace {

constexpr int kDirectory = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr mode_t kNewDirectory = 0755;
constexpr mode_t kPermissions = 0777;

/// The directories on the way, and the file.
struct Route {
  std::vector<std::string> directories;
  std::string file;
};

/// Splits a relative path; false when it is none, or leads upwards.
bool Split(const std::string& name, Route* route) {
  if (name.empty() || name.front() == '/' || name.back() == '/' || name.find('\0') != std::string::npos) return false;
  std::istringstream parts(name);
  for (std::string part; std::getline(parts, part, '/');) {
    if (part.empty() || part == "." || part == "..") return false;
    route->directories.push_back(part);
  }
  route->file = route->directories.back();
  route->directories.pop_back();
  return true;
}

/// Walks down from `top`; below 0 with errno when that fails.
Descriptor OpenDirectory(const std::string& top, const Route& route, bool create) {
  int directory = open(ResolvePath(top).c_str(), kDirectory);
  for (const std::string& part : route.directories) {
    if (directory < 0) break;
    const Descriptor above(directory);
    if (create) mkdirat(directory, part.c_str(), kNewDirectory);  // what is wrong shows when it is opened
    directory = openat(directory, part.c_str(), kDirectory);
  }
  return Descriptor(directory);
}

int CopyContent(int from, int to) {
  char piece[65536];
  for (;;) {
    const ssize_t length = read(from, piece, sizeof piece);
    if (length == 0) return 0;
    if (length < 0 && errno != EINTR) return errno;
    for (ssize_t done = 0; done < length;) {
      const ssize_t written = write(to, piece + done, static_cast<size_t>(length - done));
      if (written < 0 && errno != EINTR) return errno;
      if (written > 0) done += written;
    }
  }
}

/// Who may not give files away keeps the copy.
int CopyAttributes(int to, const struct stat& like) {
  if (fchown(to, like.st_uid, like.st_gid) != 0 && errno != EPERM) return errno;
  return fchmod(to, like.st_mode & kPermissions) == 0 ? 0 : errno;
}

int WriteNew(int directory, const std::string& name, int from, const struct stat& like) {
  const Descriptor to(openat(directory, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (to.Number() < 0) return errno;
  int result = CopyContent(from, to.Number());
  if (result == 0) result = CopyAttributes(to.Number(), like);
  if (result == 0 && fsync(to.Number()) != 0) result = errno;
  return result;
}

/// A file that is there must be a regular one; a link is not replaced either.
int CheckReplaceable(int directory, const std::string& name) {
  struct stat status;
  if (fstatat(directory, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return errno == ENOENT ? 0 : errno;
  return S_ISREG(status.st_mode) ? 0 : EINVAL;
}

int Replace(int directory, const std::string& name, int from, const struct stat& like) {
  const int replaceable = CheckReplaceable(directory, name);
  if (replaceable != 0) return replaceable;
  const std::string temporary = "." + name + ".new";
  unlinkat(directory, temporary.c_str(), 0);  // one that was left behind
  int result = WriteNew(directory, temporary, from, like);
  if (result == 0 && renameat(directory, temporary.c_str(), directory, name.c_str()) != 0) result = errno;
  if (result != 0) unlinkat(directory, temporary.c_str(), 0);
  if (result == 0) fsync(directory);
  return result;
}

}  // namespace

int CopyBelow(const std::string& fromDirectory, const std::string& toDirectory, const std::string& name) {
  Route route;
  if (!Split(name, &route)) return EINVAL;
  const Descriptor source = OpenDirectory(fromDirectory, route, false);
  if (source.Number() < 0) return errno;
  constexpr int kRead = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  const Descriptor from(openat(source.Number(), route.file.c_str(), kRead));
  struct stat like;
  if (from.Number() < 0 || fstat(from.Number(), &like) != 0) return errno;
  if (!S_ISREG(like.st_mode)) return EINVAL;
  const Descriptor target = OpenDirectory(toDirectory, route, true);
  return target.Number() < 0 ? errno : Replace(target.Number(), route.file, from.Number(), like);
}

}  // namespace HaldenLib
