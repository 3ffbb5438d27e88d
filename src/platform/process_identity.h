#pragma once

#include <sys/types.h>

namespace HaldenLib {

/// Returns the id of this process, as getpid does, but without a system call once
/// it is known: it is kept in memory that the kernel wipes in a forked child.
pid_t ProcessId();

}  // namespace HaldenLib
