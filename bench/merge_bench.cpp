/// The merge of two layers with as many instances each, as a read does it: Get of an object whose
/// instances hold user and vital data, beside parsing both texts and one pass over them.

#include <rapidjson/document.h>

#include <chrono>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "run.h"
#include "sample.h"

namespace {

using bench::ConfigStore;
using bench::ConfigStoreObjectId;
using bench::Side;

constexpr char kSchema[] = R"({
  "component": "measured", "group": "probes", "key": "probe_layers", "version": "1.0", "noRestore": false,
  "schema": {"type": "array", "instanceId": "name", "items": {
    "type": "object", "additionalProperties": false, "required": ["name"], "properties": {
      "name": {"type": "string", "instanceId": true},
      "rows": {"type": "array", "instanceId": "id", "items": {
        "type": "object", "additionalProperties": false, "required": ["id"], "properties": {
          "id": {"type": "string", "instanceId": true},
          "limit": {"type": "integer", "vital": true},
          "value": {"type": "integer"}
        }
      }}
    }
  }}
})";

ConfigStoreObjectId IdOf(size_t rows) {
  return {"probe_layers", "probes", "measured", std::to_string(rows)};
}

// The text of an object of so many rows, each of its identifier and `rest`.
std::string TextOf(size_t rows, const std::string& rest) {
  std::string text;
  for (size_t row = 0; row < rows; ++row) {
    text += (row == 0 ? "" : ",") + (R"({"id":"row-)" + std::to_string(row)) + "\"," + rest + "}";
  }
  return R"({"rows":[)" + text + R"(],"name":")" + std::to_string(rows) + R"("})";
}

void RegisterType(const bench::SampleHost& host) {
  const std::string path = host.FileBeside("probe_layers.json");
  std::ofstream(path, std::ios::binary) << kSchema;
  OrvoConfigStore::RegisterSchemaFiles({path});
  std::this_thread::sleep_for(std::chrono::milliseconds(50));  // from then on the schema is kept
}

// Returns how many members the instances of a layer have together.
size_t PassOver(const std::string& layer) {
  rapidjson::Document document;
  document.Parse(layer.data(), layer.size());
  size_t members = 0;
  for (const rapidjson::Value& row : document["rows"].GetArray()) members += row.MemberCount();
  return members;
}

void RegisterMerge(const bench::SampleHost& host, size_t rows) {
  const std::string workload = "Merge of two layers of " + std::to_string(rows) + " instances";
  host->Set(ConfigStore::CreateObject(IdOf(rows), TextOf(rows, R"("limit":7,"value":5)")), {});
  bench::Register(
      workload, Side::Store,
      [&host, rows](size_t) {
        if (host->Get(IdOf(rows)) == nullptr) throw std::runtime_error("the object is missing");
      },
      rows);
  const std::string vital = TextOf(rows, R"("limit":7)");
  const std::string user = TextOf(rows, R"("value":5)");
  bench::Register(
      workload, Side::Floor,
      [vital, user, rows](size_t) {
        if (PassOver(vital) + PassOver(user) != 4 * rows) throw std::runtime_error("members are missing");
      },
      rows);
}

}  // namespace

int main(int argc, char** argv) {
  const bench::SampleHost host(0);
  RegisterType(host);
  OrvoConfigStore::SetReadCacheLimit(0);  // every read merges
  for (const size_t rows : {1000, 10000}) RegisterMerge(host, rows);
  return bench::RunRegistered(argc, argv);
}
