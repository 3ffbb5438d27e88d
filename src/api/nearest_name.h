#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace OrvoConfigStore {

/// Returns the one of `names` that `name` is most likely a misspelling of: the one
/// with the fewest letters changed, left out, added or swapped with their neighbour.
/// Empty when all differ in more than a third of their letters.
std::string NearestName(std::string_view name, const std::vector<std::string_view>& names);

}  // namespace OrvoConfigStore
