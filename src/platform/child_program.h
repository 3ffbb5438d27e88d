#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

/// The host's fork-and-exec service.
///
/// The words of a command are the host's: absolute paths among them are found
/// under the host root, and so is the program, unless the root has none; then it
/// is the machine's own. A child has the standard streams of its caller, a small
/// environment that never varies but for the root, and no signal blocked. The
/// caller's handling of signals is neither relied on nor changed: one that ignores
/// SIGCHLD, or collects all its children, still gets the exit value.

namespace HaldenLib {

/// What became of a child.
struct ChildResult {
  enum Kind : int {
    ENDED,           ///< `value` is its exit value; 128 and the signal when one has ended it
    NOT_STARTED,     ///< `value` is the errno
    NOT_WAITED_FOR,  ///< likewise; its exit value is lost
  };
  Kind kind = NOT_STARTED;
  int value = 0;
  pid_t child = 0;  ///< who was waited for, when there was anybody
};

/// Runs the program `words[0]` with the other words as its arguments and waits
/// for its end.
ChildResult HaldenKernel_ForkExec(const std::vector<std::string>& words);

/// Runs a command as a shell would that knows blanks and nothing else. Returns 0
/// when it has ended with exit value 0, else another number.
int RunCommand(const std::string& text);

}  // namespace HaldenLib
