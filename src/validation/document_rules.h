#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "configstore/config_store_object.h"
#include "configstore/errors.h"
#include "configstore/object_id.h"
#include "platform/json_reader.h"
#include "platform/json_values.h"
#include "platform/schema_store.h"

/// Validation of whole documents,
/// {"components": {COMPONENT: {GROUP: {KEY: object, or array of objects}}}}.
///
/// All throw ConfigStoreException(2000, "Invalid JSON") for a document without an
/// object "components".

namespace OrvoConfigStore {

using OrvoSchemaStore::SchemaObject;

/// The schemas of types, by identifiers without an instance.
using SchemaMap = std::unordered_map<ConfigStoreObjectId, std::shared_ptr<SchemaObject>>;

/// Returns the "components" of a document.
const JsonValue& ComponentsOf(const JsonValue& document);

/// Calls visit(type, value) for each type that a document names, in its order;
/// what is no object where one must be is passed over.
template <class Visit>
void ForEachType(const JsonValue& document, Visit visit) {
  for (const auto& component : ComponentsOf(document).GetObject()) {
    if (!component.value.IsObject()) continue;
    for (const auto& group : component.value.GetObject()) {
      if (!group.value.IsObject()) continue;
      for (const auto& type : group.value.GetObject()) {
        visit(ConfigStoreObjectId(std::string(TextOf(type.name)), std::string(TextOf(group.name)),
                                  std::string(TextOf(component.name))),
              type.value);
      }
    }
  }
}

/// Returns the schemas of the types that a document names, those that are registered.
SchemaMap LookUpSchemas(const JsonValue& document);

/// What a document's schema says of the objects in it.
enum class TypeNodes {
  Whole,  ///< what their types' schemas say
  Shape,  ///< that they are objects, or arrays of objects
};

/// Returns the schema of a document: a node for each component and each group that
/// it names, and in it one for each of its types that is in `schemas`. Nothing else
/// is allowed.
std::shared_ptr<JsonStorage> AssembleDocumentSchema(const JsonValue& document, const SchemaMap& schemas,
                                                    TypeNodes nodes = TypeNodes::Whole);

/// Validates a document that is to be imported, appends what is wrong to `errors`
/// and returns whether nothing was. Gives objects the generated identifier that
/// they lack.
bool ValidateImportDocument(const JsonDocument& document, const SchemaMap& schemas, std::vector<ErrorInfo>& errors);

/// The same for a document of user configuration, with the registered schemas.
bool ValidateDocument(std::shared_ptr<ConfigStoreObject> document, std::vector<ErrorInfo>& errors);

}  // namespace OrvoConfigStore
