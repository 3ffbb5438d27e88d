#pragma once

#include <string>
#include <string_view>

namespace OrvoConfigStore {

/// Appends a step to a JSON pointer: "/", then `step` with "~" and "/" in it
/// written "~0" and "~1".
inline void AppendStep(std::string& pointer, std::string_view step) {
  pointer += '/';
  for (const char c : step) {
    if (c == '~') {
      pointer += "~0";
    } else if (c == '/') {
      pointer += "~1";
    } else {
      pointer += c;
    }
  }
}

/// Returns `pointer` with a step appended.
inline std::string PointerBelow(std::string pointer, std::string_view step) {
  AppendStep(pointer, step);
  return pointer;
}

}  // namespace OrvoConfigStore
