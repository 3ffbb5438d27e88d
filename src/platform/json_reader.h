#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "platform/rapidjson.h"

/// From text to JSON document and back.

namespace OrvoConfigStore {

/// Bounds of what is read and written as one object.
constexpr size_t kMaxJsonBytes = size_t{16} << 20;
constexpr int kMaxJsonDepth = 512;
/// What stands around an object in a document: the document itself, its components,
/// component, group and array of instances.
constexpr int kDocumentLevels = 5;

/// A document and the allocator it draws from, which outlives it.
struct JsonStorage {
  JsonAllocator allocator;
  JsonDocument document;

  /// Sizes the first pool chunk for a text of `textLength` bytes.
  explicit JsonStorage(size_t textLength = 0);
  /// Draws from `room` first, which stays the owner's.
  JsonStorage(void* room, size_t bytes, size_t textLength);
};

/// Returns an empty document for a text of `textLength` bytes, in one piece with the
/// memory that it will take if that is little.
std::shared_ptr<JsonStorage> NewStorage(size_t textLength);

/// A deep copy of `value`, as the root of a document of its own.
std::shared_ptr<JsonStorage> CopyToStorage(const JsonValue& value);

/// Why a text was refused.
struct JsonReadFailure {
  size_t offset = 0;  ///< byte at which reading stopped
  const char* reason = "";
};

/// Parses `text` into `document`; false, with the document null, when it is not
/// one JSON value of at most `levels` levels. Numbers are exact: an integer that
/// fits 64 bits stays one, every other number is the nearest double, and one
/// that is not finite is refused, as is a raw NUL.
bool ReadJson(std::string_view text, JsonDocument& document, JsonReadFailure* failure, int levels = kMaxJsonDepth);

/// Appends `value` as compact text to `out`; false, with `out` as it was, when
/// it holds a number that is not finite or nests deeper than can be read back.
/// `depth` objects and arrays are open around it.
bool WriteJson(const JsonValue& value, std::string& out, int depth = 0);

/// Appends `text` in quotes, with what JSON demands escaped.
void WriteJsonText(std::string_view text, std::string& out);

}  // namespace OrvoConfigStore
