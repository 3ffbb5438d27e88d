#include "platform/json_plain.h"

#include <charconv>
#include <cstdint>
#include <cstring>

namespace OrvoConfigStore {
namespace {

constexpr int kMostLevels = 64;
constexpr int kMostDigits = 18;  // these fit 64 bits whatever they are

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

/// Marks, of eight bytes, those that end a plain string: a quote, a backslash or a
/// control character. Each test sets the top bit of a byte for which it holds; only
/// a byte above such a one may be marked by mistake.
uint64_t MarkEnds(uint64_t bytes) {
  constexpr uint64_t kOnes = 0x0101010101010101;
  constexpr uint64_t kTops = kOnes * 0x80;
  const auto below = [bytes](uint64_t bound) { return (bytes - kOnes * bound) & ~bytes; };
  const auto equal = [bytes](uint64_t c) { return ((bytes ^ kOnes * c) - kOnes) & ~(bytes ^ kOnes * c); };
  return (below(0x20) | equal('"') | equal('\\')) & kTops;
}

bool IsPlain(char c) {
  return c != '"' && c != '\\' && static_cast<unsigned char>(c) >= 0x20;
}

/// One pass over a text. Every function leaves `at_` behind what it has read and
/// returns false to give up.
class PlainReader {
 public:
  PlainReader(std::string_view text, JsonDocument& document)
      : at_(text.data()), end_(text.data() + text.size()), document_(document) {}

  bool Run() {
    if (!ReadValue()) return false;
    SkipBlanks();
    return at_ == end_;
  }

 private:
  void SkipBlanks() {
    while (at_ != end_ && *at_ <= ' ' && (*at_ == ' ' || *at_ == '\n' || *at_ == '\r' || *at_ == '\t')) ++at_;
  }

  /// Reads `c`, blanks before it skipped.
  bool Take(char c) {
    SkipBlanks();
    if (at_ == end_ || *at_ != c) return false;
    ++at_;
    return true;
  }

  bool ReadValue() {
    SkipBlanks();
    if (at_ == end_) return false;
    switch (*at_) {
      case '{':
        return ReadObject();
      case '[':
        return ReadArray();
      case '"':
        return ReadString(false);
      case 't':
        return TakeWord("true") && document_.Bool(true);
      case 'f':
        return TakeWord("false") && document_.Bool(false);
      case 'n':
        return TakeWord("null") && document_.Null();
      default:
        return ReadNumber();
    }
  }

  bool TakeWord(std::string_view word) {
    if (static_cast<size_t>(end_ - at_) < word.size() || std::memcmp(at_, word.data(), word.size()) != 0) return false;
    at_ += word.size();
    return true;
  }

  bool ReadObject() {
    if (++level_ > kMostLevels) return false;
    ++at_;
    document_.StartObject();
    rapidjson::SizeType members = 0;
    if (!Take('}')) {
      do {
        SkipBlanks();
        if (!ReadString(true) || !Take(':') || !ReadValue()) return false;
        ++members;
      } while (Take(','));
      if (!Take('}')) return false;
    }
    --level_;
    return document_.EndObject(members);
  }

  bool ReadArray() {
    if (++level_ > kMostLevels) return false;
    ++at_;
    document_.StartArray();
    rapidjson::SizeType elements = 0;
    if (!Take(']')) {
      do {
        if (!ReadValue()) return false;
        ++elements;
      } while (Take(','));
      if (!Take(']')) return false;
    }
    --level_;
    return document_.EndArray(elements);
  }

  /// Skips the plain bytes that come in eights, and where the first byte is the
  /// lowest those before the end as well.
  void SkipPlainWords() {
    for (uint64_t bytes = 0; end_ - at_ >= 8; at_ += 8) {
      std::memcpy(&bytes, at_, sizeof bytes);
      const uint64_t ends = MarkEnds(bytes);
      if (ends == 0) continue;
      if (__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__) at_ += __builtin_ctzll(ends) / 8;
      return;
    }
  }

  bool ReadString(bool isKey) {
    if (at_ == end_ || *at_ != '"') return false;
    const char* const begin = ++at_;
    SkipPlainWords();
    while (at_ != end_ && IsPlain(*at_)) ++at_;
    if (at_ == end_ || *at_ != '"') return false;
    const auto length = static_cast<rapidjson::SizeType>(at_++ - begin);
    return isKey ? document_.Key(begin, length, true) : document_.String(begin, length, true);
  }

  /// Skips digits and returns whether there were any.
  bool SkipDigits() {
    const char* const begin = at_;
    while (at_ != end_ && IsDigit(*at_)) ++at_;
    return at_ != begin;
  }

  bool ReadNumber() {
    const char* const begin = at_;
    if (*at_ == '-') ++at_;
    const char* const digits = at_;
    if (!SkipDigits() || (*digits == '0' && at_ - digits > 1)) return false;
    if (at_ != end_ && (*at_ == '.' || *at_ == 'e' || *at_ == 'E')) return ReadDouble(begin);
    if (at_ - digits > kMostDigits) return false;
    int64_t number = 0;
    for (const char* digit = digits; digit != at_; ++digit) number = number * 10 + (*digit - '0');
    return document_.Int64(digits == begin ? number : -number);
  }

  bool ReadDouble(const char* begin) {
    if (*at_ == '.' && (++at_, !SkipDigits())) return false;
    if (at_ != end_ && (*at_ == 'e' || *at_ == 'E')) {
      if (++at_ != end_ && (*at_ == '+' || *at_ == '-')) ++at_;
      if (!SkipDigits()) return false;
    }
    double number = 0;
    return std::from_chars(begin, at_, number).ec == std::errc() && document_.Double(number);
  }

  const char* at_;
  const char* const end_;
  JsonDocument& document_;
  int level_ = 0;
};

}  // namespace

bool ReadPlainJson(std::string_view text, JsonDocument& document) {
  return PlainReader(text, document).Run();
}

}  // namespace OrvoConfigStore
