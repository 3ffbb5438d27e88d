#pragma once

/// The only door to RapidJSON.
///
/// Misuse of a JSON value throws instead of ending the process, also inside
/// functions that the library would declare noexcept. Memory comes from a heap
/// that throws std::bad_alloc, where the library's own hands out null. That heap
/// is a type of ours and part of every JSON type's name, so that a client that
/// uses RapidJSON in its own way shares no instantiation with us.

#include <cstddef>
#include <cstdlib>
#include <new>

#include "platform/failure.h"

namespace OrvoConfigStore {

/// A RapidJSON allocator that never hands out null for a request.
class JsonHeap {
 public:
  static const bool kNeedFree = true;
  void* Malloc(size_t size) { return size == 0 ? nullptr : Checked(std::malloc(size)); }
  void* Realloc(void* original, size_t, size_t size) {
    if (size != 0) return Checked(std::realloc(original, size));
    std::free(original);
    return nullptr;
  }
  static void Free(void* memory) { std::free(memory); }

 private:
  static void* Checked(void* memory) {
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
  }
};

}  // namespace OrvoConfigStore

#define RAPIDJSON_ASSERT(condition) \
  (static_cast<bool>(condition) ? static_cast<void>(0) : ::OrvoConfigStore::ThrowInvalidJson())
#define RAPIDJSON_HAS_CXX11_NOEXCEPT 0
#define RAPIDJSON_HAS_STDSTRING 0

#include <rapidjson/document.h>
#include <rapidjson/reader.h>
#include <rapidjson/writer.h>

#include "configstore/json_types.h"
