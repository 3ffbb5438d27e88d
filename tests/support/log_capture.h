#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "support/temp_root.h"

/// The library's log for the length of one test: logging is set up under `root`
/// with every priority taken, and ended afterwards.
class LogCapture {
 public:
  explicit LogCapture(const TempRoot& root);
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  /// Returns what has been logged since the start, without the prefixes
  /// "[ConfigStore:PID:THREAD:] ".
  std::vector<std::string> Lines() const;
  /// Whether one of them holds `words`.
  bool Has(const std::string& words) const;
  /// As Lines, with the prefixes.
  std::vector<std::string> RawLines() const;

 private:
  const TempRoot& root_;
  size_t start_;
};
