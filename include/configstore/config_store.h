#pragma once

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
/// caller's context selects. Failures are thrown as ConfigStoreException or one
/// of its kinds, and leave everything stored as it was. An empty object or
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

  /// Returns the version of the type's schema, or an empty text when the type is unknown.
  static std::string GetSchemaVersion(const ConfigStoreObjectId& id);

  /// Returns the merged object, or an empty pointer when nothing is stored.
  /// The result is the caller's own copy: changing it changes nothing stored.
  /// Throws ValidationException(2000) when the type is unknown, or when `id` names
  /// an instance of a singleton or leaves out that of a multi-instance type.
  virtual std::shared_ptr<ConfigStoreObject> Get(const ConfigStoreObjectId& id) = 0;

  /// Returns the type's stored default object, or an empty pointer.
  virtual std::shared_ptr<ConfigStoreObject> GetDefaultConfig(const ConfigStoreObjectId& id) = 0;

  /// Returns the type's stored default instances that match.
  virtual std::vector<std::shared_ptr<ConfigStoreObject>> GetDefaultConfigInstances(
      const std::shared_ptr<FilterSpecObject>& filter) = 0;

  /// Validates `object` and stores all its layers with one statement.
  /// Replaces what the row held, its staged desired value included. Nested
  /// elements that lack a generated identifier are given one, in `object`.
  /// Throws ValidationException(1089) with every violation, and then writes nothing.
  /// Deliberate: an empty `object` is logged and ignored, not refused.
  virtual void Set(std::shared_ptr<ConfigStoreObject> object, const USERDATA_CONTEXT& context) = 0;

  /// Write one layer of an object and keep the others.
  virtual void SetUserData(std::shared_ptr<ConfigStoreObject> object, const USERDATA_CONTEXT& context) = 0;
  virtual void SetVitalData(std::shared_ptr<ConfigStoreObject> object) = 0;
  virtual void SetCachedData(std::shared_ptr<ConfigStoreObject> object) = 0;

  /// Merges a partial object into the stored one.
  virtual void Update(std::shared_ptr<ConfigStoreObject> object, const USERDATA_CONTEXT& context) = 0;

  /// Deletes one object with all its layers; a missing one is no error.
  /// Throws ValidationException(2000) as Get does.
  virtual void Delete(const ConfigStoreObjectId& id) = 0;

  /// Deletes the instances that match, in one transaction.
  virtual void DeleteInstances(const std::shared_ptr<FilterSpecObject>& filter) = 0;

  /// Returns the merged instances that match.
  virtual std::vector<std::shared_ptr<ConfigStoreObject>> GetInstances(
      const std::shared_ptr<FilterSpecObject>& filter) = 0;

  /// Replaces the whole set of instances of a type, in one transaction.
  virtual void SetInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects,
                            const USERDATA_CONTEXT& context) = 0;

  /// Replace one layer in all instances of a type, in one transaction.
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
