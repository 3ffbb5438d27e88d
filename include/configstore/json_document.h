#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "configstore/export.h"
#include "configstore/json_types.h"

namespace OrvoConfigStore {

class BaseObject;

/// One step from a document's root down to a nested object.
struct JsonNode {
  std::string name;     ///< member to step into
  std::string idKey;    ///< when that member is an array: the member that identifies an element
  std::string idValue;  ///< and the value that the wanted element has there
  /// Where that element was found last, which is looked at first: all the instances
  /// of a large array can be visited without searching it for each.
  mutable uint32_t place = 0;
};

/// A shared handle to one parsed document and a place in it. Handles that share
/// a document see each other's changes. Not locked: one thread at a time.
class CONFIGSTORE_API JsonDoc {
 public:
  std::vector<JsonNode> path;  ///< empty for the whole document
  std::shared_ptr<JsonDocument> document;
  std::shared_ptr<JsonAllocator> allocator;  ///< every value added comes from here

  JsonDoc(std::shared_ptr<JsonDocument> document, std::shared_ptr<JsonAllocator> allocator, std::vector<JsonNode> path);
  ~JsonDoc();
  JsonDoc(const JsonDoc&) = default;
  JsonDoc& operator=(const JsonDoc&) = default;

  /// Returns the value that the path leads to, found afresh at each call; it
  /// stays valid until the document changes. Throws ConfigStoreException(2000)
  /// when a step leads nowhere.
  JsonValue* GetJsonValuePtr();
  const JsonValue* GetJsonValuePtr() const;
};

/// Returns a new document, its root null.
CONFIGSTORE_API std::shared_ptr<JsonDoc> CreateDocument();

/// Parses `text`, one JSON value of at most 16 MiB and 512 levels.
/// Throws InvalidArgumentException(1080) when it is none.
CONFIGSTORE_API std::shared_ptr<JsonDoc> CreateDocumentFromString(const std::string& text);

/// Parses the content of the file at `path`, as above.
/// Throws InvalidArgumentException(1081), also when it cannot be read.
CONFIGSTORE_API std::shared_ptr<JsonDoc> CreateDocumentFromFile(const std::string& path);

/// Writes `value` as compact JSON text into `out`, replacing what it held.
/// Throws ConfigStoreException(2000) when the value has no JSON text (a number
/// that is not finite, more than 512 levels); `out` is then empty.
CONFIGSTORE_API void SerializeValue(const JsonValue& value, std::string& out);

/// Returns the document of `object`.
CONFIGSTORE_API std::shared_ptr<JsonDoc> GetJsonDocPtrEx(BaseObject* object);

/// Returns the member `key` of `object` or of its defaults, or null.
CONFIGSTORE_API const JsonValue* GetValuePtrDefaultEx(BaseObject* object, const std::string& key);

/// Whether `s` ends with `suffix`.
CONFIGSTORE_API bool endsWith(const std::string& s, const std::string& suffix);

/// Stores the base64 text of `length` bytes in `out`; false when coding fails.
CONFIGSTORE_API bool EncodeBinary(const unsigned char* data, unsigned long length, std::string& out);

/// Decodes a base64 text into a buffer that the caller frees with delete[].
/// Returns false, and hands out nothing, when the text is not base64.
CONFIGSTORE_API bool DecodeBinary(std::string& text, unsigned char** data, unsigned long* length);

}  // namespace OrvoConfigStore
