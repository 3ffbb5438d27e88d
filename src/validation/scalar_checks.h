#pragma once

#include <string>
#include <string_view>

#include "validation/schema_node.h"

namespace OrvoConfigStore {

/// Checks a value against the scalar type `type` and the bounds that `schema`
/// sets. Returns the text of the first rule that it breaks, or an empty text;
/// a type that is not scalar, or unknown, asks for nothing.
std::string BrokenScalarRule(std::string_view type, SchemaNode& schema, const JsonValue& value);

}  // namespace OrvoConfigStore
