/// Validation of the sample object, and of one of 10 KB with 50 nested instances,
/// beside RapidJSON's own validator on the equivalent schema, which is compiled
/// once and used again.

#include <rapidjson/schema.h>

#include <chrono>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "run.h"
#include "sample.h"

namespace {

constexpr size_t kNested = 50;

// The sample's schema in the other dialect.
constexpr char kSampleRules[] = R"({
  "type": "object", "additionalProperties": false, "required": ["name", "interval_ms"],
  "properties": {
    "name": {"type": "string", "minLength": 1, "maxLength": 64, "pattern": "^[a-z0-9-]+$"},
    "description": {"type": "string", "maxLength": 200},
    "interval_ms": {"type": "integer", "minimum": 1, "maximum": 3600000},
    "retries": {"type": "integer", "minimum": 0, "maximum": 100},
    "enabled": {"type": "boolean"},
    "threshold": {"type": "number", "minimum": 0.0, "maximum": 1.0},
    "window": {
      "type": "object", "additionalProperties": false, "required": ["samples"],
      "properties": {"samples": {"type": "integer", "minimum": 1, "maximum": 4096},
                     "mode": {"enum": ["sliding", "tumbling"]}}
    },
    "targets": {"type": "array", "items": {"type": "string", "maxLength": 64}}
  }
})";

// An object of many instances, in both dialects.
constexpr char kTableSchema[] = R"({
  "component": "measured", "group": "probes", "key": "probe_table", "version": "1.0", "noRestore": false,
  "schema": {"type": "object", "additionalProperties": false, "properties": {"rows": {
    "type": "array", "instanceId": "id",
    "items": {"type": "object", "additionalProperties": false, "required": ["id", "address"], "properties": {
      "id": {"type": "string", "instanceId": true, "maxLength": 64},
      "address": {"type": "string", "pattern": "[0-9]{1,3}(\\.[0-9]{1,3}){3}"},
      "port": {"type": "integer", "minimum": 1, "maximum": 65535},
      "weight": {"type": "double", "minimum": 0.0},
      "role": {"type": "string", "enum": ["active", "standby"]},
      "enabled": {"type": "boolean"},
      "note": {"type": "string", "maxLength": 200}
    }}
  }}}
})";
constexpr char kTableRules[] = R"({
  "type": "object", "additionalProperties": false, "properties": {"rows": {
    "type": "array",
    "items": {"type": "object", "additionalProperties": false, "required": ["id", "address"], "properties": {
      "id": {"type": "string", "maxLength": 64},
      "address": {"type": "string", "pattern": "^[0-9]{1,3}(\\.[0-9]{1,3}){3}$"},
      "port": {"type": "integer", "minimum": 1, "maximum": 65535},
      "weight": {"type": "number", "minimum": 0.0},
      "role": {"enum": ["active", "standby"]},
      "enabled": {"type": "boolean"},
      "note": {"type": "string", "maxLength": 200}
    }}
  }}
})";

std::string TableText() {
  std::string rows;
  for (size_t index = 0; index < kNested; ++index) {
    const std::string number = std::to_string(index);
    rows += (index == 0 ? "" : ",") + (R"({"id":"row-)" + number) + R"(","address":"192.0.2.)" + number +
            R"(","port":8080,"weight":0.5,"role":"standby","enabled":true,"note":"Answers for the uplink of rack )" +
            number + R"( while its neighbour is in service, and is measured every minute"})";
  }
  return R"({"rows":[)" + rows + "]}";
}

bench::ConfigStoreObjectId RegisterTable(const bench::SampleHost& host) {
  const std::string path = host.FileBeside("probe_table.json");
  std::ofstream(path, std::ios::binary) << kTableSchema;
  OrvoConfigStore::RegisterSchemaFiles({path});
  std::this_thread::sleep_for(std::chrono::milliseconds(50));  // from then on the schema is kept
  return {"probe_table", "probes", "measured"};
}

rapidjson::Document Parsed(const std::string& text) {
  rapidjson::Document document;
  document.Parse(text.data(), text.size());
  if (document.HasParseError()) throw std::runtime_error("no JSON");
  return document;
}

void RegisterBoth(const std::string& workload, const bench::ConfigStoreObjectId& id, const std::string& text,
                  const char* rules) {
  const auto object = bench::ConfigStore::CreateObject(id, text);
  bench::Register(workload, bench::Side::Store, [object](size_t) {
    if (!OrvoConfigStore::CheckObject(object, {}).empty()) throw std::runtime_error("the object is not valid");
  });
  const auto data = std::make_shared<const rapidjson::Document>(Parsed(text));
  const auto schema = std::make_shared<const rapidjson::SchemaDocument>(Parsed(rules));
  const auto validator = std::make_shared<rapidjson::SchemaValidator>(*schema);
  bench::Register(workload, bench::Side::Floor, [data, schema, validator](size_t) {
    validator->Reset();
    if (!data->Accept(*validator)) throw std::runtime_error("the object is not valid");
  });
}

}  // namespace

int main(int argc, char** argv) {
  const bench::SampleHost host(0);
  const bench::ConfigStoreObjectId table = RegisterTable(host);
  RegisterBoth("Validation of an object", bench::SampleId(1), bench::SampleText(1), kSampleRules);
  RegisterBoth("Validation of 50 nested instances", table, TableText(), kTableRules);
  return bench::RunRegistered(argc, argv);
}
