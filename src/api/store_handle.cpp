#include <memory>
#include <utility>

#include "api/config_store_impl.h"
#include "configstore/errors.h"
#include "configstore/logging.h"
#include "platform/host_paths.h"
#include "store/connection.h"

namespace OrvoConfigStore {
namespace {

[[noreturn]] void ThrowCancelFailed() {
  throw ConfigStoreException(CS_GENERAL, "Failed to cancel nested transaction");
}

}  // namespace

const std::string sGlobalNamespace;

std::shared_ptr<ConfigStore> ConfigStore::GetStore(const std::string& ns) {
  if (ns != sGlobalNamespace) throw ConfigStoreException(CS_GENERAL, "Invalid value for namespace.");
  // One that is out of reach is there: the handle says what is wrong with it, and works once it can.
  if (HaldenLib::IsMissing(HaldenLib::kStoreFile)) return nullptr;
  std::shared_ptr<DBStore::StoreConnection> connection = GetDBStore(DBStore::TYPE_STORE, false);
  if (connection == nullptr) connection = DBStore::ConnectLater(DBStore::TYPE_STORE);
  return std::make_shared<ConfigStoreImpl>(connection);
}

ConfigStoreImpl::ConfigStoreImpl(std::shared_ptr<DBStore::StoreConnection> connection)
    : connection_(std::move(connection)) {}

std::shared_ptr<ConfigStoreImpl> ConfigStoreImpl::GetThis() {
  return std::static_pointer_cast<ConfigStoreImpl>(shared_from_this());
}

int ConfigStoreImpl::BeginTransaction() {
  CSLogger::Log(CSLogger::LOG_PRIORITY_INFO, "%s invoked", "BeginTransaction");
  return DBStore::BeginTransaction(connection_);
}

int ConfigStoreImpl::CommitTransaction() {
  CSLogger::Log(CSLogger::LOG_PRIORITY_INFO, "%s invoked", "CommitTransaction");
  if (DBStore::CommitTransaction(connection_) != 0) {
    throw ConfigStoreException(CS_GENERAL, "Commit transaction failed.");
  }
  return 0;
}

int ConfigStoreImpl::CancelTransaction() noexcept {
  // Deliberate: the text ends in a full stop, unlike the two above.
  CSLogger::Log(CSLogger::LOG_PRIORITY_INFO, "%s invoked.", "CancelTransaction");
  const int result = DBStore::CancelTransaction(connection_);
  // Deliberate: thrown out of a function that may not throw, this ends the
  // process: nothing is known of what the next write would become part of.
  if (result == 1) ThrowCancelFailed();
  return result;
}

ConfigStoreTransaction::ConfigStoreTransaction(std::shared_ptr<ConfigStore>& store) : store_(store), active_(true) {
  if (store_->BeginTransaction() != 0) throw ConfigStoreException(CS_GENERAL, "Failed to start a transaction.");
}

ConfigStoreTransaction::~ConfigStoreTransaction() {
  if (active_) store_->CancelTransaction();
}

int ConfigStoreTransaction::Commit() {
  const int result = store_->CommitTransaction();
  active_ = false;
  return result;
}

int ConfigStoreTransaction::Cancel() {
  const int result = store_->CancelTransaction();
  active_ = false;
  return result;
}

}  // namespace OrvoConfigStore
