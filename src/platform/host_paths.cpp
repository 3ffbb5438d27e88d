#include "platform/host_paths.h"

#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <mutex>
#include <set>

#include "platform/process_wide.h"

namespace HaldenLib {

namespace {

/// The root in force. A root that was ever set stays in memory, so that readers
/// take no lock: a forked child can never meet one that is held.
class HostRoot {
 public:
  HostRoot() {
    const char* const given = secure_getenv("HALDEN_ROOT");
    if (given == nullptr || !Set(given)) Set("");
  }

  bool Set(const std::string& root) {
    const bool isPath = root.empty() || (root.front() == '/' && root.find('\0') == std::string::npos);
    if (!isPath) return false;
    const std::lock_guard<std::mutex> lock(mutex_);
    current_.store(&*known_.insert(WithoutTrailingSlashes(root)).first, std::memory_order_release);
    return true;
  }

  const std::string& Get() const { return *current_.load(std::memory_order_acquire); }

 private:
  static std::string WithoutTrailingSlashes(const std::string& root) {
    return root.substr(0, root.find_last_not_of('/') + 1);
  }

  std::mutex mutex_;
  std::set<std::string> known_;
  std::atomic<const std::string*> current_{nullptr};
};

HostRoot& Root() {
  return TheOnly<HostRoot>();
}

}  // namespace

bool SetHostRoot(const std::string& root) {
  return Root().Set(root);
}

const std::string& GetHostRoot() {
  return Root().Get();
}

std::string ResolvePath(const std::string& path) {
  const bool isAbsolute = !path.empty() && path.front() == '/';
  return isAbsolute ? Root().Get() + path : path;
}

bool IsMissing(const std::string& path) {
  struct stat ignored;
  return stat(ResolvePath(path).c_str(), &ignored) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

bool FileExists(const std::string& path) {
  struct stat ignored;
  return stat(ResolvePath(path).c_str(), &ignored) == 0;
}

}  // namespace HaldenLib
