#include <optional>

#include "configstore/lifecycle.h"
#include "configstore/logging.h"
#include "platform/config_upgrade.h"
#include "platform/sql_format.h"
#include "store/connection.h"
#include "store/rows.h"
#include "store/statements.h"

namespace OrvoConfigStore {
namespace {

constexpr int kFailed = 0;
constexpr int kSucceeded = 1;
constexpr int kUnknown = 2;

std::shared_ptr<DBStore::StoreConnection> Connect() {
  auto connection = GetDBStore(DBStore::TYPE_STORE, false);
  if (connection == nullptr) CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "Failed to connect to database.");
  return connection;
}

// Deliberate: a quote ends the text that the name stands in, so that the query fails.
bool FitsIntoQuery(const std::string& name) {
  return name.find_first_of(std::string("'\0", 2)) == std::string::npos;
}

}  // namespace

bool RefreshConfigStore(std::vector<std::string> schemaPaks, std::vector<std::string> upgradePaks) {
  CSLogger::Log(CSLogger::LOG_PRIORITY_INFO, "Refresh Config Store");
  if (!ProcessSchemas(schemaPaks)) return false;
  OrvoConfigUpgrade::UpgradeConfig(false, upgradePaks, false);
  return true;
}

void Upgrade(std::vector<std::string> paks) {
  CSLogger::Log(CSLogger::LOG_PRIORITY_INFO, "Start late config upgrade");
  if (!OrvoConfigUpgrade::IsUpgrade()) {
    CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "System not undergoing upgrade, cannot perform upgrade");
    return;
  }
  OrvoConfigUpgrade::UpgradeConfig(true, paks, true);
}

void SetUpgradeLibStatus(const bool& success, const std::string& libName) {
  const auto connection = Connect();
  if (connection == nullptr) return;
  if (DBStore::Execute(connection, Sql::kSetUpgradeStatus, {libName, success ? "1" : "0"},
                       {DBStore::VALUE_TEXT, DBStore::VALUE_INTEGER}, DBStore::kBusyTimeout) != 0) {
    CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "Failed to set the upgrade status.");
  }
}

int GetUpgradeLibStatus(const std::string& libName) {
  const auto connection = Connect();
  if (connection == nullptr) return kUnknown;
  std::optional<RowMap> stored;
  const auto take = [&stored](RowMap&& row) { stored = std::move(row); };
  if (!FitsIntoQuery(libName) || !ForEachRow(connection, FormatSql(Sql::kGetUpgradeStatus, {libName}), take)) {
    CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "Cannot query upgrade status for: %s", libName.c_str());
    return kUnknown;
  }
  if (stored) return stored->Text(kSuccess) == "1" ? kSucceeded : kFailed;
  // Deliberate: the text is spelled as its readers know it.
  CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "staus not present for upgrade library: %s", libName.c_str());
  return kUnknown;
}

}  // namespace OrvoConfigStore
