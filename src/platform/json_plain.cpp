#include "platform/json_plain.h"

#include <charconv>
#include <cstdint>
#include <cstring>

#include "platform/json_scan.h"

namespace OrvoConfigStore {
namespace {

constexpr int kMostLevels = 64;
constexpr int kMostDigits = 18;  // these fit 64 bits whatever they are

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

bool IsBlank(char c) {
  return c <= ' ' && (c == ' ' || c == '\n' || c == '\r' || c == '\t');  // most characters are above
}

/// One pass over a text. Every function takes the place at which it reads and
/// returns the one behind what it has read, or null to give up.
class PlainReader {
 public:
  using Place = const char*;

  PlainReader(Place end, JsonDocument& document) : end_(end), document_(document) {}

  bool Run(Place at) {
    at = ReadValue(SkipBlanks(at), 0);
    return at != nullptr && SkipBlanks(at) == end_;
  }

 private:
  bool IsAt(Place at, char c) const { return at != end_ && *at == c; }

  Place SkipBlanks(Place at) const {
    while (at != end_ && IsBlank(*at)) ++at;
    return at;
  }

  /// `level` objects and arrays are open. Blanks before a value are skipped already.
  Place ReadValue(Place at, int level) {
    if (at == end_) return nullptr;
    switch (*at) {
      case '{':
        return ReadObject(at, level);
      case '[':
        return ReadArray(at, level);
      case '"':
        return ReadString(at, false);
      case 't':
        return document_.Bool(true) ? SkipWord(at, "true") : nullptr;
      case 'f':
        return document_.Bool(false) ? SkipWord(at, "false") : nullptr;
      case 'n':
        return document_.Null() ? SkipWord(at, "null") : nullptr;
      default:
        return ReadNumber(at);
    }
  }

  Place SkipWord(Place at, std::string_view word) const {
    const bool isThere =
        static_cast<size_t>(end_ - at) >= word.size() && std::memcmp(at, word.data(), word.size()) == 0;
    return isThere ? at + word.size() : nullptr;
  }

  Place ReadObject(Place at, int level) {
    if (level == kMostLevels) return nullptr;
    document_.StartObject();
    rapidjson::SizeType members = 0;
    at = SkipBlanks(at + 1);
    if (!IsAt(at, '}')) {
      for (--at;; ++members) {
        at = ReadMember(SkipBlanks(at + 1), level + 1);
        if (at == nullptr) return nullptr;
        if (!IsAt(at, ',')) break;
      }
      ++members;
    }
    return IsAt(at, '}') && document_.EndObject(members) ? at + 1 : nullptr;
  }

  /// Reads a name and its value, and the blanks behind.
  Place ReadMember(Place at, int level) {
    if (!IsAt(at, '"')) return nullptr;
    at = ReadString(at, true);
    if (at == nullptr) return nullptr;
    at = SkipBlanks(at);
    if (!IsAt(at, ':')) return nullptr;
    at = ReadValue(SkipBlanks(at + 1), level);
    return at == nullptr ? nullptr : SkipBlanks(at);
  }

  Place ReadArray(Place at, int level) {
    if (level == kMostLevels) return nullptr;
    document_.StartArray();
    rapidjson::SizeType elements = 0;
    at = SkipBlanks(at + 1);
    if (!IsAt(at, ']')) {
      for (--at;; ++elements) {
        at = ReadValue(SkipBlanks(at + 1), level + 1);
        if (at == nullptr) return nullptr;
        at = SkipBlanks(at);
        if (!IsAt(at, ',')) break;
      }
      ++elements;
    }
    return IsAt(at, ']') && document_.EndArray(elements) ? at + 1 : nullptr;
  }

  /// Reads what begins with a quote.
  Place ReadString(Place at, bool isKey) {
    const Place begin = at + 1;
    at = FindEscaped(begin, end_);
    if (!IsAt(at, '"')) return nullptr;
    const auto length = static_cast<rapidjson::SizeType>(at - begin);
    const bool isTaken = isKey ? document_.Key(begin, length, true) : document_.String(begin, length, true);
    return isTaken ? at + 1 : nullptr;
  }

  Place SkipDigits(Place at) const {
    while (at != end_ && IsDigit(*at)) ++at;
    return at;
  }

  Place ReadNumber(const Place begin) {
    const Place digits = *begin == '-' ? begin + 1 : begin;
    const Place at = SkipDigits(digits);
    if (at == digits || (*digits == '0' && at - digits > 1)) return nullptr;
    if (at != end_ && (*at == '.' || *at == 'e' || *at == 'E')) return ReadDouble(begin, at);
    if (at - digits > kMostDigits) return nullptr;
    int64_t number = 0;
    for (Place digit = digits; digit != at; ++digit) number = number * 10 + (*digit - '0');
    return document_.Int64(digits == begin ? number : -number) ? at : nullptr;
  }

  /// Reads a number that begins at `begin`, whose whole part ends at `at`.
  Place ReadDouble(const Place begin, Place at) {
    if (*at == '.') {
      const Place fraction = at + 1;
      at = SkipDigits(fraction);
      if (at == fraction) return nullptr;
    }
    if (at != end_ && (*at == 'e' || *at == 'E')) {
      const bool hasSign = IsAt(at + 1, '+') || IsAt(at + 1, '-');
      const Place exponent = at + (hasSign ? 2 : 1);
      at = SkipDigits(exponent);
      if (at == exponent) return nullptr;
    }
    double number = 0;
    return std::from_chars(begin, at, number).ec == std::errc() && document_.Double(number) ? at : nullptr;
  }

  const Place end_;
  JsonDocument& document_;
};

}  // namespace

bool ReadPlainJson(std::string_view text, JsonDocument& document) {
  return PlainReader(text.data() + text.size(), document).Run(text.data());
}

}  // namespace OrvoConfigStore
