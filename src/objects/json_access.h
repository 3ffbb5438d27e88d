#pragma once

#include <memory>
#include <string>

#include "configstore/json_document.h"
#include "platform/json_reader.h"
#include "platform/json_values.h"

/// Documents from storage, and instances in arrays; for this layer and those above.

namespace OrvoConfigStore {

/// Returns the index of the first element whose member `idKey` is `instanceId`,
/// or -1. Throws "Invalid JSON" when an element before it has no such string.
int FindInstanceIndex(const JsonValue& elements, const std::string& idKey, const std::string& instanceId);

/// Returns a handle to the whole of `storage`, which it keeps alive.
std::shared_ptr<JsonDoc> DocOver(std::shared_ptr<JsonStorage> storage);

/// Returns a new document sized for a text of `textLength` bytes, its root null.
std::shared_ptr<JsonDoc> NewDocument(size_t textLength);

}  // namespace OrvoConfigStore
