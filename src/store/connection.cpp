#include "store/connection.h"

#include "configstore/errors.h"

namespace OrvoConfigStore {

std::shared_ptr<DBStore::StoreConnection> GetDBStore(DBStore::Type type, bool mustConnect) {
  std::shared_ptr<DBStore::StoreConnection> connection = DBStore::GetConnection(type);
  if (connection == nullptr && mustConnect) throw ConfigStoreException(CS_GENERAL, "Failed to connect to database");
  return connection;
}

std::shared_ptr<DBStore::StoreConnection> GetConn() {
  return GetDBStore(DBStore::TYPE_STORE, false);
}

}  // namespace OrvoConfigStore
