#pragma once

#include <optional>
#include <string>

#include "configstore/export.h"
#include "configstore/object_id.h"

/// Looking at what is stored, for tools. Nothing here changes the store.

namespace OrvoConfigStore {

/// One row as it is stored. A layer that is not set is empty.
struct StoredRow {
  std::optional<std::string> autoConfValue;
  std::optional<std::string> userValue;
  std::optional<std::string> vitalValue;
  std::optional<std::string> cachedValue;
  std::optional<std::string> desiredValue;
  std::string version;
  std::string creationTime;  ///< "YYYY-MM-DD hh:mm:ss", UTC
  std::string modifiedTime;  ///< likewise
  bool confirmed = true;     ///< the success flag: an unconfirmed user value is not read
};

/// Returns the row of `id`, or nothing when there is none. Throws as
/// ConfigStore::Get does; values are not looked into, so damaged ones show.
CONFIGSTORE_API std::optional<StoredRow> ReadStoredRow(const ConfigStoreObjectId& id);

/// Stands for a secret in everything that is shown. Written back, it means
/// "keep what is stored"; it is never stored itself.
extern CONFIGSTORE_API const char kSecretMask[];

/// Returns `json`, the data of an object of the type of `id`, with every secret
/// replaced by the mask. A text that is no JSON object gives the mask alone when
/// the type has secrets, else the text. Throws ValidationException(2000) when
/// the type is unknown.
CONFIGSTORE_API std::string MaskSecrets(const ConfigStoreObjectId& id, const std::string& json);

}  // namespace OrvoConfigStore
