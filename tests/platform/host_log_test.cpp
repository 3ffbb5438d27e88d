#include "platform/host_log.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "platform/log_output.h"
#include "support/temp_root.h"

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

TEST_F(HostLog, SyslogGetsOneMessageForALine) {
  const struct {
    int level;
    int priority;
  } kCases[] = {{110, LOG_ERR}, {115, LOG_WARNING}, {125, LOG_INFO}, {130, LOG_DEBUG}};
  const std::string path = root_.Resolve("/log"), process = "cs[" + std::to_string(getpid()) + "]: ";
  const SyslogService service(path);
  const auto output = OpenSyslogSocket(path, "cs", 130);
  ASSERT_TRUE(output);
  for (const auto& row : kCases) {
    output->Write(row.level, "text\n");
    EXPECT_EQ("<" + std::to_string(LOG_USER | row.priority) + ">" + process + "text", service.Receive());
  }
  output->Write(130, std::string(20000, 'x') + "\n");
  EXPECT_EQ("<15>" + process + std::string(8192, 'x'), service.Receive());
}

TEST_F(HostLog, SyslogMayComeLater) {
  const std::string path = root_.Resolve("/log");
  const auto output = OpenSyslogSocket(path, "cs", 130);
  ASSERT_TRUE(output);
  output->Write(110, "lost\n");
  const SyslogService service(path);
  output->Write(110, "heard\n");
  EXPECT_NE(std::string::npos, service.Receive().find("heard"));
  EXPECT_EQ(nullptr, OpenSyslogSocket(std::string(200, '/'), "cs", 130));
}

TEST_F(HostLog, AnOutputCanBeReplaced) {
  LogOutput* const first = Log_NewFileOutput("x", file_);
  ASSERT_TRUE(Log_AddOutput(first));
  LogLine(LOG_LEVEL_TRACE, "one\n");
  Log_ReplaceOutput(first, Log_NewFileOutput("y", {{"log.fileName", "/tmp/y.log"}, {"log.logMinLevel", "110"}}), 0);
  LogLine(LOG_LEVEL_ERROR, "two");
  EXPECT_FALSE(Log_WouldWrite(LOG_LEVEL_WARNING));
  EXPECT_NE(std::string::npos, root_.Read("/tmp/x.log").find(":] one\n"));
  EXPECT_EQ(std::string::npos, root_.Read("/tmp/x.log").find("two"));
  EXPECT_NE(std::string::npos, root_.Read("/tmp/y.log").find(":] two\n"));
  EXPECT_FALSE(Log_AddOutput(nullptr));
}

TEST_F(HostLog, StandardErrorTakesItsLevels) {
  testing::internal::CaptureStderr();
  Log_SetStderrLevel(LOG_LEVEL_WARNING);
  LogLine(LOG_LEVEL_WARNING, "seen");
  LogLine(LOG_LEVEL_INFO, "not seen");
  Log_SetStderrLevel(-1);
  LogLine(LOG_LEVEL_ERROR, "nor this");
  EXPECT_EQ(Log_Prefix() + "seen\n", testing::internal::GetCapturedStderr());
}

TEST_F(HostLog, AnInitThatFailsKeepsWhatIsThere) {
  ASSERT_TRUE(Log_InitWithFileInt("x", file_));
  EXPECT_FALSE(Log_InitWithFileInt("x", {{"log.fileName", "/tmp/none/"}}));
  LogLine(LOG_LEVEL_INFO, "still");
  EXPECT_NE(std::string::npos, root_.Read("/tmp/x.log").find("still"));
}

TEST_F(HostLog, WhatDoesNotFitIsDroppedAndErrnoKept) {
  ASSERT_TRUE(Log_InitWithFileInt("x", file_));
  const pid_t child = fork();
  if (child == 0) {
    alarm(30);  // a child that hangs ends with a signal
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit most = {100, 100};
    setrlimit(RLIMIT_FSIZE, &most);
    LogLine(LOG_LEVEL_INFO, "%s", std::string(300, 'x').c_str());
    errno = 0;
    LogLine(LOG_LEVEL_INFO, "more");
    _exit(errno);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(0, status);
  EXPECT_EQ(100u, root_.Read("/tmp/x.log").size());
}

}  // namespace
}  // namespace HaldenLib
