#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "configstore/config_store.h"
#include "platform/db_store.h"
#include "platform/schema_store.h"
#include "store/object_cache.h"

namespace OrvoConfigStore {

/// A store over one database connection. Each operation checks its arguments,
/// logs its call, looks the schema up, validates, and calls one function of the
/// reading or writing below.
class ConfigStoreImpl final : public ConfigStore {
 public:
  explicit ConfigStoreImpl(std::shared_ptr<DBStore::StoreConnection> connection);
  ~ConfigStoreImpl() = default;

  /// Returns the pointer that owns this handle. Throws std::bad_weak_ptr when
  /// no shared pointer does.
  std::shared_ptr<ConfigStoreImpl> GetThis();

  std::shared_ptr<ConfigStoreObject> Get(const ConfigStoreObjectId& id) override;
  std::shared_ptr<ConfigStoreObject> GetDefaultConfig(const ConfigStoreObjectId& id) override;
  std::vector<std::shared_ptr<ConfigStoreObject>> GetDefaultConfigInstances(
      const std::shared_ptr<FilterSpecObject>& filter) override;
  void Set(std::shared_ptr<ConfigStoreObject> object, const USERDATA_CONTEXT& context) override;
  void SetUserData(std::shared_ptr<ConfigStoreObject> object, const USERDATA_CONTEXT& context) override;
  void SetVitalData(std::shared_ptr<ConfigStoreObject> object) override;
  void SetCachedData(std::shared_ptr<ConfigStoreObject> object) override;
  void Update(std::shared_ptr<ConfigStoreObject> object, const USERDATA_CONTEXT& context) override;
  void Delete(const ConfigStoreObjectId& id) override;
  void DeleteInstances(const std::shared_ptr<FilterSpecObject>& filter) override;
  std::vector<std::shared_ptr<ConfigStoreObject>> GetInstances(
      const std::shared_ptr<FilterSpecObject>& filter) override;
  void SetInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects, const USERDATA_CONTEXT& context) override;
  void SetUserDataInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects,
                            const USERDATA_CONTEXT& context) override;
  void SetCachedDataInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects) override;
  void SetVitalDataInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects) override;
  int BeginTransaction() override;
  int CommitTransaction() override;
  int CancelTransaction() noexcept override;

  /// Returns what a caller of this context sees of the object; checks and logs nothing.
  std::shared_ptr<ConfigStoreObject> GetContext(const ConfigStoreObjectId& id, const USERDATA_CONTEXT& context,
                                                const std::shared_ptr<OrvoSchemaStore::SchemaObject>& schema);

 private:
  friend void VisitInstances(const std::shared_ptr<ConfigStore>& store, const std::shared_ptr<FilterSpecObject>& filter,
                             const std::function<void(const std::shared_ptr<ConfigStoreObject>&)>& visit);

  std::shared_ptr<DBStore::StoreConnection> connection_;
  ObjectCache cache_;
};

}  // namespace OrvoConfigStore
