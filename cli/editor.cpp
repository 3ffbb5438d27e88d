#include "editor.h"

#include <configstore/errors.h>
#include <configstore/inspect.h>
#include <configstore/json_document.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <set>
#include <sstream>
#include <vector>

#include "failure.h"
#include "json_text.h"
#include "session.h"

namespace csctl {

using OrvoConfigStore::ConfigStoreObjectId;

namespace {

/// A file of this user alone; gone with it, unless it is kept.
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
  ~PrivateFile() {
    if (!isKept_) unlink(path_.c_str());
  }
  PrivateFile(const PrivateFile&) = delete;
  PrivateFile& operator=(const PrivateFile&) = delete;

  const std::string& Path() const { return path_; }
  void Keep() { isKept_ = true; }

 private:
  std::string path_;
  bool isKept_ = false;
};

// --- masking a text that is no JSON ------------------------------------------

/// The names of a type's fields.
struct FieldNames {
  std::vector<std::string> secret;
  std::set<std::string> plain;

  explicit FieldNames(const ConfigStoreObjectId& id) {
    for (const auto& field : OrvoConfigStore::DescribeType({id.key, id.group, id.component})) {
      const std::string name = field.path.substr(field.path.rfind('/') + 1);
      const bool isSecret = field.type.find("secret") != std::string::npos;
      isSecret ? secret.push_back(name) : static_cast<void>(plain.insert(name));
    }
  }
};

/// Returns where the first name in a line that is not a plain one ends, its quote left
/// out; npos without one.
size_t EndOfName(const std::string& line, const FieldNames& names) {
  size_t end = std::string::npos;
  for (const std::string& name : names.secret) {
    const size_t at = line.find(name);
    if (at != std::string::npos) end = std::min(end, at + name.size());
  }
  for (size_t quote = line.find('"'); quote != std::string::npos && quote < end; quote = line.find('"', quote + 1)) {
    const size_t next = line.find_first_not_of(" \t", quote + 1);
    if (next == std::string::npos || line[next] != ':') continue;
    const size_t before = quote == 0 ? std::string::npos : line.find_last_of("\"{[, \t", quote - 1);
    const size_t begin = before == std::string::npos ? 0 : before + 1;
    if (names.plain.count(line.substr(begin, quote - begin)) == 0) return quote;
  }
  return end;
}

/// Whether a line may go on with the value that the one before began.
bool MayGoOn(const std::string& line) {
  return line.find("\":") == std::string::npos && line.find_first_not_of("{}[], \t\r") != std::string::npos;
}

std::string MaskLines(const std::string& text, const FieldNames& names) {
  std::string masked, line;
  bool isBehindSecret = false;
  for (std::istringstream lines(text); std::getline(lines, line);) {
    const size_t end = EndOfName(line, names);
    if (end == std::string::npos && isBehindSecret && MayGoOn(line)) continue;
    isBehindSecret = end != std::string::npos;
    if (isBehindSecret) line = line.substr(0, end) + "\": \"" + OrvoConfigStore::kSecretMask + "\",";
    masked += line + "\n";
  }
  return masked;
}

}  // namespace

std::string EditorCommand() {
  for (const char* name : {"VISUAL", "EDITOR"}) {
    const char* command = secure_getenv(name);
    if (command != nullptr && *command != '\0') return command;
  }
  return "vi";
}

Edited EditText(const std::string& text) {
  const PrivateFile file(text);
  // Through the shell: the variable may hold arguments.
  std::string script = EditorCommand() + " \"$1\"", path = file.Path();
  char shell[] = "sh", option[] = "-c", name[] = "csctl-edit";
  char* const arguments[] = {shell, option, script.data(), name, path.data(), nullptr};
  pid_t child = 0;
  const int error = posix_spawn(&child, "/bin/sh", nullptr, nullptr, arguments, environ);
  if (error != 0) throw CommandFailed({Exit::kUsage, std::strerror(error), "/bin/sh", "nothing was changed"});
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) continue;
  return {ReadInput(path), WIFEXITED(status) && WEXITSTATUS(status) == 0};
}

std::string KeepEdited(const std::string& text) {
  PrivateFile file(text);
  file.Keep();
  return file.Path();
}

std::string WithoutSecrets(const ConfigStoreObjectId& id, const std::string& text) {
  const std::string masked = OrvoConfigStore::MaskSecretsOfInput(id, text);
  if (masked == text) return text;
  std::string compact;
  try {
    const auto document = OrvoConfigStore::CreateDocumentFromString(text);
    OrvoConfigStore::SerializeValue(*document->GetJsonValuePtr(), compact);
  } catch (const OrvoConfigStore::ConfigStoreException&) {
    return MaskLines(text, FieldNames(id));
  }
  return masked == compact ? text : IndentJson(masked) + "\n";
}

}  // namespace csctl
