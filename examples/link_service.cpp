/// What a service does with its configuration: open the store, read typed fields
/// with their defaults, change a nested instance, write, and handle a refusal.
///
///   csctl init && csctl schema add examples/components/netd/schema/stack_settings.json
///   csctl set netd/ipstack/stack_settings -f examples/objects/stack_settings.json
///   link_service eth1 9000

#include <configstore/configstore.h>

#include <cstdlib>
#include <iostream>

using namespace OrvoConfigStore;

namespace {

// Reads what the service needs. A default of the schema is returned where the
// object has no value of its own; 0 means that there is neither.
void PrintSettings(const ConfigStoreObject& settings) {
  std::string hostname;
  int mtu = 0;
  if (settings.GetValue("hostname", &hostname) == 0) hostname = "(unnamed)";
  const bool isDefault = settings.GetValue("mtu", &mtu) == 2;
  std::cout << hostname << ": mtu " << mtu << (isDefault ? " (default)" : "") << "\n";
}

// Returns the nested object of a link, created when there is none.
std::shared_ptr<ConfigStoreObject> LinkOf(ConfigStoreObject& settings, const std::string& name) {
  const SubObjectId id("link", name);
  const std::shared_ptr<ConfigStoreObject> link = settings.GetSubObject(id);
  return link != nullptr ? link : settings.CreateSubObject(id);
}

int Run(const std::string& linkName, int mtu) {
  const std::shared_ptr<ConfigStore> store = ConfigStore::GetStore("");
  if (store == nullptr) {
    std::cerr << "there is no store; run \"csctl init\"\n";
    return EXIT_FAILURE;
  }
  const ConfigStoreObjectId id("stack_settings", "ipstack", "netd");
  std::shared_ptr<ConfigStoreObject> settings = store->Get(id);
  if (settings == nullptr) settings = ConfigStore::CreateObject(id, R"({"hostname":"localhost"})");
  PrintSettings(*settings);

  settings->SetValue("mtu", mtu);
  LinkOf(*settings, linkName)->SetValue("enabled", true);
  store->Set(settings, USERDATA_CONTEXT{USERDATA_CONTEXT::EXTERNAL});
  PrintSettings(*store->Get(id));
  return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) try {
  CSLogger::LogInit("");
  return Run(argc > 1 ? argv[1] : "eth0", argc > 2 ? std::atoi(argv[2]) : 1500);
} catch (const ValidationException& refused) {
  std::cerr << refused.what() << "; nothing was changed:\n";
  for (const ErrorInfo& violation : refused.GetErrors()) {
    std::cerr << "  " << violation.field << ": " << violation.error << "\n";
  }
  return EXIT_FAILURE;
} catch (const ConfigStoreException& failed) {
  std::cerr << failed.toString();
  return EXIT_FAILURE;
}
