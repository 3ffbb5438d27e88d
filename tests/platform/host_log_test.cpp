#include "platform/host_log.h"

#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "platform/log_output.h"
#include "support/test_store.h"

namespace HaldenLib {
namespace {

class HostLog : public testing::Test {
 protected:
  ~HostLog() override { Log_Exit(); }

  const TempRoot root_;
  const Dictionary file_ = {{"log.fileName", "/tmp/x.log"}};
};

/// A syslog service of our own, at a socket in a temporary root.
class SyslogService {
 public:
  explicit SyslogService(const std::string& path) : socket_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(0, bind(socket_.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof address));
  }
  std::string Receive() const {
    char message[10000];
    const ssize_t length = recv(socket_.Number(), message, sizeof message, MSG_DONTWAIT);
    return length < 0 ? "nothing" : std::string(message, static_cast<size_t>(length));
  }

 private:
  Descriptor socket_;
};

TEST_F(HostLog, SyslogGetsOneMessageForALineOnceItIsThere) {
  const std::string path = root_.Resolve("/log"), process = "cs[" + std::to_string(getpid()) + "]: ";
  const auto output = OpenSyslogSocket(path, "cs", 130);
  ASSERT_TRUE(output);
  output->Write(110, "lost\n");
  const SyslogService service(path);
  const std::pair<int, int> kPriorities[] = {{110, LOG_ERR}, {115, LOG_WARNING}, {125, LOG_INFO}, {130, LOG_DEBUG}};
  for (const auto& [level, priority] : kPriorities) {
    output->Write(level, "text\n");
    EXPECT_EQ("<" + std::to_string(LOG_USER | priority) + ">" + process + "text", service.Receive());
  }
  output->Write(130, std::string(20000, 'x') + "\n");
  EXPECT_EQ("<15>" + process + std::string(8192, 'x'), service.Receive());
  EXPECT_EQ(nullptr, OpenSyslogSocket(std::string(200, '/'), "cs", 130));
}

TEST_F(HostLog, WhatDoesNotFitIsDroppedErrnoKeptAndAnInitThatFailsChangesNothing) {
  ASSERT_TRUE(Log_InitWithFileInt("x", file_));
  EXPECT_FALSE(Log_InitWithFileInt("x", {{"log.fileName", "/tmp/none/"}}));
  EXPECT_EQ(0, InChild([] {
              std::signal(SIGXFSZ, SIG_IGN);
              const rlimit most = {100, 100};
              setrlimit(RLIMIT_FSIZE, &most);
              LogLine(LOG_LEVEL_INFO, "%s", std::string(300, 'x').c_str());
              errno = 0;
              LogLine(LOG_LEVEL_INFO, "more");
              return errno;
            }));
  EXPECT_EQ(100u, root_.Read("/tmp/x.log").size());
}

}  // namespace
}  // namespace HaldenLib
