#include <configstore/host.h>
#include <configstore/inspect.h>

#include "command.h"
#include "failure.h"
#include "json_text.h"
#include "object_name.h"

namespace csctl {

using OrvoConfigStore::FieldDescription;
using OrvoConfigStore::SchemaInfo;

namespace {

std::string TypeName(const SchemaInfo& type) {
  return ObjectName({type.key, type.group, type.component});
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

Run SetUpSchemaAdd(Arguments& arguments) {
  auto files = std::make_shared<std::vector<std::string>>();
  arguments.Option("FILE", *files, "Schema files; all are registered, or none").Required();
  return [files](Session& session) {
    for (const std::string& file : *files) ReadInput(file);  // an unreadable one is the caller's slip
    PrintTypes(session, OrvoConfigStore::RegisterSchemaFiles(*files), {"REGISTERED", "VERSION", "OBJECTS"});
    return Exit::kDone;
  };
}

Run SetUpTypes(Arguments&) {
  return [](Session& session) {
    OpenStore();  // without a store there is an answer that helps more than no types
    PrintTypes(session, OrvoConfigStore::ListSchemas(), {"TYPE", "VERSION", "OBJECTS"});
    return Exit::kDone;
  };
}

std::string FieldJson(const FieldDescription& field) {
  std::vector<std::string> rules;
  for (const std::string& rule : field.rules) rules.push_back(JsonString(rule));
  return JsonObject({{"field", JsonString(field.path)},
                     {"type", JsonString(field.type)},
                     {"category", JsonString(field.category)},
                     {"required", JsonBool(field.required)},
                     {"rules", JsonArray(rules)},
                     {"default", field.defaultValue.value_or("null")},
                     {"title", JsonString(field.title)},
                     {"description", JsonString(field.description)}});
}

std::vector<std::string> FieldRow(const FieldDescription& field) {
  std::string rules = field.required ? "required" : "";
  const auto add = [&](const std::string& text) { rules += (rules.empty() ? "" : "; ") + Printable(text); };
  for (const std::string& rule : field.rules) add(rule);
  if (field.defaultValue) add("default " + *field.defaultValue);
  if (!field.title.empty()) add(field.title);
  if (!field.description.empty()) add(field.description);
  return {field.path.empty() ? "(the object)" : Printable(field.path), field.type, field.category, rules};
}

Exit Describe(Session& session, std::string name) {
  session.where = name;
  const std::string field = TakeField(name);
  const OrvoConfigStore::ConfigStoreObjectId type = ParseTypeName(name);
  OpenStore();
  std::vector<std::vector<std::string>> rows = {{"FIELD", "TYPE", "CATEGORY", "RULES"}};
  std::vector<std::string> elements;
  for (const FieldDescription& described : OrvoConfigStore::DescribeType(type)) {
    if (!IsWithin(described.path, field)) continue;
    rows.push_back(FieldRow(described));
    elements.push_back(FieldJson(described));
  }
  if (elements.empty()) {
    throw CommandFailed(
        {Exit::kNotFound, "the type has no such field", "", "\"csctl describe TYPE\" lists its fields"});
  }
  if (session.json) {
    session.PrintJson(JsonArray(elements));
  } else {
    for (const std::string& line : AlignColumns(rows)) session.Print(line);
  }
  return Exit::kDone;
}

Run SetUpDescribe(Arguments& arguments) {
  auto name = std::make_shared<std::string>();
  arguments.Option("TYPE", *name, "The type, COMPONENT/GROUP/KEY, or one field of it, TYPE#/FIELD").Required();
  return [name](Session& session) { return Describe(session, *name); };
}

}  // namespace

const std::vector<Command>& TypeCommands() {
  static const std::vector<Command> commands = {
      {"schema", "Manage the registered types", nullptr},
      {"schema add", "Check schema files and register their types", SetUpSchemaAdd},
      {"types", "List the registered types", SetUpTypes},
      {"describe", "Show what the fields of a type are", SetUpDescribe},
  };
  return commands;
}

}  // namespace csctl
