#pragma once

#include <vector>

#include "configstore/rehearsal.h"
#include "platform/schema_store.h"

namespace OrvoConfigStore {

/// As CompareFields, of two JSON objects; without a schema every field is a secret.
std::vector<FieldChange> CompareFieldsOf(const OrvoSchemaStore::SchemaObject* schema, const JsonValue& before,
                                         const JsonValue& after);

}  // namespace OrvoConfigStore
