#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

/// JSON and other text as the tool shows it. Nothing here parses: JSON texts
/// come from the library and are well formed.

namespace csctl {

/// Returns the length of the character at `at` when it is UTF-8 and may be
/// shown, 0 when it is a control character (C0, DEL, C1) or a broken byte.
size_t ShownLength(const std::string& text, size_t at);

/// Returns `text` fit for a line: what may not be shown stands as "\xNN".
std::string Printable(const std::string& text);

/// Returns the JSON string of any text, broken bytes as U+FFFD.
std::string JsonString(const std::string& text);
const char* JsonBool(bool value);

/// Return an object or an array of values that are JSON texts already.
std::string JsonObject(const std::vector<std::pair<std::string, std::string>>& members);
std::string JsonArray(const std::vector<std::string>& elements);

/// Returns compact JSON with each member and element on a line of its own,
/// indented by two blanks a level.
std::string IndentJson(const std::string& json);

/// Returns JSON that means the same and is safe to show: control characters as
/// escapes. Broken bytes, which no escape can stand for, become U+FFFD.
std::string ShieldJson(const std::string& json);

}  // namespace csctl
