#pragma once

#include <chrono>
#include <cstddef>
#include <string>

#include "session.h"

namespace csctl {

/// Tells how far long work has come, on a line of the terminal that standard error
/// shows on; nothing elsewhere, nor while the work is young.
class Progress {
 public:
  /// `what` is being done: "importing".
  Progress(const Session& session, std::string what);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Shows that `done` objects of `all` are, of an unknown number when that is 0.
  void Show(size_t done, size_t all);

 private:
  using Clock = std::chrono::steady_clock;

  const std::string what_;
  const bool isShown_;
  Clock::time_point next_;
  bool hasLine_ = false;
};

}  // namespace csctl
