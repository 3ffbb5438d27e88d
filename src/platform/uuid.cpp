#include "platform/host_util.h"

#include <sys/random.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>

namespace HaldenLib {

namespace {

constexpr size_t kTextLength = 36;
using UuidBytes = std::array<uint8_t, 16>;

bool FillRandom(UuidBytes* bytes) {
  ssize_t filled;
  do {
    filled = getrandom(bytes->data(), bytes->size(), 0);
  } while (filled < 0 && errno == EINTR);
  return filled == static_cast<ssize_t>(bytes->size());  // so few bytes come at once or not at all
}

bool DashBefore(size_t byte) {
  return byte == 4 || byte == 6 || byte == 8 || byte == 10;
}

}  // namespace

char* UUID_CreateRandom() {
  constexpr char kDigits[] = "0123456789abcdef";
  UuidBytes bytes;
  if (!FillRandom(&bytes)) return nullptr;
  bytes[6] = static_cast<uint8_t>((bytes[6] & 0x0F) | 0x40);  // version 4: random
  bytes[8] = static_cast<uint8_t>((bytes[8] & 0x3F) | 0x80);  // the usual variant

  char* text = static_cast<char*>(std::malloc(kTextLength + 1));
  if (text == nullptr) return nullptr;
  char* end = text;
  for (size_t i = 0; i < bytes.size(); ++i) {
    if (DashBefore(i)) *end++ = '-';
    *end++ = kDigits[bytes[i] >> 4];
    *end++ = kDigits[bytes[i] & 0x0F];
  }
  *end = '\0';
  return text;
}

}  // namespace HaldenLib
