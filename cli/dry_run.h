#pragma once

#include "command.h"

namespace csctl {

/// Returns the command as a rehearsal: it runs on a private copy of the store,
/// silently, and then what it would change is printed. It ends as the command
/// itself does.
Run Rehearsed(const Run& run);

}  // namespace csctl
