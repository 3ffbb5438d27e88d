#pragma once

#include <memory>
#include <string>
#include <vector>

#include "configstore/config_store_object.h"
#include "configstore/errors.h"
#include "platform/json_reader.h"
#include "validation/document_rules.h"
#include "validation/walk.h"

/// A document as import, staging and diagnostics take it: parsed, its types found.

namespace OrvoConfigStore {

using ObjectList = std::vector<std::shared_ptr<ConfigStoreObject>>;

/// What a document holds of one registered type.
struct TypeEntry {
  ConfigStoreObjectId type;
  std::shared_ptr<SchemaObject> schema;
  JsonValue* value;  ///< in the document, of any JSON type

  /// Returns its place, "/components/netd/ipstack/stack_settings".
  std::string Path() const;
};

struct ParsedDocument {
  std::shared_ptr<JsonStorage> storage;
  SchemaMap schemas;
  std::vector<TypeEntry> entries;  ///< of the types that are registered, in the order of the document
};

/// Returns the JSON of a text, in which objects may be as deep as the store holds
/// them; null, with the reason, when it has none.
std::shared_ptr<JsonStorage> ReadDocumentText(const std::string& text, JsonReadFailure* failure);

/// Finds the types of a document. Throws "Invalid JSON" without an object "components".
void FindTypes(ParsedDocument& document);

/// Both. Throws InvalidArgumentException(1080) when the text is not JSON.
ParsedDocument ParseDocument(const std::string& text);

/// Tells `listener` what the validator does not see: a null in the place of a
/// component, a group, a type or an instance, a type that comes twice, and a member
/// of an object that does.
void FindNullsAndRepeats(const ParsedDocument& document, const FindingListener& listener);

/// Returns a listener that appends what it hears to `errors`.
FindingListener AppendTo(std::vector<ErrorInfo>& errors);

/// Calls visit(data) for the object of an entry, or for each of its elements.
template <class Visit>
void ForEachObject(const TypeEntry& entry, Visit visit) {
  if (!entry.value->IsArray()) return visit(*entry.value);
  for (JsonValue& element : entry.value->GetArray()) visit(element);
}

/// Gives the objects of an entry, an array of objects, the generated identifier that
/// they lack, where the store names instances.
void NameInstances(const TypeEntry& entry, JsonAllocator& allocator);

/// Returns the identifier of an object of the entry. The instance is empty when
/// `data` has no text in the member that names it, and for a singleton.
ConfigStoreObjectId IdOf(const TypeEntry& entry, const JsonValue& data);

/// Returns an object over a copy of `data`, an object of the entry.
std::shared_ptr<ConfigStoreObject> MakeObject(const TypeEntry& entry, const ConfigStoreObjectId& id,
                                              const JsonValue& data);

/// Tells `listener` what keeps the objects of an entry from being stored beside what
/// the validator sees: a name that no object can have, or that two have.
void CheckNames(const TypeEntry& entry, const FindingListener& listener);

}  // namespace OrvoConfigStore
