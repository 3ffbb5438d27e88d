#include "platform/process_wide.h"

namespace HaldenLib {

std::mutex& ProcessWideLock() {
  static std::mutex lock;
  return lock;
}

namespace {

[[maybe_unused]] const bool kHeldAcrossForks = HoldAcrossForks<ProcessWideLock>();

}  // namespace

}  // namespace HaldenLib
