#include "support/test_store.h"

#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

using namespace OrvoConfigStore;

namespace {

int AppendRow(void* context, int columns, char** texts, char**) {
  auto& out = *static_cast<std::string*>(context);
  if (!out.empty()) out += "; ";
  for (int i = 0; i < columns; ++i) out += std::string(i == 0 ? "" : " ") + (texts[i] == nullptr ? "-" : texts[i]);
  return 0;
}

}  // namespace

std::string Repeated(const std::string& text, size_t times) {
  std::string all;
  while (times-- > 0) all += text;
  return all;
}

fs::perms ModeOf(const std::string& path) {
  return fs::status(path).permissions();
}

pid_t StartChild(const std::function<int()>& action) {
  const pid_t child = fork();
  if (child == 0) {
    alarm(60);  // a child that hangs ends with a signal
    try {
      _exit(action());
    } catch (...) {
      abort();
    }
  }
  return child;
}

int ResultOf(pid_t child) {
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

int InChild(const std::function<int()>& action) {
  return ResultOf(StartChild(action));
}

std::string RowsOf(const std::shared_ptr<DBStore::StoreConnection>& connection, const std::string& sql, int timeoutMs) {
  std::string rows;
  return DBStore::ExecuteV2(connection, sql, AppendRow, &rows, timeoutMs) == 0 ? rows : "failed";
}

void PutRow(const ConfigStoreObjectId& id, const std::string& columns, const std::string& values,
            const std::string& table) {
  const std::string sql = "INSERT OR REPLACE INTO " + table + "(Component, ConfigGroup, Name, Identifier, " + columns +
                          ") VALUES('" + id.component + "', '" + id.group + "', '" + id.key + "', '" + id.instanceId +
                          "', " + values + ");";
  EXPECT_EQ("", RowsOf(DBStore::GetConnection(DBStore::TYPE_STORE), sql, DBStore::kBusyTimeout)) << sql;
}

void FailAt(const std::string& kind) {
  const std::string sql = "CREATE TRIGGER fault BEFORE " + kind + " BEGIN SELECT RAISE(ABORT, 'fault'); END;";
  EXPECT_EQ("", RowsOf(DBStore::GetConnection(DBStore::TYPE_STORE), sql, DBStore::kBusyTimeout)) << sql;
}

std::string Quoted(std::string json) {
  std::replace(json.begin(), json.end(), '\'', '"');
  return json;
}

std::string JsonText(const JsonValue& value) {
  std::string text;
  SerializeValue(value, text);
  return text;
}

std::string ExampleFile(const std::string& name) {
  return std::string(CONFIGSTORE_SOURCE_DIR) + "/examples/" + name;
}

std::string ExampleText(const std::string& name) {
  std::ifstream file(ExampleFile(name), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

ConfigStoreObjectId UserAccount(const std::string& instanceId) {
  return ConfigStoreObjectId("user_account", "local", "accessd", instanceId);
}

TestStore::TestStore(const std::vector<std::string>& schemaFiles) {
  CreateDatabases();
  RegisterSchemaFiles({ExampleFile("components/netd/schema/stack_settings.json"),
                       ExampleFile("components/clockd/schema/time_source.json"),
                       ExampleFile("components/accessd/schema/user_account.json")});
  for (const std::string& file : schemaFiles) Register(file);
  store = ConfigStore::GetStore("");
  connection = DBStore::GetConnection(DBStore::TYPE_STORE);
}

TestStore::~TestStore() = default;

void TestStore::Register(const std::string& schemaFile) {
  RegisterSchemaFiles({root_.Write("/registered.json", schemaFile)});
}

std::shared_ptr<OrvoSchemaStore::SchemaObject> TestStore::Schema(const ConfigStoreObjectId& id) {
  return OrvoSchemaStore::SchemaStore::GetStore()->GetSchema(id.component, id.group, id.key);
}

void TestStore::Set(const ConfigStoreObjectId& id, const std::string& json) {
  store->Set(ConfigStore::CreateObject(id, json), USERDATA_CONTEXT());
}

std::string TestStore::Get(const ConfigStoreObjectId& id) {
  const auto object = store->Get(id);
  return object == nullptr ? "-" : object->GetData();
}

void TestStore::Run(const std::string& sql) {
  ASSERT_EQ(0, DBStore::ExecuteV2(connection, sql, nullptr, nullptr, DBStore::kBusyTimeout)) << sql;
}

std::string TestStore::Query(const std::string& sql) {
  return RowsOf(connection, sql, DBStore::kBusyTimeout);
}

std::string TestStore::Layers(const std::string& key) {
  return Query(
      "SELECT AutoConfValue, UserValue, VitalValue, CachedValue, DesiredValue, Success FROM Config WHERE Name='" + key +
      "' ORDER BY Identifier;");
}
