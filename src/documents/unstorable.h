#pragma once

#include <string>

#include "platform/rapidjson.h"
#include "validation/walk.h"

/// What a validation lets pass and a write then refuses.

namespace OrvoConfigStore {

/// Tells `listener` of the members of `data` that its schema `node` allows and does
/// not describe, and of the objects none of whose members it describes: they belong
/// to no layer. `path` is that of `data`.
void FindUndescribed(const JsonValue& data, const JsonValue& node, const std::string& path,
                     const FindingListener& listener);

/// Tells `listener` of the first member, at or below `data`, whose name an earlier
/// one of its object has too. `path` is told as its place.
void FindRepeat(const JsonValue& data, const std::string& path, const FindingListener& listener);

}  // namespace OrvoConfigStore
