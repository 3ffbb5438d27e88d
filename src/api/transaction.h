#pragma once

#include <exception>
#include <string>

#include "configstore/config_store.h"
#include "configstore/errors.h"

namespace OrvoConfigStore {

/// Runs `body` in a transaction of the store, for the operation named.
///
/// What `body` throws cancels the transaction and is thrown on as
/// ConfigStoreException(2000) "Operation failed: " and its message; a commit that
/// throws cancels too and is thrown on unchanged. Throws
/// ConfigStoreException(2000) when no transaction can be begun.
template <class Body>
void RunInTransaction(ConfigStore& store, const char* operation, Body body) {
  if (store.BeginTransaction() != 0) {
    throw ConfigStoreException(CS_GENERAL, (std::string("Begin Transaction failed for: ") + operation).c_str());
  }
  try {
    body();
  } catch (const std::exception& cause) {
    store.CancelTransaction();  // first: there may be no memory for a message
    throw ConfigStoreException(CS_GENERAL, (std::string("Operation failed: ") + cause.what()).c_str());
  }
  try {
    store.CommitTransaction();
  } catch (...) {
    store.CancelTransaction();
    throw;
  }
}

}  // namespace OrvoConfigStore
