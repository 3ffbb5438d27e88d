#include "platform/sql_format.h"

#include "platform/failure.h"

namespace OrvoConfigStore {
namespace {

void AppendQuoted(std::string& out, std::string_view value) {
  CheckName(value);
  for (char c : value) {
    if (c == '\'') out.push_back(c);
    out.push_back(c);
  }
}

// Reads a place that begins behind a "%": its 0-based value, or -1 when it is
// none; `rest` then begins behind it.
int ReadPlace(std::string_view& rest, size_t& next) {
  if (!rest.empty() && rest[0] == 's') {
    rest.remove_prefix(1);
    return static_cast<int>(next++);
  }
  if (rest.size() >= 3 && rest[0] >= '1' && rest[0] <= '9' && rest[1] == '$' && rest[2] == 's') {
    const int place = rest[0] - '1';
    rest.remove_prefix(3);
    return place;
  }
  return -1;
}

}  // namespace

void CheckName(std::string_view name) {
  if (name.find('\0') != std::string_view::npos) ThrowPlatformFailure("A name cannot hold a NUL byte.");
}

std::string FormatSql(std::string_view text, std::initializer_list<std::string_view> values) {
  size_t length = text.size();
  for (std::string_view value : values) length += 2 * value.size();
  std::string out;
  out.reserve(length);

  size_t next = 0;
  while (!text.empty()) {
    const size_t percent = text.find('%');
    out.append(text.substr(0, percent));
    if (percent == std::string_view::npos) break;
    text.remove_prefix(percent + 1);
    const int place = ReadPlace(text, next);
    if (place < 0) {
      out.push_back('%');
    } else if (static_cast<size_t>(place) < values.size()) {
      AppendQuoted(out, values.begin()[place]);
    } else {
      ThrowPlatformFailure("A statement has more places than values.");
    }
  }
  return out;
}

}  // namespace OrvoConfigStore
