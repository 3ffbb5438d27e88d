#pragma once

#include <cstdlib>
#include <memory>

#include "configstore/configstore.h"
#include "support/temp_root.h"

/// What the targets that need a store share: a host with one, made at the first
/// input, and its types, all of component "fuzz", group "f".

/// Ends the program, which the fuzzer takes for a finding.
inline void Demand(bool holds) {
  if (!holds) std::abort();
}

inline OrvoConfigStore::ConfigStoreObjectId FuzzType(const std::string& key, const std::string& instanceId = "") {
  return {key, "f", "fuzz", instanceId};
}

class FuzzHost {
 public:
  static void Prepare() { static const FuzzHost host; }

 private:
  FuzzHost() {
    OrvoConfigStore::CreateDatabases();
    const std::string layers = R"("n": {"type": "integer"}, "v": {"type": "integer", "vital": true},
                                  "c": {"type": "integer", "cached": true})";
    const std::string more = R"("d": {"type": "double"}, "p": {"type": "string", "pattern": "[a-c]+(x|y)?"},
        "e": {"type": "string", "enum": ["on", "off"]}, "s": {"type": "secret"},
        "u": {"type": "long", "optionDependency": {"name": "e", "value": ["on"]}},
        "list": {"type": "array", "items": {"type": "string"}},
        "parts": {"type": "array", "instanceId": "cs_generated_id", "items": {"type": "object", "required": ["a", "cs_generated_id"],
          "properties": {"a": {"type": "integer"}, "cs_generated_id": {"type": "string", "instanceId": true, "storeSpecific": true}}}})";
    OrvoConfigStore::RegisterSchemaFiles(
        {Write("single", R"({"type": "object", "properties": {)" + layers + "}}"),
         Write("set", R"({"type": "array", "instanceId": "name", "items": {"type": "object", "required": ["name"],
               "properties": {"name": {"type": "string", "instanceId": true}, )" +
                          layers + "}}}"),
         Write("rich",
               R"({"type": "object", "additionalProperties": false, "properties": {)" + layers + "," + more + "}}")});
  }

  std::string Write(const std::string& key, const std::string& schema) const {
    return root_.Write("/" + key, R"({"component": "fuzz", "group": "f", "key": ")" + key +
                                      R"(", "version": "1", "noRestore": false, "schema": )" + schema + "}");
  }

  TempRoot root_;
};
