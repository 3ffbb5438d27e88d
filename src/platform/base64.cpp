#include "platform/host_util.h"

#include <array>
#include <cstdint>

namespace HaldenLib {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr uint8_t kNoDigit = 64;

constexpr std::array<uint8_t, 256> DigitValues() {
  std::array<uint8_t, 256> values = {};
  for (uint8_t& value : values) value = kNoDigit;
  for (uint8_t digit = 0; digit < 64; ++digit) values[static_cast<unsigned char>(kAlphabet[digit])] = digit;
  return values;
}

constexpr std::array<uint8_t, 256> kDigitValues = DigitValues();

char Digit(uint32_t group, int position) {
  return kAlphabet[(group >> (18 - 6 * position)) & 63];
}

size_t CountPadding(const char* text, size_t length) {
  if (length < 4 || text[length - 1] != '=') return 0;
  return text[length - 2] == '=' ? 2 : 1;
}

/// Reads `digits` characters into the upper bits of a group of 24; false when
/// one is no digit.
bool ReadGroup(const char* text, size_t digits, uint32_t* group) {
  *group = 0;
  for (size_t i = 0; i < 4; ++i) {
    const uint8_t value = i < digits ? kDigitValues[static_cast<unsigned char>(text[i])] : 0;
    if (value == kNoDigit) return false;
    *group = *group << 6 | value;
  }
  return true;
}

}  // namespace

size_t Base64_EncodedLength(const unsigned char* /*data*/, size_t length) {
  return (length + 2) / 3 * 4 + 1;
}

bool Base64_Encode(const unsigned char* data, size_t length, char* text, size_t size, size_t* written) {
  if (size < Base64_EncodedLength(data, length)) return false;
  char* end = text;
  for (size_t at = 0; at < length; at += 3) {
    const size_t left = length - at;
    uint32_t group = uint32_t{data[at]} << 16;
    if (left > 1) group |= uint32_t{data[at + 1]} << 8;
    if (left > 2) group |= data[at + 2];
    *end++ = Digit(group, 0);
    *end++ = Digit(group, 1);
    *end++ = left > 1 ? Digit(group, 2) : '=';
    *end++ = left > 2 ? Digit(group, 3) : '=';
  }
  *end = '\0';
  *written = static_cast<size_t>(end - text);
  return true;
}

size_t Base64_DecodedLength(const char* text, size_t length) {
  return length / 4 * 3 - CountPadding(text, length);
}

bool Base64_Decode(const char* text, size_t length, unsigned char* data, size_t size, size_t* written) {
  const size_t bytes = Base64_DecodedLength(text, length);
  if (length % 4 != 0 || size < bytes) return false;
  for (size_t done = 0; done < bytes; text += 4) {
    const size_t count = bytes - done < 3 ? bytes - done : 3;
    uint32_t group = 0;
    if (!ReadGroup(text, count + 1, &group)) return false;
    // One text per content: the bits that padding leaves over are zero.
    if ((group & (0xFFFFFFu >> (8 * count))) != 0) return false;
    for (size_t i = 0; i < count; ++i) data[done++] = static_cast<unsigned char>(group >> (16 - 8 * i));
  }
  *written = bytes;
  return true;
}

}  // namespace HaldenLib
