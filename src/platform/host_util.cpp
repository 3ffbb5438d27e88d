#include "platform/host_util.h"

#include <cstdio>

namespace HaldenLib {

char* Str_Vasprintf(size_t* length, const char* format, va_list arguments) {
  char* text = nullptr;
  const int written = vasprintf(&text, format, arguments);
  if (written < 0) return nullptr;
  if (length != nullptr) *length = static_cast<size_t>(written);
  return text;
}

}  // namespace HaldenLib
