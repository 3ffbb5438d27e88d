#pragma once

#include "platform/rapidjson.h"

namespace OrvoConfigStore {

/// Gives each nested element that lacks it a "cs_generated_id", where that is
/// the identifier of its array: without one it could be stored but never merged
/// again. `node` is the schema node of `data`; what it does not describe is left.
void AssignNestedIds(JsonValue& data, const JsonValue& node, JsonAllocator& allocator);

}  // namespace OrvoConfigStore
