#pragma once

#include "platform/rapidjson.h"

namespace OrvoConfigStore {

/// Returns the name of a member that an earlier one of its object has too, in
/// `value` or below; null when there is none. Which of the two counts would depend
/// on who reads them.
const JsonValue* FindRepeatedName(const JsonValue& value);

}  // namespace OrvoConfigStore
