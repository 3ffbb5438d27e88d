#include "platform/process_identity.h"

#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <new>

namespace HaldenLib {

namespace {

using KnownId = std::atomic<pid_t>;

/// Returns memory that reads as zero in a child, null where the kernel has none.
KnownId* MapWipedOnFork() {
  const auto size = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  void* const page = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (page == MAP_FAILED) return nullptr;
  if (madvise(page, size, MADV_WIPEONFORK) == 0) return new (page) KnownId(0);
  munmap(page, size);
  return nullptr;
}

}  // namespace

pid_t ProcessId() {
  static KnownId* const known = MapWipedOnFork();
  if (known == nullptr) return getpid();
  pid_t id = known->load(std::memory_order_relaxed);
  if (id == 0) known->store(id = getpid(), std::memory_order_relaxed);
  return id;
}

}  // namespace HaldenLib
