#pragma once

#include <memory>
#include <string>

#include "configstore/boot_state.h"
#include "platform/db_store.h"

/// The store's own values over a given connection.

namespace OrvoConfigStore {

/// Returns the database library's result.
int SetKVInternal(const std::string& key, const std::string& value,
                  const std::shared_ptr<DBStore::StoreConnection>& connection);

/// Returns the value, empty when there is none; throws as GetKV does.
std::string GetKVInternal(const std::string& key, const std::shared_ptr<DBStore::StoreConnection>& connection);

/// Stores what the next boot does.
void SetNextBootMode(BOOTMODE mode, const std::shared_ptr<DBStore::StoreConnection>& connection);

/// Whether the host is in its boot phase.
bool IsBootInternal(const std::shared_ptr<DBStore::StoreConnection>& connection);

}  // namespace OrvoConfigStore
