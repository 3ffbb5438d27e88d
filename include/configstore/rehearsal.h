#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "configstore/export.h"
#include "configstore/inspect.h"
#include "configstore/object_id.h"

/// Trying writes out: the real operations on a private copy of the store, and
/// what they would change.

namespace OrvoConfigStore {

/// A row that a write creates (no `before`), changes or deletes (no `after`).
/// Times are left out of the comparison.
struct ObjectChange {
  ConfigStoreObjectId id;
  std::optional<StoredRow> before;
  std::optional<StoredRow> after;
};

/// A staged value or a package's default object, likewise; JSON texts.
struct ValueChange {
  ConfigStoreObjectId id;
  std::optional<std::string> before;
  std::optional<std::string> after;
};

/// One of the store's own values, "APPLY_BOOT" for one.
struct StateChange {
  std::string key;
  std::string before;  ///< empty when there was none
  std::string after;
};

/// Everything that a rehearsed write changes; each list is sorted by identifier.
struct StoreChanges {
  std::vector<ObjectChange> objects;
  std::vector<ValueChange> staged;
  std::vector<ValueChange> defaults;
  std::vector<StateChange> state;

  bool IsEmpty() const { return objects.empty() && staged.empty() && defaults.empty() && state.empty(); }
};

/// While one lives, everything that the calling thread does to the store goes to
/// a copy in memory, made when the scope begins; backup() onto the store's own
/// path too. The file is only read. Other threads and the schema store are not
/// concerned, and neither is a handle that was opened before. Handles opened
/// inside must not be used after the scope; LoadStore, CreateDatabases and what
/// works on files must not be called inside.
class CONFIGSTORE_API Rehearsal {
 public:
  /// Throws ConfigStoreException(2000) when the store cannot be read, or when the
  /// thread is in a rehearsal already.
  Rehearsal();
  Rehearsal(const Rehearsal&) = delete;
  Rehearsal& operator=(const Rehearsal&) = delete;
  ~Rehearsal();

  /// Returns what has changed since the scope began. Throws
  /// ConfigStoreException(2000) when the copy cannot be read.
  StoreChanges Compare() const;
};

/// A field in which two states of an object differ; JSON texts.
struct FieldChange {
  std::string path;                   ///< as in FieldOrigin; empty for a text that is no JSON object, as a whole
  std::optional<std::string> before;  ///< nothing where the field is absent
  std::optional<std::string> after;
  bool secret = false;  ///< its values must not be shown
};

/// Returns the fields in which `before` and `after`, data of an object of the
/// type of `id`, differ: those of `before` in its order, then the new ones.
/// Instances are matched by identifier, and their order does not count. Nothing
/// of an unregistered type may be shown.
CONFIGSTORE_API std::vector<FieldChange> CompareFields(const ConfigStoreObjectId& id, const std::string& before,
                                                       const std::string& after);

/// Calls `visit` with every stored row of a component, group and key, sorted; an
/// empty part stands for all. Throws ConfigStoreException(2000) when the store
/// cannot be read; what `visit` throws passes through.
CONFIGSTORE_API void ForEachStoredRow(
    const std::string& component, const std::string& group, const std::string& key,
    const std::function<void(const ConfigStoreObjectId& id, const StoredRow& row)>& visit);

}  // namespace OrvoConfigStore
