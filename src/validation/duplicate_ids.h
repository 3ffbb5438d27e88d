#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "configstore/json_types.h"

namespace OrvoConfigStore {

/// An element of an array whose identifier an element before it has, too.
struct DuplicateId {
  const JsonValue* element;
  std::string identifier;  ///< as text
};

/// Returns the first element of `array` whose member `idKey` repeats an earlier
/// one's. `type` is the identifier's type in the schema; of a type that cannot
/// identify there are no duplicates. Elements without an identifier of that type
/// are passed over.
std::optional<DuplicateId> FindDuplicateId(const JsonValue& array, std::string_view idKey, std::string_view type);

}  // namespace OrvoConfigStore
