#include "stop_signals.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <vector>

namespace csctl {

namespace {

constexpr int kNotStarted = 127;
constexpr int kEndedBySignal = 128;

int ExitValue(int status) {
  return WIFSIGNALED(status) ? kEndedBySignal + WTERMSIG(status) : WEXITSTATUS(status);
}

/// Starts a program with this mask of signals; returns 0 when that fails.
pid_t Start(std::vector<std::string> words, std::vector<char*> environment, const sigset_t& mask) {
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
  posix_spawnattr_setsigmask(&attributes, &mask);
  pid_t child = 0;
  const int failed = posix_spawn(&child, words[0].c_str(), nullptr, &attributes, arguments.data(), environment.data());
  posix_spawnattr_destroy(&attributes);
  return failed == 0 ? child : 0;
}

}  // namespace

StopSignals::StopSignals() {
  std::signal(SIGCHLD, SIG_DFL);  // ignored, it would not tell of a child's end
  sigemptyset(&held_);
  for (const int signal : {SIGINT, SIGTERM, SIGCHLD}) sigaddset(&held_, signal);
  sigprocmask(SIG_BLOCK, &held_, &before_);
}

StopSignals::~StopSignals() {
  sigprocmask(SIG_SETMASK, &before_, nullptr);
}

bool StopSignals::StopWithin(unsigned milliseconds) {
  sigset_t stopping = held_;
  sigdelset(&stopping, SIGCHLD);
  const timespec time{milliseconds / 1000, static_cast<long>(milliseconds % 1000) * 1000000};
  const int signal = sigtimedwait(&stopping, nullptr, &time);
  askedToStop_ = askedToStop_ || signal == SIGINT || signal == SIGTERM;
  return askedToStop_;
}

int StopSignals::RunShell(const std::string& commandLine, const std::string& argument, const std::string& change) {
  std::string changeSetting = "CSCTL_CHANGE=" + change;
  std::vector<char*> environment = {changeSetting.data()};
  for (char** setting = environ; *setting != nullptr; ++setting) environment.push_back(*setting);
  environment.push_back(nullptr);
  const pid_t child = Start({"/bin/sh", "-c", commandLine + " \"$@\"", "csctl", argument}, environment, before_);
  return child == 0 ? kNotStarted : WaitFor(child);
}

int StopSignals::WaitFor(pid_t child) {
  for (int status = 0;;) {
    const pid_t ended = waitpid(child, &status, WNOHANG);
    if (ended == child) return ExitValue(status);
    if (ended < 0 && errno != EINTR) return kNotStarted;
    const int signal = sigwaitinfo(&held_, nullptr);
    if (signal != SIGINT && signal != SIGTERM) continue;
    askedToStop_ = true;
    kill(child, signal);
  }
}

}  // namespace csctl
