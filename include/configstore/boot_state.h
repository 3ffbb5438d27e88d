#pragma once

#include <memory>
#include <string>
#include <vector>

#include "configstore/export.h"
#include "configstore/object_id.h"

/// The store's own state, and the life of a user value from staging to
/// confirmation.
///
/// A value is staged with SetDesiredUserConfig, and SetBootMode(BOOTMODE_APPLY)
/// has the next load put all staged values in force. A load leaves what it has
/// put in force unconfirmed, and an unconfirmed user value is not read. The
/// owner of the object takes the value up and confirms it with SetBootStatus, or
/// confirms the part that it could apply with SetPartialBootStatus.

namespace OrvoConfigStore {

class ConfigStoreObject;
class FilterSpecObject;

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

/// With `success`, confirms the pending value of an object, of all instances of a
/// type when `id` names none: the desired value, if there is one, becomes the user
/// value, and that is read from now on. Without, nothing is changed. An object
/// that is not stored is no error. Does nothing while the host's feature
/// "ConfigStore" is off. Throws ConfigStoreException(2000) when the store cannot
/// be written.
CONFIGSTORE_API void SetBootStatus(const ConfigStoreObjectId& id, bool success);

/// Confirms the part `object` of a pending value: the user value becomes what was
/// confirmed before with the part merged in, and is read from now on. What was
/// pending stays desired, unless that is the whole of it, and is tried again at
/// the next load. A masked secret stands for the pending one. Does nothing for an
/// object that is not stored, nor while the feature "ConfigStore" is off.
/// Throws ValidationException(1088) with every violation, and as ConfigStore::Get
/// does; nothing is written then.
CONFIGSTORE_API void SetPartialBootStatus(std::shared_ptr<ConfigStoreObject> object);

/// Stages user values for the next boot, in place of all that were staged before.
/// Nested elements that lack a generated identifier are given one, in `objects`;
/// a masked secret stands for the one that is desired, staged or stored.
/// Throws InvalidArgumentException(2000) for an empty list, ValidationException
/// (1087 or, for an unsuitable identifier, 2000) and ConfigStoreException(2000)
/// when the store cannot be written; what was staged before then stays.
CONFIGSTORE_API void SetDesiredUserConfig(std::vector<std::shared_ptr<ConfigStoreObject>> objects);

/// Returns the value that is pending for an object: its desired value or, while
/// it is unconfirmed, its user value; otherwise the staged one, or an empty
/// pointer. Throws as ConfigStore::Get does.
CONFIGSTORE_API std::shared_ptr<ConfigStoreObject> GetDesiredUserConfig(const ConfigStoreObjectId& id);

/// Returns the same of all instances that match.
CONFIGSTORE_API std::vector<std::shared_ptr<ConfigStoreObject>> GetDesiredUserConfigInstances(
    const std::shared_ptr<FilterSpecObject>& filter);

/// Returns the staged objects. Throws ConfigStoreException(2000) when the store
/// cannot be read.
CONFIGSTORE_API std::vector<std::shared_ptr<ConfigStoreObject>> ListStagedConfig();

/// Forgets the staged objects; what the next boot does is not changed. Throws ConfigStoreException(2000) when the store
/// cannot be written.
CONFIGSTORE_API void DropStagedConfig();

}  // namespace OrvoConfigStore
