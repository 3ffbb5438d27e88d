#pragma once

#include <configstore/logging.h>

namespace csctl {

/// While one lives, the library logs to the host's system log: for commands whose
/// work is more than one exit code can tell.
class HostLog {
 public:
  HostLog() { CSLogger::LogInit(""); }
  ~HostLog() { CSLogger::LogExit(); }
  HostLog(const HostLog&) = delete;
  HostLog& operator=(const HostLog&) = delete;
};

}  // namespace csctl
