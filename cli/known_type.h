#pragma once

#include "object_name.h"

namespace csctl {

/// Whether the name of a registered type begins with `prefix`.
bool IsRegistered(const NamePrefix& prefix);

/// Throws CommandFailed(kNotFound), with the name that is nearest.
[[noreturn]] void FailUnregistered(const NamePrefix& prefix);

/// Returns what may have been meant by a name that no type has, as the beginning of
/// an advice, "did you mean ...? "; empty when nothing is near.
std::string AskForNearest(const NamePrefix& prefix);

}  // namespace csctl
