#pragma once

#include <sys/types.h>

#include <chrono>
#include <ctime>
#include <string>

namespace HaldenLib {

/// What tells one state of a file from another.
struct FileState {
  dev_t device = 0;
  ino_t inode = 0;
  off_t size = -1;      ///< -1: there is no file
  nlink_t names = 0;    ///< none: it has been removed
  timespec modified{};  ///< when the content was changed
  timespec changed{};   ///< when anything was: content, a name, the mode

  bool Exists() const { return size >= 0; }
  bool IsSameFile(const FileState& other) const { return device == other.device && inode == other.inode; }
  /// Whether a later change is sure to show in the times: a file may be changed
  /// twice within their grain, so that a young state is not to be relied on.
  bool IsSettled() const;
};
bool operator==(const FileState& a, const FileState& b);
inline bool operator!=(const FileState& a, const FileState& b) {
  return !(a == b);
}

/// Looks at one file of the host again and again, mostly without walking its path.
///
/// The file that was found last is kept open as a mere reference, which takes no
/// lock and, closed, drops none that the process holds on the file otherwise. While
/// that file has not changed in any way its name still leads to it: one that is
/// written, replaced, renamed or removed has changed. A directory or a link on the
/// way to it that is replaced, or mounted over, shows when the path is walked again,
/// kWalkAfter later at most, or as is said.
class FileWatch {
 public:
  static constexpr std::chrono::microseconds kWalkAfter{100};

  /// `path` is resolved under the host root at each look, and must stay.
  explicit FileWatch(const char* path, std::chrono::microseconds walkAfter = kWalkAfter)
      : path_(path), walkAfter_(walkAfter) {}
  ~FileWatch() { LetGo(); }
  FileWatch(const FileWatch&) = delete;
  FileWatch& operator=(const FileWatch&) = delete;

  /// Returns the state of the file that the path names.
  const FileState& Look();

 private:
  using Clock = std::chrono::steady_clock;

  bool IsUnchanged() const;
  void Walk();
  void Take(const std::string& realPath);
  void LetGo();

  const char* path_;
  std::chrono::microseconds walkAfter_;
  const std::string* root_ = nullptr;  // under which the file was found
  Clock::time_point walked_;
  FileState state_;
  int file_ = -1;
};

}  // namespace HaldenLib
