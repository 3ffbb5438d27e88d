#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdlib>
#include <memory>

/// Small services of the host's utility library. Buffers that are handed out
/// are freed by the caller with free().

namespace HaldenLib {

/// Owns such a buffer.
struct FreeBuffer {
  void operator()(char* buffer) const { std::free(buffer); }
};
using HeapText = std::unique_ptr<char, FreeBuffer>;

/// Formats printf style into a new buffer; null when memory is short or the
/// format is bad. `length` (may be null) gets the number of characters.
char* Str_Vasprintf(size_t* length, const char* format, va_list arguments);

/// Returns the characters, with the ending NUL, that coding `length` bytes takes.
size_t Base64_EncodedLength(const unsigned char* data, size_t length);
/// Codes into `text` (of `size` characters) with padding and an ending NUL;
/// `written` gets the characters without it. False when `size` is too small.
bool Base64_Encode(const unsigned char* data, size_t length, char* text, size_t size, size_t* written);
/// Returns the bytes that decoding `length` characters takes at most.
size_t Base64_DecodedLength(const char* text, size_t length);
/// Decodes padded base64 without blanks; false for any other text or when
/// `size` is too small.
bool Base64_Decode(const char* text, size_t length, unsigned char* data, size_t size, size_t* written);

/// Returns a new random UUID in lower-case text form, or null when the host has
/// no randomness to give.
char* UUID_CreateRandom();

/// The calling thread's return addresses, innermost first.
struct FastBacktrace {
  static constexpr int kMost = 15;
  void* frames[kMost];
  int count = 0;
};
/// Captures at most `most` frames, leaving out the innermost `skip`; the first
/// frame is that of this function itself.
void CoreDump_CaptureFastBacktrace(FastBacktrace* backtrace, int skip, int most);
/// Writes "TAG:" and the base64 text of the frames, "MODULE+0xADDRESS" with
/// blanks between, into `text`. Frames that do not fit into `size` whole are
/// left out. Addresses are relative to their modules, as `addr2line -e` takes them.
void CoreDump_Base64BacktraceFormat(const FastBacktrace& backtrace, const char* tag, char* text, size_t size);

}  // namespace HaldenLib
