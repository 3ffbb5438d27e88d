#include "platform/json_scan.h"

#include <algorithm>

namespace OrvoConfigStore {
namespace {

using scan::Eight;

bool IsPlain(const char* eight) {
  return scan::FindAmong<Eight>(eight) == sizeof(Eight);
}

// Whether no character is escaped, of four to fifteen: looked at in two pieces
// that overlap.
bool ArePlain(const char* at, const char* end) {
  if (end - at >= 8) return IsPlain(at) && IsPlain(end - 8);
  char both[sizeof(Eight)];
  std::memcpy(both, at, 4);
  std::memcpy(both + 4, end - 4, 4);
  return IsPlain(both);
}

}  // namespace

const char* FindEscapedInFew(const char* at, const char* end) {
  return end - at >= 4 && ArePlain(at, end) ? end : std::find_if(at, end, IsEscaped);
}

}  // namespace OrvoConfigStore
