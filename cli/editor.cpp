#include "editor.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "failure.h"
#include "session.h"

namespace csctl {

namespace {

constexpr char kNext[] = "set EDITOR to a program that edits a file and ends well; nothing was changed";

/// A file of this user alone; gone with it.
class PrivateFile {
 public:
  explicit PrivateFile(const std::string& content) {
    const char* directory = secure_getenv("TMPDIR");
    path_ = std::string(directory == nullptr || *directory == '\0' ? "/tmp" : directory) + "/csctl-XXXXXX.json";
    const int file = mkostemps(path_.data(), 5, O_CLOEXEC);  // 0600
    size_t written = 0;
    while (file >= 0 && written < content.size()) {
      const ssize_t length = write(file, content.data() + written, content.size() - written);
      if (length <= 0) break;
      written += static_cast<size_t>(length);
    }
    if (file >= 0 && close(file) == 0 && written == content.size()) return;
    const char* reason = std::strerror(errno);
    unlink(path_.c_str());
    throw CommandFailed({Exit::kUsage, reason, path_, "set TMPDIR to a directory that takes a file"});
  }
  ~PrivateFile() { unlink(path_.c_str()); }
  PrivateFile(const PrivateFile&) = delete;
  PrivateFile& operator=(const PrivateFile&) = delete;

  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

std::string EditorCommand() {
  for (const char* name : {"VISUAL", "EDITOR"}) {
    const char* command = secure_getenv(name);
    if (command != nullptr && *command != '\0') return command;
  }
  return "vi";
}

}  // namespace

std::string EditText(const std::string& text) {
  const PrivateFile file(text);
  // Through the shell: the variable may hold arguments.
  std::string script = EditorCommand() + " \"$1\"", path = file.Path();
  char shell[] = "sh", option[] = "-c", name[] = "csctl-edit";
  char* const arguments[] = {shell, option, script.data(), name, path.data(), nullptr};
  pid_t child = 0;
  const int error = posix_spawn(&child, "/bin/sh", nullptr, nullptr, arguments, environ);
  if (error != 0) throw CommandFailed({Exit::kUsage, std::strerror(error), "/bin/sh", kNext});
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) continue;
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    throw CommandFailed({Exit::kUsage, "the editor failed", EditorCommand(), kNext});
  }
  return ReadInput(path);
}

}  // namespace csctl
