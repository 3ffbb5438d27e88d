#pragma once

#include <string>
#include <unordered_set>

#include "configstore/json_types.h"
#include "objects/schema_node.h"
#include "validation/error_report.h"
#include "validation/references.h"
#include "validation/walk.h"

namespace OrvoConfigStore {

/// Walks one node of schema and data and appends what is wrong to `errors`, an
/// array. `referenceValues` and `optionTagNames` are those of the whole data and
/// schema; `layerFlag` says that the node lies in a vital or cached subtree;
/// `allocator` is the data's, which check 6 changes. The result says whether the
/// node and all below it hold; a marker that user data may not have, and a member
/// that is not allowed, are errors but do not count in it.
bool ValidateNode(const JsonValue& schemaNode, JsonAllocator& allocator, const JsonValue& dataNode,
                  const ReferenceValues& referenceValues, const std::string& path, JsonDocument& errors,
                  const std::unordered_set<int>& checks, const OptionTagNames& optionTagNames, bool layerFlag);

/// Validates `data` thoroughly and hands each violation to `listener`, that of a
/// validation and what lies behind it; logs nothing. Otherwise as ValidateJsonInternal.
void VisitViolations(const JsonValue& schema, const JsonValue& data, const CheckSelection& checks,
                     JsonAllocator& allocator, const FindingListener& listener);

}  // namespace OrvoConfigStore
