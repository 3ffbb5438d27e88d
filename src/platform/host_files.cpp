#include "platform/host_files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>

#include "platform/host_paths.h"
#include "platform/log_output.h"

namespace HaldenLib {

namespace {

constexpr mode_t kOwnerFile = 0600;
constexpr mode_t kOwnerDirectory = 0700;

int ResultOf(int call) {
  return call == 0 ? 0 : errno;
}

struct DirectoryCloser {
  void operator()(DIR* directory) const { closedir(directory); }
};

std::string ParentOf(const std::string& path) {
  return path.substr(0, path.rfind('/'));
}

/// Reads to the end; the file may grow meanwhile.
int ReadAll(int file, size_t most, std::string* content) {
  char piece[65536];
  for (;;) {
    const ssize_t length = read(file, piece, sizeof piece);
    if (length == 0) return 0;
    if (length < 0 && errno == EINTR) continue;
    if (length < 0) return errno;
    content->append(piece, static_cast<size_t>(length));
    if (content->size() > most) return EFBIG;
  }
}

}  // namespace

int RemoveFile(const std::string& path) {
  return ResultOf(unlink(ResolvePath(path).c_str()));
}

void RemoveSideFiles(const std::string& path) {
  for (const char* suffix : {"-journal", "-wal", "-shm"}) RemoveFile(path + suffix);
}

int KeepToOwner(const std::string& path) {
  return ResultOf(chmod(ResolvePath(path).c_str(), kOwnerFile));
}

int MakeDirectories(const std::string& path) {
  for (size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
    const std::string part = path.substr(0, end);
    if (mkdir(ResolvePath(part).c_str(), kOwnerDirectory) != 0 && errno != EEXIST) return errno;
    if (end == std::string::npos) return IsDirectory(path) ? 0 : ENOTDIR;
  }
}

bool IsDirectory(const std::string& path) {
  struct stat status;
  return stat(ResolvePath(path).c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool IsMountPoint(const std::string& path) {
  struct stat own, parent;
  return stat(ResolvePath(path).c_str(), &own) == 0 && stat(ResolvePath(path + "/..").c_str(), &parent) == 0 &&
         own.st_dev != parent.st_dev;
}

int ListDirectory(const std::string& path, std::vector<std::string>* names) {
  const std::unique_ptr<DIR, DirectoryCloser> directory(opendir(ResolvePath(path).c_str()));
  if (directory == nullptr) return errno;
  names->clear();
  errno = 0;
  while (const dirent* entry = readdir(directory.get())) {
    if (entry->d_name[0] != '.') names->push_back(entry->d_name);
  }
  std::sort(names->begin(), names->end());
  return errno;
}

int ReadFile(const std::string& path, size_t most, std::string* content) {
  // Not blocking, so that a pipe in the file's place cannot hold us up.
  const Descriptor file(open(ResolvePath(path).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat status;
  if (file.Number() < 0 || fstat(file.Number(), &status) != 0) return errno;
  if (!S_ISREG(status.st_mode)) return S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
  content->clear();
  return ReadAll(file.Number(), most, content);
}

int ReadRealFile(const std::string& path, size_t most, std::string* content) {
  const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
  content->clear();
  return file.Number() < 0 ? errno : ReadAll(file.Number(), most, content);
}

int AppendToFile(const std::string& path, const std::string& text) {
  const int made = MakeDirectories(ParentOf(path));
  if (made != 0) return made;
  constexpr int kFlags = O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_CLOEXEC;
  const Descriptor file(open(ResolvePath(path).c_str(), kFlags, kOwnerFile));
  if (file.Number() < 0) return errno;
  const ssize_t written = write(file.Number(), text.data(), text.size());
  return written == static_cast<ssize_t>(text.size()) ? 0 : written < 0 ? errno : ENOSPC;
}

}  // namespace HaldenLib
