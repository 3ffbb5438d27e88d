#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "configstore/config_store_object.h"
#include "objects/schema_node.h"
#include "platform/schema_store.h"

/// Splitting an object into layers by the categories of its schema.
///
/// A property marked "vital" is vital data, one marked "cached" cached data, any
/// other user data; the one that identifies an instance belongs to all three.

namespace OrvoConfigStore {

using OrvoSchemaStore::SchemaObject;

enum class Category { User, Vital, Cached };

/// The texts of an object's layers; an empty one holds nothing.
struct LayerValues {
  std::string autoConf;
  std::string user;
  std::string vital;
  std::string cached;
};

/// Splits `object`; its user part becomes the automatic layer in context 1, the
/// user layer in context 0, and neither in any other.
/// Throws ConfigStoreException(2000) for a field that the schema does not know.
LayerValues BuildLayerValues(const ConfigStoreObject& object, const SchemaObject& schema, uint32_t context);

/// Splits `object` for a write by context: its parts are `user`, `vital` and
/// `cached`, whichever layer the user part then goes to. Throws as above.
LayerValues BuildContextValues(const ConfigStoreObject& object, const SchemaObject& schema);

/// Returns the text of `data` pruned to one category, empty when nothing of it
/// belongs there. `node` is the schema node of `data`.
std::string CategoryText(const JsonValue& data, SchemaNode& node, Category category);

/// The same as a document; an empty pointer when nothing belongs there.
std::shared_ptr<JsonStorage> ExtractCategory(const JsonValue& data, SchemaNode& node, Category category);

/// Appends the text of `value`, pruned to the category, and returns whether it
/// belongs there at all; `text` is as it was when not.
/// 1. The marked identifier is kept.
/// 2. "user" drops what is marked vital or cached; another category keeps whole
///    what carries its mark. Deliberate: the mark counts whatever its value.
/// 3. An object keeps the members that are kept; without any it is dropped, and
///    so is one that holds only its identifier, but for "user".
/// 4. An array of objects keeps the elements that are kept; an empty one is dropped.
/// 5. Anything else is user data.
/// Throws ConfigStoreException(2000) for a field that the schema does not know.
bool KeepForCategory(const JsonValue& value, SchemaNode& node, Category category, std::string& text);

/// Whether the object's data holds anything of the user category.
bool isUserType(const ConfigStoreObject& object, const SchemaObject& schema);

}  // namespace OrvoConfigStore
