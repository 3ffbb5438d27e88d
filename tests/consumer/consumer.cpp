#include <configstore/configstore.h>

#include <iostream>

using namespace OrvoConfigStore;

/// Stores an object and reads it back through the text forms, in a host root:
/// consumer ROOT SCHEMA-FILE.
int main(int count, char** arguments) {
  if (count != 3) return 2;
  SetHostRoot(arguments[1]);
  CreateDatabases();
  RegisterSchemaFiles({arguments[2]});

  const ConfigStoreObjectId id("time_source", "sync", "clockd");
  const auto store = ConfigStore::GetStore("");
  store->Set(ConfigStore::CreateObject(id, R"({"method":"ntp","ntp":{"server":[{"address":"192.0.2.7"}]}})"), {});
  int pollSeconds = 0;
  const int found = store->Get(id)->GetSubObject(SubObjectId("ntp"))->GetValue("poll_seconds", &pollSeconds);
  std::cout << store->Get(id)->GetData() << " " << found << " " << pollSeconds << "\n";

  try {
    store->Set(ConfigStore::CreateObject(id, R"({"method":"sundial"})"), {});
  } catch (const ValidationException& refused) {
    std::cout << refused.toString();
    return refused.GetErrors().empty() ? 1 : 0;
  }
  return 1;
}
