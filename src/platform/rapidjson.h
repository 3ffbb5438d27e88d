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
#include <utility>

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

/// What RapidJSON deep-copies an object or array by way of. Its own has its stack in
/// memory that the library does not check.
template <>
class rapidjson::GenericDocument<rapidjson::UTF8<char>, OrvoConfigStore::JsonAllocator, rapidjson::CrtAllocator> {
  using Value = OrvoConfigStore::JsonValue;

 public:
  explicit GenericDocument(OrvoConfigStore::JsonAllocator* allocator)
      : stack_(Heap(), kStack), allocator_(*allocator) {}

  // The functions that the source calls, value by value.
  bool Null() { return Push(); }
  bool Bool(bool value) { return Push(value); }
  bool Int(int value) { return Push(value); }
  bool Uint(unsigned value) { return Push(value); }
  bool Int64(int64_t value) { return Push(value); }
  bool Uint64(uint64_t value) { return Push(value); }
  bool Double(double value) { return Push(value); }
  bool Key(const char* text, SizeType length, bool copy) { return String(text, length, copy); }
  bool String(const char* text, SizeType length, bool copy) {
    return copy ? Push(text, length, allocator_) : Push(text, length);
  }
  bool StartObject() { return Push(kObjectType); }
  bool EndObject(SizeType count) {
    typename Value::Member* const members = stack_.Pop<Value::Member>(count);
    stack_.Top<Value>()->SetObjectRaw(members, count, allocator_);
    return true;
  }
  bool StartArray() { return Push(kArrayType); }
  bool EndArray(SizeType count) {
    Value* const elements = stack_.Pop<Value>(count);
    stack_.Top<Value>()->SetArrayRaw(elements, count, allocator_);
    return true;
  }

 private:
  template <typename, typename>
  friend class GenericValue;  // takes the copy from the stack

  static constexpr size_t kStack = 1024;

  static OrvoConfigStore::JsonHeap* Heap() {
    static OrvoConfigStore::JsonHeap heap;
    return &heap;
  }

  template <class... Parts>
  bool Push(Parts&&... parts) {
    new (stack_.Push<Value>()) Value(std::forward<Parts>(parts)...);
    return true;
  }

  internal::Stack<OrvoConfigStore::JsonHeap> stack_;
  OrvoConfigStore::JsonAllocator& allocator_;
};
