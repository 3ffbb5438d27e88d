#include "progress.h"

#include <unistd.h>

#include <iostream>
#include <utility>

namespace csctl {

namespace {

constexpr std::chrono::milliseconds kYoung(500);
constexpr std::chrono::milliseconds kStep(100);
constexpr char kEraseLine[] = "\r\x1b[K";

}  // namespace

Progress::Progress(const Session& session, std::string what)
    : what_(std::move(what)), isShown_(!session.quiet && isatty(STDERR_FILENO) == 1), next_(Clock::now() + kYoung) {}

Progress::~Progress() {
  if (hasLine_) std::cerr << kEraseLine << std::flush;
}

void Progress::Show(size_t done, size_t all) {
  if (!isShown_ || Clock::now() < next_) return;
  std::cerr << kEraseLine << what_ << ": " << done;
  if (all != 0) std::cerr << " of " << all;
  std::cerr << " objects" << std::flush;
  next_ = Clock::now() + kStep;
  hasLine_ = true;
}

}  // namespace csctl
