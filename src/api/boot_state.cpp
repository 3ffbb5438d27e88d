#include "api/boot_state.h"

#include "configstore/errors.h"
#include "configstore/logging.h"
#include "store/connection.h"
#include "store/statements.h"

namespace OrvoConfigStore {
namespace {

constexpr char kTrue[] = "true";
constexpr char kFalse[] = "false";

}  // namespace

int SetKVInternal(const std::string& key, const std::string& value,
                  const std::shared_ptr<DBStore::StoreConnection>& connection) {
  return DBStore::WriteKeyValue(key, value, connection);
}

std::string GetKVInternal(const std::string& key, const std::shared_ptr<DBStore::StoreConnection>& connection) {
  std::string value;
  if (DBStore::ReadKeyValue(key, &value, connection) == 1) {
    CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "Failed to get value for key: %s", key.c_str());
    throw ConfigStoreException(CS_GENERAL, "GetKV Failed");
  }
  return value;
}

void SetKV(const std::string& key, const std::string& value) {
  SetKVInternal(key, value, GetConn());
}

std::string GetKV(const std::string& key) {
  return GetKVInternal(key, GetConn());
}

void SetNextBootMode(BOOTMODE mode, const std::shared_ptr<DBStore::StoreConnection>& connection) {
  SetKVInternal(kApplyBootKey, mode != BOOTMODE_NORMAL ? kTrue : kFalse, connection);
  CSLogger::Log(CSLogger::LOG_PRIORITY_INFO, "Next boot mode set to %d", static_cast<int>(mode));
}

void SetBootMode(BOOTMODE mode) {
  const std::shared_ptr<DBStore::StoreConnection> connection = GetDBStore(DBStore::TYPE_STORE, false);
  if (connection == nullptr) {
    CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "Failed to connect to database.");
    return;
  }
  SetNextBootMode(mode, connection);
}

bool GetNextBootMode() {
  return GetKV(kApplyBootKey) == kTrue;
}

bool IsBoot() {
  return IsBootInternal(GetConn());
}

bool IsBootInternal(const std::shared_ptr<DBStore::StoreConnection>& connection) {
  return GetKVInternal(kIsBootKey, connection) == kTrue;
}

}  // namespace OrvoConfigStore
