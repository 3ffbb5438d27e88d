#pragma once

#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "configstore/config_store_object.h"
#include "configstore/context.h"
#include "configstore/errors.h"
#include "configstore/export.h"
#include "configstore/json_types.h"

namespace OrvoConfigStore {

/// Selects what a validation looks at. An empty selection means the default
/// checks, marked (d).
enum VALIDATION_CHECK : int {
  CHECK_ADDITIONAL_PROPERTIES = 0,    ///< (d) members that "additionalProperties": false forbids
  CHECK_SCALAR_TYPES = 1,             ///< (d) types and bounds of scalars
  CHECK_REFERENCES = 2,               ///< "reference" leaves name a value found in the data
  CHECK_NON_USER_MARKERS = 3,         ///< no property marked "vital" or "cached"
  CHECK_REQUIRED = 4,                 ///< required members, by the rule that 3 and 5 choose
  CHECK_VITAL_ONLY = 5,               ///< every leaf is vital
  CHECK_ASSIGN_GENERATED_ID = 6,      ///< gives objects the "cs_generated_id" that they lack
  CHECK_REQUIRED_NON_LAYERED = 7,     ///< required members but vital, cached and store-specific ones
  CHECK_OPTION_DEPENDENCY = 8,        ///< union tags
  CHECK_CACHED_ONLY = 9,              ///< every leaf is cached
  CHECK_GENERATED_ID_DUPLICATES = 10  ///< generated identifiers are unique, too
};

/// Validates `data` against `schema` and sets `errors` to an array with an object
/// {"value", "field", "error"} per violation; empty means valid. At most 250,000
/// are listed, and a "value" is null where the copies would grow too large.
/// `allocator` is that of the document that holds `data`, which check 6 changes.
/// Throws ConfigStoreException(2000, "Invalid JSON") when the schema is unusable.
CONFIGSTORE_API void ValidateJsonInternal(const JsonValue& schema, const JsonValue& data, JsonDocument& errors,
                                          const std::unordered_set<int>& checks, JsonAllocator& allocator);

/// As above for a whole document.
CONFIGSTORE_API void ValidateJsonInternal(const JsonValue& schema, const JsonDocument& data, JsonDocument& errors,
                                          const std::unordered_set<int>& checks);

/// As above for texts. Throws InvalidArgumentException(1080) when one is not JSON.
CONFIGSTORE_API void ValidateJson(const std::string& schemaText, const std::string& dataText, JsonDocument& errors,
                                  const std::unordered_set<int>& checks);

/// As ValidateJson; returns the array as JSON text, "[]" when the data is valid.
CONFIGSTORE_API std::string ValidateJsonStr(const std::string& schemaText, const std::string& dataText,
                                            const std::unordered_set<int>& checks);

/// Returns what ConfigStore::Set would refuse `object` for; empty means nothing.
/// Nothing is written, and what Set would complete is not looked into: generated
/// identifiers, and masks that stand for stored secrets. Throws
/// ValidationException(2000) as Set does when the type is unknown or the identifier
/// does not fit it, and InvalidTypeException(1030) when the data is no JSON object.
CONFIGSTORE_API std::vector<ErrorInfo> CheckObject(const std::shared_ptr<ConfigStoreObject>& object,
                                                   const USERDATA_CONTEXT& context);

}  // namespace OrvoConfigStore
