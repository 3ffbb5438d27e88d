#include <configstore/host.h>

#include <CLI/CLI.hpp>

#include "command.h"
#include "json_text.h"
#include "object_name.h"

namespace csctl {

using OrvoConfigStore::SchemaInfo;

namespace {

std::string TypeName(const SchemaInfo& type) {
  return ObjectName({type.key, type.group, type.component});
}

const char* JsonBool(bool value) {
  return value ? "true" : "false";
}

std::string TypeJson(const SchemaInfo& type) {
  return JsonObject({{"type", JsonString(TypeName(type))},
                     {"version", JsonString(type.version)},
                     {"singleton", JsonBool(type.singleton)},
                     {"generatedId", JsonBool(type.generatedId)},
                     {"noRestore", JsonBool(type.noRestore)}});
}

std::vector<std::string> TypeRow(const SchemaInfo& type) {
  const char* kind = type.singleton ? "single" : type.generatedId ? "instances, named by the store" : "instances";
  return {TypeName(type), Printable(type.version), std::string(kind) + (type.noRestore ? ", not restored" : "")};
}

/// Prints types as a table under `heading`, or as a JSON array.
void PrintTypes(const Session& session, const std::vector<SchemaInfo>& types, const std::vector<std::string>& heading) {
  if (session.json) {
    std::vector<std::string> elements;
    for (const SchemaInfo& type : types) elements.push_back(TypeJson(type));
    return session.PrintJson(JsonArray(elements));
  }
  std::vector<std::vector<std::string>> rows = {heading};
  for (const SchemaInfo& type : types) rows.push_back(TypeRow(type));
  for (const std::string& line : AlignColumns(rows)) session.Print(line);
}

Run SetUpSchemaAdd(CLI::App& app) {
  auto files = std::make_shared<std::vector<std::string>>();
  app.add_option("FILE", *files, "Schema files; all are registered, or none")->required();
  return [files](Session& session) {
    for (const std::string& file : *files) ReadInput(file);  // an unreadable one is the caller's slip
    PrintTypes(session, OrvoConfigStore::RegisterSchemaFiles(*files), {"REGISTERED", "VERSION", "OBJECTS"});
    return Exit::kDone;
  };
}

Run SetUpTypes(CLI::App&) {
  return [](Session& session) {
    PrintTypes(session, OrvoConfigStore::ListSchemas(), {"TYPE", "VERSION", "OBJECTS"});
    return Exit::kDone;
  };
}

}  // namespace

const std::vector<Command>& TypeCommands() {
  static const std::vector<Command> commands = {
      {"schema", "Manage the registered types", nullptr},
      {"schema add", "Check schema files and register their types", SetUpSchemaAdd},
      {"types", "List the registered types", SetUpTypes},
  };
  return commands;
}

}  // namespace csctl
