#pragma once

#include <csignal>
#include <string>

namespace csctl {

/// Holds SIGINT and SIGTERM back while it lives, so that a command which waits for
/// something ends between two pieces of work and never within one.
class StopSignals {
 public:
  StopSignals();
  ~StopSignals();
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;

  /// Waits and returns whether the tool was asked to stop meanwhile.
  bool StopWithin(unsigned milliseconds);

  /// Runs a command line of the shell with `argument` behind it, and "CSCTL_CHANGE"
  /// set to `change`. Returns its exit value, 128 and the signal when one has ended
  /// it, 127 when it cannot be started. A request to stop is passed on to it.
  int RunShell(const std::string& commandLine, const std::string& argument, const std::string& change);

  bool IsAskedToStop() const { return askedToStop_; }

 private:
  int WaitFor(pid_t child);

  sigset_t held_;
  sigset_t before_;
  bool askedToStop_ = false;
};

}  // namespace csctl
