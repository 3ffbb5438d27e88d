#pragma once

#include <string>

#include "configstore/export.h"

namespace OrvoConfigStore {

/// What the next boot does with the staged configuration.
enum BOOTMODE {
  BOOTMODE_NORMAL = 0,
  BOOTMODE_APPLY = 1,  ///< applies it
};

/// Stores one of the store's own values under `key`: "IS_BOOT", "APPLY_BOOT" or
/// "BACKUP_FILES". A failure is not reported.
CONFIGSTORE_API void SetKV(const std::string& key, const std::string& value);

/// Returns the value under `key`, empty when it has none. Throws
/// ConfigStoreException(2000, "GetKV Failed") when it cannot be read.
CONFIGSTORE_API std::string GetKV(const std::string& key);

/// Chooses what the next boot does. Without a store this is logged and ignored.
CONFIGSTORE_API void SetBootMode(BOOTMODE mode);

/// Whether the next boot applies the staged configuration. Throws as GetKV does.
CONFIGSTORE_API bool GetNextBootMode();

/// Whether the host is in its boot phase. Throws as GetKV does.
CONFIGSTORE_API bool IsBoot();

}  // namespace OrvoConfigStore
