#pragma once

#include <string>

#include "configstore/json_types.h"

namespace OrvoConfigStore {

/// Returns what a schema node allows, its type first: "integer, from 576 to 9000".
std::string DescribeRules(const JsonValue& node);

}  // namespace OrvoConfigStore
