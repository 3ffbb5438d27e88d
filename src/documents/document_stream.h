#pragma once

#include <memory>

#include "configstore/documents.h"
#include "platform/rapidjson.h"

namespace OrvoConfigStore {

/// Writes a document object by object.
class DocumentStream {
 public:
  /// Returns a stream into `sink`, which must outlive it.
  static std::unique_ptr<DocumentStream> Make(const DocumentSink& sink, DOCUMENT_LAYOUT layout);
  virtual ~DocumentStream() = default;

  /// Writes the next object. They come sorted by component, group, key and
  /// instance; a type has one object when it is a singleton. Throws
  /// ConfigStoreException(2000, "Invalid JSON") when the data has no text.
  virtual void Add(const ConfigStoreObjectId& id, bool isSingleton, const JsonValue& data) = 0;
  /// Writes what is left.
  virtual void Finish() = 0;
};

/// Applies `secrets` to the data of an object; `node` is the schema of one.
void ApplySecrets(EXPORT_SECRETS secrets, JsonValue& data, const JsonValue& node);

}  // namespace OrvoConfigStore
