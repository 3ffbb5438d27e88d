#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

/// Looking through the characters of a JSON string many at a time.

namespace OrvoConfigStore {

/// Whether a character ends a run of plain ones: a quote, a backslash or a control
/// character, which are written in another way than they are.
inline bool IsEscaped(char c) {
  return static_cast<unsigned char>(c) < ' ' || c == '"' || c == '\\';
}

namespace scan {

using Eight = unsigned char __attribute__((vector_size(8)));
using Sixteen = unsigned char __attribute__((vector_size(16)));

/// Returns the place, in memory, of the first byte that is not 0.
inline size_t FirstByte(uint64_t bytes) {
  const bool isFirstLowest = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;
  return static_cast<size_t>(isFirstLowest ? __builtin_ctzll(bytes) : __builtin_clzll(bytes)) / 8;
}

/// Returns which of so many bytes is the first that is escaped, or their number.
template <class Bytes>
size_t FindAmong(const char* at) {
  Bytes bytes;
  std::memcpy(&bytes, at, sizeof bytes);
  const Bytes escaped = (bytes == '"') | (bytes == '\\') | (bytes < ' ');  // all bits of those that are
  uint64_t words[sizeof bytes / sizeof(uint64_t)];
  static_assert(sizeof words == sizeof escaped);
  std::memcpy(words, &escaped, sizeof words);
  size_t before = 0;
  for (const uint64_t word : words) {
    if (word != 0) return before + FirstByte(word);
    before += sizeof word;
  }
  return before;
}

}  // namespace scan

/// As FindEscaped, for fewer than sixteen characters.
const char* FindEscapedInFew(const char* at, const char* end);

/// Returns the first character from `at` on that is escaped, or `end`.
inline const char* FindEscaped(const char* at, const char* end) {
  using scan::Sixteen;
  while (end - at >= 16) {
    const size_t plain = scan::FindAmong<Sixteen>(at);
    at += plain;
    if (plain < sizeof(Sixteen)) return at;
  }
  return FindEscapedInFew(at, end);
}

}  // namespace OrvoConfigStore
