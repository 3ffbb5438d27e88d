#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "configstore/export.h"

namespace OrvoConfigStore {

/// Names a configuration object: its type (component, group, key) and, for a
/// type with several instances, the instance. All parts are byte strings
/// compared exactly; a part holds at most 255 bytes to be stored.
class CONFIGSTORE_API ConfigStoreObjectId {
 public:
  std::string key;
  std::string component;
  std::string group;
  std::string instanceId;  ///< empty for a singleton, or for the type as a whole

  /// Deliberate: the arguments come key, group, component, unlike the members.
  ConfigStoreObjectId(const std::string& key, const std::string& group, const std::string& component);
  ConfigStoreObjectId(const std::string& key, const std::string& group, const std::string& component,
                      const std::string& instanceId);
  ConfigStoreObjectId(const char* key, const char* group, const char* component);
  ConfigStoreObjectId(const char* key, const char* group, const char* component, const char* instanceId);
  ConfigStoreObjectId(const ConfigStoreObjectId& other);
  ConfigStoreObjectId(ConfigStoreObjectId&& other) = default;
  ConfigStoreObjectId& operator=(const ConfigStoreObjectId& other) = default;
  ConfigStoreObjectId& operator=(ConfigStoreObjectId&& other) = default;
  ~ConfigStoreObjectId() = default;

  /// Returns "component C group G key K", followed by " instanceId I" when an
  /// instance is named.
  std::string toString() const;
};

CONFIGSTORE_API bool operator==(const ConfigStoreObjectId& a, const ConfigStoreObjectId& b);
inline bool operator!=(const ConfigStoreObjectId& a, const ConfigStoreObjectId& b) {
  return !(a == b);
}

/// Names a nested object inside an object's data.
class CONFIGSTORE_API SubObjectId {
 public:
  std::string key;         ///< the member that holds the nested object or the array of them
  std::string instanceId;  ///< which element of the array; empty for a single nested object

  explicit SubObjectId(const std::string& key);
  SubObjectId(const std::string& key, const std::string& instanceId);

  /// Returns " key K", followed by " instanceId I" when an instance is named.
  /// Deliberate: the text begins with a blank.
  std::string toString() const;
};

/// Returns the hash of an id: the same in every process and release.
CONFIGSTORE_API size_t hashCsoId(const ConfigStoreObjectId& id) noexcept;

/// Returns a new random instance identifier, a UUID in text form.
CONFIGSTORE_API std::string GenerateInstanceId();

/// Throws ValidationException(2000) when `id` names no instance.
CONFIGSTORE_API void validateInstanceId(const ConfigStoreObjectId& id);

}  // namespace OrvoConfigStore

template <>
struct std::hash<OrvoConfigStore::ConfigStoreObjectId> {
  size_t operator()(const OrvoConfigStore::ConfigStoreObjectId& id) const noexcept {
    return OrvoConfigStore::hashCsoId(id);
  }
};
