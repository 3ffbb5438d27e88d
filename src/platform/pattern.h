#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <regex>
#include <string>

#include "platform/pattern_automaton.h"

/// Patterns of schemas: ECMAScript regular expressions that a value must match
/// as a whole, byte by byte and the same in every locale.

namespace OrvoConfigStore {

constexpr size_t kMaxPatternBytes = 4096;

/// A compiled pattern; a plain one is an automaton of our own, any other the
/// standard library's. Neither compiling nor matching one exhausts the stack or
/// runs away, whatever the pattern and the value: a pattern that is nested too
/// deep, or too large once its repeats are written out, is refused, and a match
/// takes time that is linear in the value.
/// Deliberate: a pattern with a back-reference matches no value over 512 bytes,
/// since it can only be matched by trying; and a match that needs more steps
/// than its length allows is given up, logged, and counts as none.
class Pattern {
 public:
  /// Returns the compiled form, kept per thread and bounded in number; null,
  /// with a `reason`, when the text is no pattern or over a bound.
  static std::shared_ptr<const Pattern> Get(const std::string& text, std::string* reason);

  bool Matches(const char* value, size_t length) const;

  /// For Get, which has measured the text: what reading one byte costs at most.
  /// Throws std::regex_error when the text is no pattern.
  Pattern(const std::string& text, size_t stepsPerByte);

 private:
  std::optional<PatternAutomaton> plain_;
  std::regex regex_;  // when it is not plain
  bool backtracking_ = false;
  size_t stepsPerByte_;
};

}  // namespace OrvoConfigStore
