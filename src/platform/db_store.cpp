#include "platform/db_store.h"

#include <sqlite3.h>

#include "platform/db_failure.h"
#include "platform/rehearsal.h"
#include "platform/store_connection.h"

namespace DBStore {

namespace {

constexpr char kReadKey[] = "SELECT Value FROM KVTable WHERE Key=?;";
constexpr char kWriteKey[] =
    "INSERT INTO KVTable(Key, Value, CreationTime) VALUES(?, ?, datetime(CURRENT_TIMESTAMP)) "
    "ON CONFLICT(Key) DO UPDATE SET Value=excluded.Value, ModifiedTime=datetime(CURRENT_TIMESTAMP);";

/// The reason that the connection could not be had says more than its absence.
/// It was met before: by now other calls have succeeded.
int NoConnection() {
  static_cast<void>(RecallOpenFailure() || ReportFailure(SQLITE_CANTOPEN, "no connection", "database"));
  return 1;
}

int RunOn(const std::shared_ptr<StoreConnection>& connection, const Request& request) {
  return connection == nullptr ? NoConnection() : connection->Run(request);
}

int TakeValue(void* value, int, char** texts, char**) {
  if (texts[0] != nullptr) *static_cast<std::string*>(value) = texts[0];
  return 0;
}

}  // namespace

std::shared_ptr<StoreConnection> GetConnection(Type type) {
  if (type != TYPE_STORE && type != TYPE_SCHEMA_STORE) {
    ReportFailure(SQLITE_MISUSE, "no such database", std::to_string(type));
    return {};
  }
  if (type == TYPE_STORE && RehearsalConnection() != nullptr) {
    ClearFailure();
    return RehearsalConnection();
  }
  auto connection = std::make_shared<StoreConnection>(type);
  if (!connection->Open(WhenMissing::Record)) {
    KeepOpenFailure();
    return {};
  }
  ClearFailure();
  return connection;
}

std::shared_ptr<StoreConnection> ConnectLater(Type type) {
  return std::make_shared<StoreConnection>(type);
}

int BeginTransaction(const std::shared_ptr<StoreConnection>& connection) {
  return connection == nullptr ? NoConnection() : connection->Begin();
}

int CommitTransaction(const std::shared_ptr<StoreConnection>& connection) {
  return connection == nullptr ? NoConnection() : connection->Commit();
}

int CancelTransaction(const std::shared_ptr<StoreConnection>& connection) {
  return connection == nullptr ? 2 : connection->Cancel();
}

int Execute(const std::shared_ptr<StoreConnection>& connection, const std::string& sql,
            const std::vector<std::string>& values, const std::vector<int>& types, int timeoutMs) {
  return RunOn(connection, {sql, &values, &types, nullptr, nullptr, timeoutMs});
}

int ExecuteV2(const std::shared_ptr<StoreConnection>& connection, const std::string& sql, RowCallback callback,
              void* context, int timeoutMs) {
  return RunOn(connection, {sql, nullptr, nullptr, callback, context, timeoutMs});
}

int ReadDataState(const std::shared_ptr<StoreConnection>& connection, DataState* state) {
  return connection == nullptr ? NoConnection() : connection->ReadDataState(state);
}

uint64_t CurrentState(const std::shared_ptr<StoreConnection>& connection) {
  return connection == nullptr ? 0 : connection->CurrentState();
}

uint64_t StateBeingRead(const std::shared_ptr<StoreConnection>& connection) {
  return connection == nullptr ? 0 : connection->StateBeingRead();
}

int ExecuteNamed(const std::shared_ptr<StoreConnection>& connection, const NamedText& text,
                 const std::vector<std::string>& values, const std::vector<int>& types, int timeoutMs) {
  return RunOn(connection, {text.form, &values, &types, nullptr, nullptr, timeoutMs, &text});
}

int QueryNamed(const std::shared_ptr<StoreConnection>& connection, const NamedText& text, CellsCallback callback,
               void* context, int timeoutMs) {
  return RunOn(connection, {text.form, nullptr, nullptr, nullptr, context, timeoutMs, &text, callback});
}

int ReadKeyValue(const std::string& key, std::string* value, const std::shared_ptr<StoreConnection>& connection) {
  if (connection == nullptr) return NoConnection();
  WalHead before;
  if (connection->RecallKey(key, value, &before)) return 0;
  const std::vector<std::string> values = {key};
  const std::vector<int> types = {VALUE_TEXT};
  const NamedText form{kReadKey, {}};  // which spares lifting the text each time
  value->clear();
  const int result = connection->Run({form.form, &values, &types, TakeValue, value, kBusyTimeout, &form});
  if (result == 0) connection->RememberKey(key, *value, before);
  return result;
}

int WriteKeyValue(const std::string& key, const std::string& value,
                  const std::shared_ptr<StoreConnection>& connection) {
  return Execute(connection, kWriteKey, {key, value}, {VALUE_TEXT, VALUE_TEXT}, kBusyTimeout);
}

}  // namespace DBStore
