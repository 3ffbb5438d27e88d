#pragma once

#include <memory>

#include "configstore/config_store_object.h"
#include "platform/db_store.h"
#include "platform/schema_store.h"

/// Confirmation of pending values over a given connection. The functions begin
/// and end no transaction and throw ConfigStoreException(2000) when a statement
/// fails.

namespace OrvoConfigStore {

/// Confirms the pending value; without `success` nothing is done.
void SetBootStatusInternal(const ConfigStoreObjectId& id, bool success,
                           const std::shared_ptr<DBStore::StoreConnection>& connection);

/// Confirms a part of the pending value:
/// 1. While the row is unconfirmed, nothing has been confirmed, and its user value
///    is what is desired.
/// 2. The new user value is the confirmed one with `part` merged in.
/// 3. The desired value goes when the new user value is all of it; else it stays.
void SetPartialBootStatusInternal(const std::shared_ptr<ConfigStoreObject>& part,
                                  const std::shared_ptr<OrvoSchemaStore::SchemaObject>& schema,
                                  const std::shared_ptr<DBStore::StoreConnection>& connection);

}  // namespace OrvoConfigStore
