#pragma once

#include <string>
#include <vector>

#include "configstore/export.h"
#include "configstore/object_id.h"

/// Changing single fields in the JSON text of an object. Nothing here reads or
/// writes the store.

namespace OrvoConfigStore {

/// One change of a field.
struct FieldEdit {
  enum Kind {
    SET_WORD,  ///< to `value`, a plain word that the field's type says how to read
    SET_JSON,  ///< to `value`, JSON text
    UNSET,     ///< away; an array of instances that is then empty goes too
  };
  Kind kind = SET_WORD;
  std::string path;   ///< as in FieldOrigin; the first "/" may be left out
  std::string value;  ///< of a list of scalars the words between commas, of a boolean "true" or "false"
};

/// Returns `json`, an object of the type of `id`, after the edits, in order. What
/// is missing on the way to a field that is set is made, instances included. The
/// result is not validated. Throws ValidationException(2000) with every edit that
/// cannot be made, InvalidArgumentException(1031) when a field to unset is absent
/// and (1080) when `json` is no JSON object.
CONFIGSTORE_API std::string EditFields(const ConfigStoreObjectId& id, const std::string& json,
                                       const std::vector<FieldEdit>& edits);

/// Returns `json` with each masked secret replaced by that of the same place in
/// `stored`; a mask with nothing behind it stays. Throws
/// InvalidArgumentException(1080) when one of them is no JSON object.
CONFIGSTORE_API std::string UnmaskSecrets(const ConfigStoreObjectId& id, const std::string& json,
                                          const std::string& stored);

}  // namespace OrvoConfigStore
