#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace OrvoConfigStore {

/// The automaton of a plain pattern: one that consists of ASCII characters, ".",
/// classes of characters and ranges, \d \w \s and their opposites, groups,
/// alternatives and repeats, with "^" and "$" at its ends alone. Nearly every
/// pattern of a schema is plain.
///
/// Each character or class of the pattern, with its repeats written out, is a
/// position; all positions that a value can be at are advanced together, one byte
/// after the other, so that a match takes time linear in the value.
class PatternAutomaton {
 public:
  static constexpr size_t kMaxPositions = 64;

  /// Returns nothing when the pattern is not plain, has too many positions, or
  /// may be no pattern at all.
  static std::optional<PatternAutomaton> Build(std::string_view pattern);

  /// Whether the whole value matches.
  bool Matches(std::string_view value) const;

 private:
  using Positions = uint64_t;  // a bit each

  class Parser;

  std::array<Positions, 256> fitting_{};            // by byte: the positions that take it
  std::array<Positions, kMaxPositions> follows_{};  // by position: those that may come next
  Positions first_ = 0;
  Positions last_ = 0;
  bool takesNothing_ = false;
};

}  // namespace OrvoConfigStore
