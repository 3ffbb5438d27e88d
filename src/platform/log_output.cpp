#include "platform/log_output.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "platform/host_files.h"
#include "platform/host_log.h"
#include "platform/host_paths.h"

namespace HaldenLib {

namespace {

constexpr char kSyslogSocket[] = "/dev/log";
constexpr int kMostWrites = 8;             // for one line
constexpr size_t kMostDatagram = 8192;     // syslog services refuse or cut longer messages
constexpr int kSyslogPatienceUs = 200000;  // one line waits no longer for a stuck service

struct SyslogPriority {
  int level;  // the least severe that the priority covers
  int priority;
};

constexpr SyslogPriority kSyslogPriorities[] = {
    {LOG_LEVEL_ERROR, LOG_ERR},
    {LOG_LEVEL_WARNING, LOG_WARNING},
    {LOG_LEVEL_INFO, LOG_INFO},
};

int PriorityOf(int level) {
  for (const SyslogPriority& row : kSyslogPriorities) {
    if (level <= row.level) return row.priority;
  }
  return LOG_DEBUG;
}

/// A second name could be somebody's way of having us write into another of our files.
bool IsOwnRegularFile(int descriptor) {
  struct stat found = {};
  return fstat(descriptor, &found) == 0 && S_ISREG(found.st_mode) && found.st_uid == geteuid() && found.st_nlink == 1;
}

class FileOutput : public LogOutput {
 public:
  using LogOutput::LogOutput;
  void Write(int /*level*/, std::string_view line) const override { WriteOnce(descriptor_.Number(), line); }
};

// Deliberate: neither openlog nor syslog, which would change the identity that
// the program around this library may have chosen. The message carries no time
// stamp; the service puts its own.
class SyslogOutput : public LogOutput {
 public:
  SyslogOutput(Descriptor descriptor, const sockaddr_un& service, const std::string& identity, int minLevel)
      : LogOutput(std::move(descriptor), minLevel), service_(service), identity_(identity) {}

  void Write(int level, std::string_view line) const override {
    char head[128];
    const int length =
        snprintf(head, sizeof head, "<%d>%.64s[%d]: ", LOG_USER | PriorityOf(level), identity_.c_str(), getpid());
    line.remove_suffix(1);
    iovec parts[] = {{head, static_cast<size_t>(length)},
                     {const_cast<char*>(line.data()), std::min(line.size(), kMostDatagram)}};
    msghdr message = {};
    message.msg_name = const_cast<sockaddr_un*>(&service_);
    message.msg_namelen = sizeof service_;
    message.msg_iov = parts;
    message.msg_iovlen = 2;
    int sends = 0;
    while (sendmsg(descriptor_.Number(), &message, MSG_NOSIGNAL) < 0 && errno == EINTR && ++sends < kMostWrites) {
    }
  }

 private:
  const sockaddr_un service_;  // named anew with every line: the service may have been restarted
  const std::string identity_;
};

}  // namespace

Descriptor::~Descriptor() {
  if (number_ >= 0) close(number_);
}

LogOutput::~LogOutput() = default;

void WriteOnce(int descriptor, std::string_view text) {
  for (int writes = 0; writes < kMostWrites && !text.empty(); ++writes) {
    const ssize_t written = write(descriptor, text.data(), text.size());
    if (written < 0 && errno != EINTR) return;
    if (written > 0) text.remove_prefix(static_cast<size_t>(written));
  }
}

std::unique_ptr<LogOutput> OpenFileOutput(const std::string& path, int minLevel) {
  const std::string file = ResolvePath(path);
  if (!GetHostRoot().empty()) MakeDirectories(path.substr(0, path.rfind('/')));
  // Not blocking, so that a pipe in the file's place cannot hold us up.
  constexpr int kFlags = O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
  Descriptor descriptor(open(file.c_str(), kFlags, S_IRUSR | S_IWUSR));
  if (!IsOwnRegularFile(descriptor.Number())) return nullptr;
  return std::make_unique<FileOutput>(std::move(descriptor), minLevel);
}

std::unique_ptr<LogOutput> OpenSyslogSocket(const std::string& socketPath, const std::string& identity, int minLevel) {
  sockaddr_un service = {};
  service.sun_family = AF_UNIX;
  if (socketPath.size() >= sizeof service.sun_path) return nullptr;
  socketPath.copy(service.sun_path, socketPath.size());

  Descriptor descriptor(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  const timeval patience = {0, kSyslogPatienceUs};
  if (setsockopt(descriptor.Number(), SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience) != 0) return nullptr;
  return std::make_unique<SyslogOutput>(std::move(descriptor), service, identity, minLevel);
}

std::unique_ptr<LogOutput> OpenSyslogOutput(const std::string& identity, int minLevel) {
  if (!GetHostRoot().empty()) return OpenFileOutput(kSyslogFile, minLevel);
  return OpenSyslogSocket(kSyslogSocket, identity, minLevel);
}

}  // namespace HaldenLib
