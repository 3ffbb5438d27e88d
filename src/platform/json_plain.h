#pragma once

#include <string_view>

#include "platform/rapidjson.h"

namespace OrvoConfigStore {

/// The quick reader: takes the plain texts that stores hold, and knows no reasons.
///
/// Feeds `document` with the values of `text`, as the full reader would, and
/// returns true. Gives up, returning false, at an escape sequence, an integer of
/// more than 18 digits, a number that rounds to zero or infinity, deep nesting,
/// and at anything that is no JSON: the full reader then decides. To be called
/// inside JsonDocument::Populate.
bool ReadPlainJson(std::string_view text, JsonDocument& document);

}  // namespace OrvoConfigStore
