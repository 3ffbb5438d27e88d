#pragma once

#include <string>

#include "platform/rapidjson.h"

namespace OrvoConfigStore {

/// Returns the name of a member that an earlier one of its object has too, in
/// `value` or below; null when there is none. Which of the two counts would depend
/// on who reads them. `pointer` (may be null) gets its place in `value`, "/a/0/b".
const JsonValue* FindRepeatedName(const JsonValue& value, std::string* pointer = nullptr);

}  // namespace OrvoConfigStore
