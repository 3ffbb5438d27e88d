#pragma once

#include <string>

namespace csctl {

/// How the tool ends. The numbers are fixed: scripts depend on them.
enum class Exit : int {
  kDone = 0,
  kNo = 1,
  kUsage = 2,
  kInvalid = 3,
  kNotFound = 4,
  kRefused = 5,
  kConflict = 6,
  kUnavailable = 7,
  kStorage = 8,
  kInternal = 70,
};

/// Returns the table of exit codes for the end of --help.
std::string ExitCodeHelp();

}  // namespace csctl
