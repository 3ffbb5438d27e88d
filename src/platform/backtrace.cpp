#include "platform/host_util.h"

#include <dlfcn.h>
#include <link.h>
#include <unwind.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

// Both functions may run while an exception is being constructed for want of
// memory: they allocate nothing.

namespace HaldenLib {

namespace {

constexpr size_t kMostText = 1024;  // the frames before they are coded

struct Walk {
  FastBacktrace* backtrace;
  int skip;
  int most;
};

_Unwind_Reason_Code VisitFrame(_Unwind_Context* context, void* argument) {
  Walk& walk = *static_cast<Walk*>(argument);
  if (walk.skip-- > 0) return _URC_NO_REASON;
  if (walk.backtrace->count >= walk.most) return _URC_END_OF_STACK;
  const uintptr_t address = _Unwind_GetIP(context);
  if (address == 0) return _URC_END_OF_STACK;
  walk.backtrace->frames[walk.backtrace->count++] = reinterpret_cast<void*>(address);
  return _URC_NO_REASON;
}

const char* BaseName(const char* path) {
  const char* slash = std::strrchr(path, '/');
  return slash == nullptr ? path : slash + 1;
}

/// Writes "MODULE+0xADDRESS " as the module's own symbol table counts, "? " for
/// an address in none. Returns the length that it has, as snprintf does.
int DescribeFrame(const void* frame, char* text, size_t size) {
  // The call itself: where a call never returns, the address after it belongs
  // to the next function.
  const uintptr_t call = reinterpret_cast<uintptr_t>(frame) - 1;
  Dl_info module = {};
  void* loaded = nullptr;
  const bool found = dladdr1(reinterpret_cast<const void*>(call), &module, &loaded, RTLD_DL_LINKMAP) != 0;
  if (!found || loaded == nullptr) return snprintf(text, size, "? ");
  const uintptr_t address = call - static_cast<const link_map*>(loaded)->l_addr;
  return snprintf(text, size, "%s+0x%zx ", BaseName(module.dli_fname), address);
}

/// Writes the frames into `text`, as many as fit whole, the innermost first.
size_t DescribeFrames(const FastBacktrace& backtrace, char* text, size_t size) {
  size_t length = 0;
  for (int i = 0; i < backtrace.count; ++i) {
    const int added = DescribeFrame(backtrace.frames[i], text + length, size - length);
    if (added < 0 || static_cast<size_t>(added) >= size - length) break;
    length += static_cast<size_t>(added);
  }
  return length == 0 ? 0 : length - 1;  // without the last blank
}

}  // namespace

__attribute__((noinline)) void CoreDump_CaptureFastBacktrace(FastBacktrace* backtrace, int skip, int most) {
  backtrace->count = 0;
  Walk walk = {backtrace, skip, std::min(most, FastBacktrace::kMost)};
  _Unwind_Backtrace(VisitFrame, &walk);
}

void CoreDump_Base64BacktraceFormat(const FastBacktrace& backtrace, const char* tag, char* text, size_t size) {
  if (size == 0) return;
  const int head = snprintf(text, size, "%s:", tag);
  if (head < 0 || static_cast<size_t>(head) >= size) return;

  // What fits in base64, four characters for three bytes, beside the NUL.
  const size_t room = size - static_cast<size_t>(head);
  const size_t most = (room - 1) / 4 * 3;
  char frames[kMostText];
  const size_t length = DescribeFrames(backtrace, frames, std::min(sizeof frames, most + 1));
  size_t written = 0;
  Base64_Encode(reinterpret_cast<const unsigned char*>(frames), length, text + head, room, &written);
}

}  // namespace HaldenLib
