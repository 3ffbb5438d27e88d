#pragma once

#include <memory>

#include "platform/db_store.h"

/// The steps of loading that change the store, over a given connection: a load
/// runs them on the store, a preview on a copy. Each changes all or nothing and
/// throws ConfigStoreException(2000) when a statement fails.

namespace OrvoConfigStore {

using Connection = std::shared_ptr<DBStore::StoreConnection>;

/// Clears the automatic values and deletes objects that are then empty.
void CleanupAutoConfigInternal(const Connection& connection);

/// Replaces all user values by the staged ones, and has the next boot apply none.
void ApplyStagedInternal(const Connection& connection);

/// Makes pending desired values user values, and every object unconfirmed whose
/// type is not marked "noRestore".
void ResetSuccessInternal(const Connection& connection);

/// Makes the schema store visible to statements as "ss" while it lives.
class AttachedSchemaStore {
 public:
  explicit AttachedSchemaStore(const Connection& connection);
  AttachedSchemaStore(const AttachedSchemaStore&) = delete;
  AttachedSchemaStore& operator=(const AttachedSchemaStore&) = delete;
  ~AttachedSchemaStore();

  bool IsAttached() const { return isAttached_; }
  /// Whether it could be detached; it stays so at worst until the connection ends.
  bool Detach();

 private:
  const Connection& connection_;
  bool isAttached_;
};

}  // namespace OrvoConfigStore
