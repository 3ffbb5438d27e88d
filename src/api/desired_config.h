#pragma once

#include <memory>

#include "configstore/config_store_object.h"
#include "platform/db_store.h"
#include "platform/schema_store.h"

namespace OrvoConfigStore {

/// Returns what is pending for an object in its row or, when that has nothing,
/// what is staged for it; an empty pointer when neither has. Throws
/// ConfigStoreException(2000) when the store cannot be read.
std::shared_ptr<ConfigStoreObject> GetDesiredUserConfigInternal(
    const ConfigStoreObjectId& id, const std::shared_ptr<DBStore::StoreConnection>& connection,
    const std::shared_ptr<OrvoSchemaStore::SchemaObject>& schema);

/// Returns the stored object with what is pending merged in: what a masked secret
/// stands for in a value to be staged or confirmed.
std::shared_ptr<ConfigStoreObject> GetExpectedInternal(const ConfigStoreObjectId& id,
                                                       const std::shared_ptr<DBStore::StoreConnection>& connection,
                                                       const std::shared_ptr<OrvoSchemaStore::SchemaObject>& schema);

}  // namespace OrvoConfigStore
