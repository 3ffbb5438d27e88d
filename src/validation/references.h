#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>

#include "objects/schema_node.h"

/// References: leaves whose text must be found elsewhere in the same data.

namespace OrvoConfigStore {

/// The texts found in the data, by the path of their leaves.
using ReferenceValues = std::map<std::string, std::set<std::string, std::less<>>, std::less<>>;

/// Collects the texts at every path that a "reference" names. Only nodes that
/// describe something in `data` are asked for references. A leaf at such a path
/// that is no string adds nothing.
ReferenceValues CollectReferenceValues(SchemaNode& schema, const JsonValue& data);

}  // namespace OrvoConfigStore
