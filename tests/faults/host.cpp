#include "faults/host.h"

#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>

#include "platform/host_paths.h"

using namespace OrvoConfigStore;

namespace {

constexpr double kShare = kIsSanitized ? 0.1 : 1;

const char* const kSingletons[] = {"single", "updated", "saved", "imported"};
const char* const kSets[] = {"set", "moving", "importedset"};
const char* const kVersioned[] = {"first", "second"};

const std::string kProperties =
    R"("n": {"type": "integer"}, "pad": {"type": "string"}, "v": {"type": "integer", "vital": true},
       "c": {"type": "integer", "cached": true})";

std::string SchemaFile(const std::string& key, bool isSet, const std::string& version) {
  const std::string object = R"({"type": "object", "additionalProperties": false, "required": [)" +
                             std::string(isSet ? R"("name")" : "") + R"(], "properties": {)" + kProperties;
  const std::string schema = isSet ? R"({"type": "array", "instanceId": "name", "items": )" + object +
                                         R"(, "name": {"type": "string", "instanceId": true}}}})"
                                   : object + "}}";
  return R"({"component": "faults", "group": "f", "key": ")" + key + R"(", "version": ")" + version +
         R"(", "noRestore": false, "schema": )" + schema + "}";
}

/// The data of a generation; its length varies, so that pages fill and empty.
std::string Data(int n, const std::string& name = "") {
  const std::string number = std::to_string(n);
  return R"({"n":)" + number + R"(,"v":)" + number + R"(,"c":)" + number +
         (name.empty() ? "" : R"(,"name":")" + name + "\"") + R"(,"pad":")" +
         std::string(static_cast<size_t>(n) * 37 % 5 * 700, 'p') + "\"}";
}

std::shared_ptr<ConfigStoreObject> Object(const std::string& key, int n, const std::string& name = "") {
  return ConfigStore::CreateObject(FaultType(key, name), Data(n, name));
}

/// The generation of an object: all its layers are of one.
int GenerationOf(const std::shared_ptr<ConfigStoreObject>& object) {
  if (object == nullptr) return 0;
  int n = 0, v = 0, c = 0;
  object->GetValue("n", &n);
  object->GetValue("v", &v);
  object->GetValue("c", &c);
  return n > 0 && n == v && n == c ? n : kTorn;
}

/// The generation of a set: all its objects are of one, which says how many they are.
int GenerationOf(const std::vector<std::shared_ptr<ConfigStoreObject>>& objects, int (*countOf)(int n)) {
  if (objects.empty()) return 0;
  const int n = GenerationOf(objects.front());
  for (const auto& object : objects) {
    if (GenerationOf(object) != n) return kTorn;
  }
  return n > 0 && countOf(n) == static_cast<int>(objects.size()) ? n : kTorn;
}

std::vector<std::shared_ptr<ConfigStoreObject>> Instances(FaultHost& host, const std::string& key) {
  return host.store->GetInstances(std::make_shared<FilterSpecObject>(FaultType(key)));
}

void WriteSet(FaultHost& host, int n) {
  std::vector<std::shared_ptr<ConfigStoreObject>> objects;
  for (int i = 0; i < 2 + n % 3; ++i) objects.push_back(Object("set", n, "i" + std::to_string(i)));
  host.store->SetInstances(objects, {});
}

/// One instance gives way to the next.
void WriteMoving(FaultHost& host, int n) {
  const std::string before = "m" + std::to_string(n - 1);
  const auto object = Object("moving", n, "m" + std::to_string(n));
  ConfigStoreTransaction transaction(host.store);
  host.store->Set(object, {});
  host.store->Delete(FaultType("moving", before));
  transaction.Commit();
}

void WriteSaved(FaultHost& host, int n) {
  host.store->Set(Object("saved", n), {});
  if (backup(HaldenLib::kStoreFile, HaldenLib::kBackupFile) != 0) {
    throw ConfigStoreException(CS_GENERAL, "backup failed");
  }
}

/// What the backup holds; one that was cut off when it was first made holds nothing.
int ReadSaved(FaultHost& host) {
  constexpr char kQuery[] =
      "SELECT UserValue ->> '$.n', (SELECT integrity_check FROM pragma_integrity_check) FROM Config WHERE Name='saved'";
  if (!HaldenLib::FileExists(HaldenLib::kBackupFile)) return 0;
  sqlite3* copy = nullptr;
  int n = 0;
  const auto take = [](void* result, int, char** texts, char**) {
    *static_cast<int*>(result) = std::string(texts[1]) == "ok" ? std::atoi(texts[0]) : kTorn;
    return 0;
  };
  sqlite3_open_v2(host.root.Resolve(HaldenLib::kBackupFile).c_str(), &copy, SQLITE_OPEN_READWRITE, nullptr);
  const int code = sqlite3_exec(copy, kQuery, take, &n, nullptr);
  sqlite3_close(copy);
  return code == SQLITE_OK || code == SQLITE_ERROR ? n : kTorn;
}

void Stage(FaultHost&, int n) {
  const std::string data = R"({"n":)" + std::to_string(n) + "}";
  SetDesiredUserConfig(
      {ConfigStore::CreateObject(FaultType("single"), data), ConfigStore::CreateObject(FaultType("updated"), data)});
}

/// A document of two types.
void WriteImport(FaultHost&, int n) {
  Import(R"({"components": {"faults": {"f": {"imported": )" + Data(n) + R"(, "importedset": [)" + Data(n, "a") + "," +
         Data(n, "b") + "]}}}}");
}

int ReadImport(FaultHost& host) {
  const int n = GenerationOf(host.store->Get(FaultType("imported")));
  return n == GenerationOf(Instances(host, "importedset"), [](int) { return 2; }) ? n : kTorn;
}

int ReadVersion() {
  const std::string version = ConfigStore::GetSchemaVersion(FaultType(kVersioned[0]));
  return version == ConfigStore::GetSchemaVersion(FaultType(kVersioned[1])) ? std::atoi(version.c_str()) : kTorn;
}

}  // namespace

const std::vector<Part>& Parts() {
  static const std::vector<Part> parts = {
      {"Set", [](FaultHost& host, int n) { host.store->Set(Object("single", n), {}); },
       [](FaultHost& host) { return GenerationOf(host.store->Get(FaultType("single"))); }},
      {"SetInstances", WriteSet,
       [](FaultHost& host) { return GenerationOf(Instances(host, "set"), [](int n) { return 2 + n % 3; }); }},
      {"SetAndDelete", WriteMoving,
       [](FaultHost& host) { return GenerationOf(Instances(host, "moving"), [](int) { return 1; }); }},
      {"Update", [](FaultHost& host, int n) { host.store->Update(Object("updated", n), {}); },
       [](FaultHost& host) { return GenerationOf(host.store->Get(FaultType("updated"))); }},
      {"Stage", Stage,
       [](FaultHost&) {
         int first = 0, second = 0;
         for (const auto& object : ListStagedConfig()) {
           object->GetValue("n", object->GetId().key == "single" ? &first : &second);
         }
         return first == second ? first : kTorn;
       }},
      // A copy that is complete but still needs its log counts as failed.
      {"Backup", WriteSaved, ReadSaved, true},
      {"Import", WriteImport, ReadImport},
      {"Register", [](FaultHost& host, int n) { host.RegisterGeneration(n); },
       [](FaultHost&) { return ReadVersion(); }},
  };
  return parts;
}

void StageAndApply(FaultHost& host, int n) {
  Stage(host, n);
  SetBootMode(BOOTMODE_APPLY);
}

int AppliedGeneration() {
  const auto first = ReadStoredRow(FaultType("single")), second = ReadStoredRow(FaultType("updated"));
  if (!first && !second) return 0;
  if (!first || !second || first->userValue != second->userValue) return kTorn;
  const bool isStaged = !ListStagedConfig().empty();
  if (isStaged != GetNextBootMode()) return kTorn;
  int n = kTorn;
  std::sscanf(first->userValue.value_or("").c_str(), "{\"n\":%d}", &n);
  return n;
}

long Times(long count) {
  static const char* const given = std::getenv("FAULTS_TIMES");
  const double times = given == nullptr ? 1 : std::atof(given);
  return std::max(1L, static_cast<long>(static_cast<double>(count) * times * kShare));
}

std::mt19937 Random() {
  static const char* const given = std::getenv("FAULTS_SEED");
  static const auto seed =
      given == nullptr ? std::random_device()() : static_cast<unsigned>(std::strtoul(given, nullptr, 10));
  std::printf("FAULTS_SEED=%u\n", seed);
  std::fflush(stdout);
  return std::mt19937(seed);
}

ConfigStoreObjectId FaultType(const std::string& key, const std::string& instanceId) {
  return {key, "f", "faults", instanceId};
}

FaultHost::FaultHost() {
  CreateDatabases();
  std::vector<std::string> files;
  for (const char* key : kSingletons) files.push_back(root.Write(std::string("/") + key, SchemaFile(key, false, "1")));
  for (const char* key : kSets) files.push_back(root.Write(std::string("/") + key, SchemaFile(key, true, "1")));
  RegisterSchemaFiles(files);
  fs::create_directories(root.Resolve(HaldenLib::kBackupDirectory));
  Open();
}

void FaultHost::RegisterGeneration(int n) const {
  std::vector<std::string> files;
  for (const char* key : kVersioned) {
    files.push_back(root.Write(std::string("/") + key, SchemaFile(key, false, std::to_string(n))));
  }
  RegisterSchemaFiles(files);
}

std::string Ledger::Judge(FaultHost& host) {
  std::string faults;
  host.Close();
  host.Open();
  for (size_t i = 0; i < Parts().size(); ++i) {
    const int found = Parts()[i].read(host);
    const bool isRight = found == acknowledged[i] || (i == underWay && found == acknowledged[i] + 1);
    if (!isRight) {
      faults += std::string(Parts()[i].name) + ": " + std::to_string(found) + " instead of " +
                std::to_string(acknowledged[i]) + (i == underWay ? " or the next; " : "; ");
    }
    acknowledged[i] = found;
  }
  if (!IsConsistentStore(HaldenLib::kStoreFile)) faults += "the store is not consistent; ";
  underWay = Parts().size();
  return faults;
}
