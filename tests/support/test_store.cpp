#include "support/test_store.h"

#include <gtest/gtest.h>

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
  std::string rows;
  EXPECT_EQ(0, DBStore::ExecuteV2(connection, sql, AppendRow, &rows, DBStore::kBusyTimeout)) << sql;
  return rows;
}

std::string TestStore::Layers(const std::string& key) {
  return Query(
      "SELECT AutoConfValue, UserValue, VitalValue, CachedValue, DesiredValue, Success FROM Config WHERE Name='" + key +
      "' ORDER BY Identifier;");
}
