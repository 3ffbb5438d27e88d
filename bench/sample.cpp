#include "sample.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <thread>

#include "type.h"

namespace fs = std::filesystem;

namespace bench {

namespace {

// Eight fields: two strings, two integers, boolean, double, nested object of
// two, list of three strings; bounded as a real type would be.
constexpr char kSchemaFile[] = R"({
  "component": "measured", "group": "probes", "key": "probe_settings", "version": "1.0", "noRestore": false,
  "schema": {
    "type": "array",
    "instanceId": "name",
    "items": {
      "type": "object",
      "additionalProperties": false,
      "required": ["name", "interval_ms"],
      "properties": {
        "name": {"type": "string", "instanceId": true, "minLength": 1, "maxLength": 64, "pattern": "[a-z0-9-]+"},
        "description": {"type": "string", "maxLength": 200},
        "interval_ms": {"type": "integer", "minimum": 1, "maximum": 3600000},
        "retries": {"type": "integer", "minimum": 0, "maximum": 100, "default": 3},
        "enabled": {"type": "boolean", "default": true},
        "threshold": {"type": "double", "minimum": 0.0, "maximum": 1.0},
        "window": {
          "type": "object",
          "additionalProperties": false,
          "required": ["samples"],
          "properties": {
            "samples": {"type": "integer", "minimum": 1, "maximum": 4096},
            "mode": {"type": "string", "enum": ["sliding", "tumbling"]}
          }
        },
        "targets": {"type": "array", "items": {"type": "string", "maxLength": 64}}
      }
    }
  }
})";

constexpr char kPreferences[] = "log.logMinLevel=115\n";

// A schema is kept from a look-up to the next once its file is older than this.
constexpr std::chrono::milliseconds kSchemaSettled(50);

std::string InstanceName(size_t index) {
  const std::string number = std::to_string(index);
  return "probe-" + std::string(6 - std::min<size_t>(6, number.size()), '0') + number;
}

void WriteFile(const fs::path& path, const char* content) {
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << content;
}

std::string MakeTemporaryRoot() {
  std::string path = (fs::temp_directory_path() / "configstore-bench-XXXXXX").string();
  if (mkdtemp(path.data()) == nullptr) throw std::runtime_error("no temporary directory");
  return path;
}

}  // namespace

ConfigStoreObjectId SampleType() {
  return {kKey, kGroup, kComponent};
}

ConfigStoreObjectId SampleId(size_t index) {
  return {kKey, kGroup, kComponent, InstanceName(index)};
}

std::string SampleText(size_t index) {
  const std::string number = std::to_string(index);
  return R"({"name":")" + InstanceName(index) +
         R"(","description":"Latency of the uplink as seen from the rack in row 7, measured end to end",)"
         R"("interval_ms":)" +
         std::to_string(500 + index % 1000) + R"(,"retries":)" + std::to_string(index % 10) +
         R"(,"enabled":true,"threshold":0.8125,"window":{"samples":64,"mode":"sliding"},"targets":["gateway-)" +
         number + R"(.example.net","resolver-)" + number + R"(.example.net","archive-)" + number + R"(.example.net"]})";
}

ObjectList SampleObjects(size_t count) {
  ObjectList objects;
  objects.reserve(count);
  for (size_t index = 0; index < count; ++index) {
    objects.push_back(ConfigStore::CreateObject(SampleId(index), SampleText(index)));
  }
  return objects;
}

std::vector<size_t> RandomOrder(size_t count) {
  std::vector<size_t> order(count);
  for (size_t index = 0; index < count; ++index) order[index] = index;
  std::shuffle(order.begin(), order.end(), std::mt19937_64());  // the default seed: every run is the same
  return order;
}

SampleHost::SampleHost(size_t count) : root_(MakeTemporaryRoot()) {
  OrvoConfigStore::SetHostRoot(root_);
  WriteFile(root_ + "/etc/halden/preferences", kPreferences);
  WriteFile(FileBeside("probe_settings.json"), kSchemaFile);
  CSLogger::LogInit("");
  OrvoConfigStore::CreateDatabases();
  OrvoConfigStore::RegisterSchemaFiles({FileBeside("probe_settings.json")});
  std::this_thread::sleep_for(kSchemaSettled);
  store_ = ConfigStore::GetStore("");
  if (count > 0) store_->SetInstances(SampleObjects(count), {});
}

SampleHost::~SampleHost() {
  store_.reset();
  CSLogger::LogExit();
  std::error_code ignored;
  fs::remove_all(root_, ignored);
}

}  // namespace bench
