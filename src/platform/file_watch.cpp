#include "platform/file_watch.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <tuple>

#include "platform/host_paths.h"

namespace HaldenLib {

namespace {

auto AllOf(const FileState& state) {
  return std::tie(state.device, state.inode, state.size, state.names, state.modified.tv_sec, state.modified.tv_nsec,
                  state.changed.tv_sec, state.changed.tv_nsec);
}

FileState StateOf(const struct stat& status) {
  return {status.st_dev, status.st_ino, status.st_size, status.st_nlink, status.st_mtim, status.st_ctim};
}

FileState StateOf(const std::string& realPath) {
  struct stat status;
  return stat(realPath.c_str(), &status) == 0 ? StateOf(status) : FileState();
}

FileState StateOf(int file) {
  struct stat status;
  return fstat(file, &status) == 0 ? StateOf(status) : FileState();
}

}  // namespace

bool operator==(const FileState& a, const FileState& b) {
  return AllOf(a) == AllOf(b);
}

bool FileState::IsSettled() const {
  constexpr long kNanosecondsPerSecond = 1000000000;
  constexpr long kSettled = 20000000;
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  const long age = (now.tv_sec - changed.tv_sec) * kNanosecondsPerSecond + (now.tv_nsec - changed.tv_nsec);
  return age >= kSettled;
}

const FileState& FileWatch::Look() {
  const std::string& root = GetHostRoot();
  const Clock::time_point now = Clock::now();
  if (root_ == &root && now - walked_ < walkAfter_ && IsUnchanged()) return state_;
  root_ = &root;
  walked_ = now;
  Walk();
  return state_;
}

bool FileWatch::IsUnchanged() const {
  return file_ >= 0 && StateOf(file_) == state_;
}

void FileWatch::Walk() {
  const std::string realPath = ResolvePath(path_);
  const FileState found = StateOf(realPath);
  if (file_ >= 0 && found == state_) return;
  LetGo();
  state_ = found;
  if (found.Exists()) Take(realPath);
}

// Without a descriptor to spare, every look walks the path.
void FileWatch::Take(const std::string& realPath) {
  file_ = open(realPath.c_str(), O_PATH | O_CLOEXEC);
  if (file_ >= 0) state_ = StateOf(file_);
}

// Where a client has closed all descriptors, this number may stand for another file by now.
void FileWatch::LetGo() {
  const bool isOurs = file_ >= 0 && (fcntl(file_, F_GETFL) & O_PATH) != 0 && StateOf(file_).IsSameFile(state_);
  if (isOurs) close(file_);
  file_ = -1;
}

}  // namespace HaldenLib
