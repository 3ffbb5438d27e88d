#pragma once

#include <memory>

#include "platform/db_store.h"

/// How the operations come by a connection.

namespace OrvoConfigStore {

/// Opens a connection. Returns an empty pointer when that fails, unless
/// `mustConnect`: then throws ConfigStoreException(2000).
std::shared_ptr<DBStore::StoreConnection> GetDBStore(DBStore::Type type, bool mustConnect);

/// Opens a connection to the store, or returns an empty pointer.
std::shared_ptr<DBStore::StoreConnection> GetConn();

}  // namespace OrvoConfigStore
