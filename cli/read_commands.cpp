#include <configstore/config_store.h>
#include <configstore/errors.h>
#include <configstore/inspect.h>

#include "command.h"
#include "failure.h"
#include "json_text.h"
#include "known_type.h"
#include "object_input.h"
#include "object_name.h"

namespace csctl {

using OrvoConfigStore::ConfigStoreObjectId;
using OrvoConfigStore::StoredName;
using OrvoConfigStore::StoredRow;

namespace {

// --- get ---------------------------------------------------------------------

struct GetOptions : ShowOptions {
  bool ofDefault = false;
  bool withOrigin = false;
};

Exit GetDefault(Session& session, const GetOptions& options, const ConfigStoreObjectId& id) {
  const auto object = OpenStore()->GetDefaultConfig(id);
  if (object == nullptr) FailNotFound("the type has no default object", "defaults come with packages");
  session.PrintJson(options.Mask(id, object->GetData()));
  return Exit::kDone;
}

/// Prints the object and below it the layer that each of its fields comes from.
void PrintWithOrigin(const Session& session, const ConfigStoreObjectId& id, const std::string& data) {
  std::vector<std::pair<std::string, std::string>> layers;
  std::vector<std::vector<std::string>> rows;
  for (const auto& field : OrvoConfigStore::ExplainObject(id).fields) {
    if (!field.effective) continue;
    layers.emplace_back(field.path, JsonString(field.layer));
    rows.push_back({FieldName(field.path), field.layer});
  }
  if (session.json) return session.PrintJson(JsonObject({{"object", data}, {"origin", JsonObject(layers)}}));
  session.PrintJson(data);
  for (const std::string& line : AlignColumns(rows)) session.Print(line);
}

Exit GetObject(Session& session, const GetOptions& options) {
  const ConfigStoreObjectId id = session.TakeObject(options.id);
  if (options.ofDefault) return GetDefault(session, options, id);
  const auto object = OpenStore()->Get(id);
  if (object == nullptr) {
    if (!OrvoConfigStore::ReadStoredRow(id)) FailNotFound("there is no such object", "\"csctl set ID\" stores one");
    FailNotFound("nothing of the object is in force", "\"csctl layers ID\" shows what is stored");
  }
  const std::string data = options.Mask(id, object->GetData());
  options.withOrigin ? PrintWithOrigin(session, id, data) : session.PrintJson(data);
  return Exit::kDone;
}

Run SetUpGet(Arguments& arguments) {
  auto options = std::make_shared<GetOptions>();
  arguments.Option("ID", options->id, kIdHelp).Required();
  const Argument ofDefault =
      arguments.Flag("--default", options->ofDefault, "Show the default object that the type's package brought");
  arguments.Flag("--origin", options->withOrigin, "Show also which layer each field comes from").Excludes(ofDefault);
  AddShowSecrets(arguments, *options);
  return [options](Session& session) { return GetObject(session, *options); };
}

// --- layers ------------------------------------------------------------------

// The layers in the order in which a read folds them, then the staged value.
struct LayerRow {
  const char* name;
  std::optional<std::string> StoredRow::*text;
};

const LayerRow kLayers[] = {
    {"vital", &StoredRow::vitalValue}, {"cached", &StoredRow::cachedValue},   {"auto", &StoredRow::autoConfValue},
    {"user", &StoredRow::userValue},   {"desired", &StoredRow::desiredValue},
};

void PrintRowJson(const Session& session, const StoredRow& row) {
  std::vector<std::pair<std::string, std::string>> layers;
  for (const LayerRow& layer : kLayers) layers.emplace_back(layer.name, ValueJson(row.*layer.text));
  session.PrintJson(JsonObject({{"id", JsonString(session.where)},
                                {"version", JsonString(row.version)},
                                {"confirmed", row.confirmed ? "true" : "false"},
                                {"created", JsonString(row.creationTime)},
                                {"modified", JsonString(row.modifiedTime)},
                                {"layers", JsonObject(layers)}}));
}

void PrintRowText(const Session& session, const StoredRow& row) {
  session.Print(session.where + ", version " + Printable(row.version) +
                (row.confirmed ? "" : ", not confirmed: the user layer is not in force"));
  session.Print("created " + Printable(row.creationTime) + " UTC, modified " + Printable(row.modifiedTime) + " UTC");
  for (const LayerRow& layer : kLayers) {
    const auto& text = row.*layer.text;
    session.Print(std::string(layer.name) + ": " + (text ? session.ShowJson(ValueJson(text)) : "-"));
  }
}

Exit ShowLayers(Session& session, const ShowOptions& options) {
  const ConfigStoreObjectId id = session.TakeObject(options.id);
  const auto store = OpenStore();
  std::optional<StoredRow> row = OrvoConfigStore::ReadStoredRow(id);
  if (!row) FailNotFound("there is no such object", "\"csctl set ID\" stores one");
  for (const LayerRow& layer : kLayers) {
    auto& text = (*row).*layer.text;
    if (text) text = options.Mask(id, *text);
  }
  session.json ? PrintRowJson(session, *row) : PrintRowText(session, *row);
  return Exit::kDone;
}

Run SetUpLayers(Arguments& arguments) {
  auto options = std::make_shared<ShowOptions>();
  arguments.Option("ID", options->id, kIdHelp).Required();
  AddShowSecrets(arguments, *options);
  return [options](Session& session) { return ShowLayers(session, *options); };
}

// --- ls ----------------------------------------------------------------------

std::string NameJson(const StoredName& name) {
  return JsonObject({{"id", JsonString(ObjectName(name.id))},
                     {"version", JsonString(name.version)},
                     {"confirmed", name.confirmed ? "true" : "false"},
                     {"desired", name.pending ? "true" : "false"}});
}

/// What a listing says of an object beside its name.
std::string Remark(const StoredName& name) {
  return std::string(name.confirmed ? "" : "  (not confirmed)") + (name.pending ? "  (desired value pending)" : "");
}

Exit List(Session& session, const std::string& prefixText) {
  session.where = prefixText;
  const NamePrefix prefix = prefixText.empty() ? NamePrefix() : ParseNamePrefix(prefixText);
  OpenStore();
  const auto names = OrvoConfigStore::ListStoredObjects(prefix.component, prefix.group, prefix.key);
  // What is stored is listed, its type known or not.
  if (names.empty() && !prefixText.empty() && !IsRegistered(prefix)) FailUnregistered(prefix);
  std::vector<std::string> elements;
  for (const StoredName& name : names) {
    if (session.json) {
      elements.push_back(NameJson(name));
    } else {
      session.Print(ObjectName(name.id) + Remark(name));
    }
  }
  if (session.json) session.Print(JsonArray(elements));
  return Exit::kDone;
}

Run SetUpList(Arguments& arguments) {
  auto prefix = std::make_shared<std::string>();
  arguments.Option("PREFIX", *prefix, "COMPONENT[/GROUP[/KEY]]; everything without it");
  return [prefix](Session& session) { return List(session, *prefix); };
}

// --- find --------------------------------------------------------------------

struct FindOptions : ShowOptions {
  std::string file = "-";
};

Exit Find(Session& session, const FindOptions& options) {
  session.where = options.id;
  const ConfigStoreObjectId type = ParseTypeName(options.id);
  const auto store = OpenStore();
  const auto found = store->GetInstances(ParsePattern(type, ReadText(options.file)));
  std::vector<std::string> elements;
  for (const auto& object : found) {
    const std::string name = ObjectName(object->GetId());
    const std::string data = options.Mask(object->GetId(), object->GetData());
    if (session.json) {
      elements.push_back(JsonObject({{"id", JsonString(name)}, {"object", data}}));
    } else {
      session.Print(name);
      session.PrintJson(data);
    }
  }
  if (session.json) session.Print(JsonArray(elements));
  return found.empty() ? Exit::kNo : Exit::kDone;
}

Run SetUpFind(Arguments& arguments) {
  auto options = std::make_shared<FindOptions>();
  arguments.Option("TYPE", options->id, kTypeHelp).Required();
  arguments.Option("-f,--file", options->file,
                   "The pattern, a JSON object whose members an instance must hold; standard input without it");
  AddShowSecrets(arguments, *options);
  return [options](Session& session) { return Find(session, *options); };
}

}  // namespace

const std::vector<Command>& ReadCommands() {
  static const std::vector<Command> commands = {
      {"get", "Show an object, its layers merged", SetUpGet},
      {"layers", "Show an object's row: each layer as it is stored", SetUpLayers},
      {"ls", "List the stored objects", SetUpList},
      {"find", "Show the instances that hold the values of a pattern; exit 1 when none does", SetUpFind},
  };
  return commands;
}

}  // namespace csctl
