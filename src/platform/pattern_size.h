#pragma once

#include <cstddef>
#include <string_view>

namespace OrvoConfigStore {

/// How large a pattern is, before anything recursive looks at it.
struct PatternSize {
  size_t states = 0;   ///< at most so many once its repeats are written out
  size_t nesting = 0;  ///< of parentheses
};

/// Measures an ECMAScript pattern without recursion. The text need not be well
/// formed; one that is no pattern gets some size.
PatternSize MeasurePattern(std::string_view text);

}  // namespace OrvoConfigStore
