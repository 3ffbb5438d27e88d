#pragma once

#include <string>

#include "objects/schema_node.h"

namespace OrvoConfigStore {

/// Checks a value against the scalar type `type` and the bounds that `schema`
/// sets. Returns the text of the first rule that it breaks, or an empty text;
/// a type that is not scalar, or unknown, asks for nothing.
std::string BrokenScalarRule(SchemaType type, SchemaNode& schema, const JsonValue& value);

}  // namespace OrvoConfigStore
