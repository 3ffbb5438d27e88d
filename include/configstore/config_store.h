#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "configstore/config_store_object.h"
#include "configstore/context.h"
#include "configstore/export.h"
#include "configstore/filter_spec.h"

namespace OrvoConfigStore {

/// The only namespace that GetStore accepts: empty.
extern CONFIGSTORE_API const std::string sGlobalNamespace;

/// An open store: reads and writes configuration objects and runs transactions.
///
/// A read returns the layers of an object merged: vital, then cached, automatic
/// and user, each over the one before. A write goes to the layers that the
/// caller's context selects; during the boot phase an outside caller may not
/// write user data (ValidationException(2000)). Failures are thrown as
/// ConfigStoreException or one of its kinds, and leave everything stored as it was. An empty object or
/// filter is logged and ignored. A handle is used from one thread at a time;
/// in a forked child it opens a connection of its own.
class CONFIGSTORE_API ConfigStore : public std::enable_shared_from_this<ConfigStore> {
 public:
  /// Opens this host's store. `ns` must be empty, else ConfigStoreException(2000).
  /// Returns an empty pointer, without error, while there is no store file.
  static std::shared_ptr<ConfigStore> GetStore(const std::string& ns);

  /// Returns an object over the parsed text, with the version, identifiers and
  /// defaults of its type; nothing is stored. Throws InvalidArgumentException
  /// when the text is no JSON object.
  static std::shared_ptr<ConfigStoreObject> CreateObject(const ConfigStoreObjectId& id, const std::string& jsonText);

  /// Returns an object for each element of a JSON array, named by the member that
  /// identifies an instance of the type; where the store names them, an element
  /// without that member gets a new identifier. Nothing is stored. Throws
  /// InvalidArgumentException when the text is no array of objects, 1032 for an
  /// element that is not named, ValidationException(2000) unless `type` has instances.
  static std::vector<std::shared_ptr<ConfigStoreObject>> CreateInstances(const ConfigStoreObjectId& type,
                                                                         const std::string& jsonText);

  /// Returns the version of the type's schema, or an empty text when the type is unknown.
  static std::string GetSchemaVersion(const ConfigStoreObjectId& id);

  /// Returns the merged object, or an empty pointer when nothing is stored.
  /// The result is the caller's own copy: changing it changes nothing stored.
  /// Throws ValidationException(2000) when the type is unknown, or when `id` names
  /// an instance of a singleton or leaves out that of a multi-instance type.
  virtual std::shared_ptr<ConfigStoreObject> Get(const ConfigStoreObjectId& id) = 0;

  /// Returns the type's stored default object, confirmed or not, or an empty
  /// pointer. Throws as Get does.
  virtual std::shared_ptr<ConfigStoreObject> GetDefaultConfig(const ConfigStoreObjectId& id) = 0;

  /// Returns the type's stored default instances that match; throws as GetInstances does.
  virtual std::vector<std::shared_ptr<ConfigStoreObject>> GetDefaultConfigInstances(
      const std::shared_ptr<FilterSpecObject>& filter) = 0;

  /// Validates `object` and stores all its layers with one statement.
  /// Replaces what the row held, its staged desired value included. Nested
  /// elements that lack a generated identifier are given one, in `object`.
  /// Throws ValidationException(1089) with every violation, and then writes nothing.
  /// Deliberate: an empty `object` is logged and ignored, not refused.
  virtual void Set(std::shared_ptr<ConfigStoreObject> object, const USERDATA_CONTEXT& context) = 0;

  /// Write one layer of an object and keep the others. SetUserData writes the user
  /// layer for an outside caller, else the automatic one; the object may hold only
  /// what belongs to the layer. A user write outside an upgrade discards the desired
  /// value and confirms the row; the other layers keep both as they are.
  /// Throw ValidationException with every violation and the code of the layer:
  /// 1087 user, 1092 automatic, 1086 vital.
  /// Deliberate: 1084, the code of default configuration, for a cached write.
  virtual void SetUserData(std::shared_ptr<ConfigStoreObject> object, const USERDATA_CONTEXT& context) = 0;
  virtual void SetVitalData(std::shared_ptr<ConfigStoreObject> object) = 0;
  virtual void SetCachedData(std::shared_ptr<ConfigStoreObject> object) = 0;

  /// Merges a partial object into what the caller's context sees of the stored
  /// one, validates the whole and writes it; creates the object when there is
  /// none. Members are added or overwritten, never removed; nested instances are
  /// matched by identifier. An update by an outside caller that touches user data
  /// discards the desired value.
  /// The object is read before the transaction that writes it: begin one of your
  /// own around the call where another writer must not come between.
  /// Throws ValidationException, 1090 for the partial object and 1089 for the
  /// whole; ConfigStoreException(2000) "Operation failed: ..." when writing fails.
  virtual void Update(std::shared_ptr<ConfigStoreObject> object, const USERDATA_CONTEXT& context) = 0;

  /// Deletes one object with all its layers; a missing one is no error.
  /// Throws ValidationException(2000) as Get does.
  virtual void Delete(const ConfigStoreObjectId& id) = 0;

  /// Deletes the instances that match, in one transaction. An instance that
  /// GetInstances leaves out stays. Throws as GetInstances does.
  virtual void DeleteInstances(const std::shared_ptr<FilterSpecObject>& filter) = 0;

  /// Returns the merged instances that match; one with nothing in force is left
  /// out. Throws ValidationException(2000) when the filter's type is unknown or a
  /// singleton.
  virtual std::vector<std::shared_ptr<ConfigStoreObject>> GetInstances(
      const std::shared_ptr<FilterSpecObject>& filter) = 0;

  /// Replaces the whole set of instances of a type, in one transaction: those not
  /// in `objects` disappear with all their layers. Of two objects with one
  /// identifier the later counts.
  /// Throws InvalidArgumentException(2000) for an empty list or one of several
  /// types, ValidationException(1089) for the first object that is not valid,
  /// ConfigStoreException(2000) "Operation failed: ..." when writing fails; then
  /// the set is as it was. An empty pointer in the list is logged and nothing done.
  virtual void SetInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects,
                            const USERDATA_CONTEXT& context) = 0;

  /// Replace one layer in all instances of a type, in one transaction: instances
  /// not in `objects` keep their rows without that layer. Throw as SetInstances
  /// does, with the code of the layer.
  virtual void SetUserDataInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects,
                                    const USERDATA_CONTEXT& context) = 0;
  virtual void SetCachedDataInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects) = 0;
  virtual void SetVitalDataInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects) = 0;

  /// Begins a transaction on the store's connection. Transactions nest.
  /// Returns 0 on success, otherwise the database library's result; never throws.
  virtual int BeginTransaction() = 0;

  /// Commits the innermost transaction. Returns 0, or throws
  /// ConfigStoreException(2000) and leaves the transaction open.
  virtual int CommitTransaction() = 0;

  /// Undoes the innermost transaction. Returns 0, or 2 when there is none.
  /// Deliberate: ends the process when the transaction cannot be undone, since
  /// nothing is then known of what is stored.
  virtual int CancelTransaction() noexcept = 0;

 protected:
  ConfigStore() = default;
  ConfigStore(const ConfigStore&) = delete;
  ConfigStore& operator=(const ConfigStore&) = delete;
  ~ConfigStore() = default;
};

/// Hands the merged instances that match to `visit`, one after the other in the
/// order of GetInstances, and holds no more than one itself. `visit` may use the
/// store; what it throws ends the visit and passes through. Throws as GetInstances.
CONFIGSTORE_API void VisitInstances(const std::shared_ptr<ConfigStore>& store,
                                    const std::shared_ptr<FilterSpecObject>& filter,
                                    const std::function<void(const std::shared_ptr<ConfigStoreObject>&)>& visit);

/// Bounds, for every handle of this process, the memory in which a handle keeps
/// the objects that it has read again and again; 0 turns that off. Reading one of
/// them again asks the database whether anything was committed meanwhile, by
/// whomever, and if not gives a copy. Without a call the environment variable
/// HALDEN_READ_CACHE decides, and 262144 without that.
CONFIGSTORE_API void SetReadCacheLimit(size_t bytes);

/// A transaction that is cancelled unless it is committed.
class CONFIGSTORE_API ConfigStoreTransaction {
 public:
  /// Begins a transaction. Throws ConfigStoreException(2000) when that fails.
  /// `store` must outlive the guard.
  explicit ConfigStoreTransaction(std::shared_ptr<ConfigStore>& store);
  ConfigStoreTransaction(const ConfigStoreTransaction&) = delete;
  ConfigStoreTransaction& operator=(const ConfigStoreTransaction&) = delete;
  ~ConfigStoreTransaction();

  /// Commits and returns 0. When that throws, the guard stays active and its
  /// destructor cancels.
  int Commit();
  /// Cancels; returns the store's result.
  int Cancel();

 private:
  std::shared_ptr<ConfigStore>& store_;
  bool active_;
};

}  // namespace OrvoConfigStore
