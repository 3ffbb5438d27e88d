#include <configstore/config_store.h>
#include <configstore/errors.h>
#include <configstore/host.h>
#include <configstore/inspect.h>

#include <CLI/CLI.hpp>
#include <algorithm>

#include "command.h"
#include "failure.h"
#include "json_text.h"
#include "object_name.h"

namespace csctl {

using OrvoConfigStore::ConfigStore;
using OrvoConfigStore::ConfigStoreObject;
using OrvoConfigStore::ConfigStoreObjectId;
using OrvoConfigStore::SchemaInfo;
using OrvoConfigStore::StoredRow;
using OrvoConfigStore::USERDATA_CONTEXT;

namespace {

constexpr char kIdHelp[] = "The object: COMPONENT/GROUP/KEY[@INSTANCE], \"%XX\" for any byte";

[[noreturn]] void FailNotFound(const char* message, const char* next) {
  throw CommandFailed({Exit::kNotFound, message, "", next});
}

// --- set ---------------------------------------------------------------------

struct SetOptions {
  std::string id;
  std::string file = "-";
  std::string as = "user";
  bool create = false;
};

/// Gives `id`, which names a type, a new instance. Throws CommandFailed unless
/// instances of the type are named by the store.
void NameNewInstance(Session& session, ConfigStoreObjectId& id) {
  const std::vector<SchemaInfo> types = OrvoConfigStore::ListSchemas();
  const auto type = std::find_if(types.begin(), types.end(), [&](const SchemaInfo& known) {
    return known.component == id.component && known.group == id.group && known.key == id.key;
  });
  if (!id.instanceId.empty()) {
    throw CommandFailed({Exit::kUsage, "--new names the instance itself", "", "leave out \"@INSTANCE\" or --new"});
  }
  if (type != types.end() && !type->generatedId) {
    throw CommandFailed({Exit::kUsage, "the store names no instances of this type", "",
                         type->singleton ? "leave out --new" : "name one yourself: ID@INSTANCE"});
  }
  id.instanceId = OrvoConfigStore::GenerateInstanceId();
  session.where = ObjectName(id);
}

/// Reads an object from a file. Throws CommandFailed when that holds no JSON object.
std::shared_ptr<ConfigStoreObject> ReadObject(const ConfigStoreObjectId& id, const std::string& file) {
  const std::string text = ReadInput(file);
  try {
    return ConfigStore::CreateObject(id, text);
  } catch (const OrvoConfigStore::InvalidArgumentException& error) {
    Failure failure{Exit::kInvalid, error.what(), file == "-" ? "standard input" : file,
                    "give one JSON object of at most 16 MiB and 512 levels; nothing was changed"};
    failure.code = error.GetErrorCode();
    failure.detail = error.toString();
    throw CommandFailed(failure);
  }
}

Exit SetObject(Session& session, const SetOptions& options) {
  ConfigStoreObjectId id = session.TakeObject(options.id);
  const auto store = OpenStore();
  if (options.create) NameNewInstance(session, id);
  USERDATA_CONTEXT context;
  context.kind = options.as == "auto" ? USERDATA_CONTEXT::AUTOCONFIGURATION : USERDATA_CONTEXT::EXTERNAL;
  store->Set(ReadObject(id, options.file), context);
  const std::string name = ObjectName(id);
  session.PrintResult(options.create ? name : "stored " + name, JsonObject({{"stored", JsonString(name)}}));
  return Exit::kDone;
}

Run SetUpSet(CLI::App& app) {
  auto options = std::make_shared<SetOptions>();
  app.add_option("ID", options->id, kIdHelp)->required();
  app.add_option("-f,--file", options->file, "The object's JSON text; standard input without it");
  app.add_option("--as", options->as, "Who writes: user, or auto for the host's own automatic configuration")
      ->check(CLI::IsMember({"user", "auto"}));
  app.add_flag("--new", options->create, "Store a new instance of the type ID, named by the store; prints its ID");
  return [options](Session& session) { return SetObject(session, *options); };
}

// --- get, layers -------------------------------------------------------------

struct ShowOptions {
  std::string id;
  bool showSecrets = false;

  std::string Mask(const ConfigStoreObjectId& object, const std::string& json) const {
    return showSecrets ? json : OrvoConfigStore::MaskSecrets(object, json);
  }
};

std::shared_ptr<ShowOptions> AddShowOptions(CLI::App& app) {
  auto options = std::make_shared<ShowOptions>();
  app.add_option("ID", options->id, kIdHelp)->required();
  app.add_flag("--show-secrets", options->showSecrets, "Show secrets instead of a mask");
  return options;
}

Exit GetObject(Session& session, const ShowOptions& options) {
  const ConfigStoreObjectId id = session.TakeObject(options.id);
  const auto object = OpenStore()->Get(id);
  if (object == nullptr) {
    if (!OrvoConfigStore::ReadStoredRow(id)) FailNotFound("there is no such object", "\"csctl set ID\" stores one");
    FailNotFound("nothing of the object is in force", "\"csctl layers ID\" shows what is stored");
  }
  session.PrintJson(options.Mask(id, object->GetData()));
  return Exit::kDone;
}

// The layers in the order in which a read folds them, then the staged value.
struct LayerRow {
  const char* name;
  std::optional<std::string> StoredRow::*text;
};

const LayerRow kLayers[] = {
    {"vital", &StoredRow::vitalValue}, {"cached", &StoredRow::cachedValue},   {"auto", &StoredRow::autoConfValue},
    {"user", &StoredRow::userValue},   {"desired", &StoredRow::desiredValue},
};

/// A layer's text as JSON: an object as it is, a damaged text as a string.
std::string LayerJson(const std::optional<std::string>& text) {
  if (!text) return "null";
  try {
    OrvoConfigStore::CreateDocumentFromString(*text);
    return *text;
  } catch (const OrvoConfigStore::ConfigStoreException&) {
    return JsonString(*text);
  }
}

void PrintRowJson(const Session& session, const StoredRow& row) {
  std::vector<std::pair<std::string, std::string>> layers;
  for (const LayerRow& layer : kLayers) layers.emplace_back(layer.name, LayerJson(row.*layer.text));
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
    session.Print(std::string(layer.name) + ": " + (text ? session.ShowJson(LayerJson(text)) : "-"));
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

Run SetUpGet(CLI::App& app) {
  auto options = AddShowOptions(app);
  return [options](Session& session) { return GetObject(session, *options); };
}

Run SetUpLayers(CLI::App& app) {
  auto options = AddShowOptions(app);
  return [options](Session& session) { return ShowLayers(session, *options); };
}

// --- delete ------------------------------------------------------------------

Exit DeleteObject(Session& session, const std::string& name) {
  const ConfigStoreObjectId id = session.TakeObject(name);
  auto store = OpenStore();
  // One transaction, so that of two who delete at once only one is told "deleted".
  OrvoConfigStore::ConfigStoreTransaction transaction(store);
  if (!OrvoConfigStore::ReadStoredRow(id)) FailNotFound("there is no such object", "nothing was changed");
  store->Delete(id);
  transaction.Commit();
  session.PrintResult("deleted " + session.where, JsonObject({{"deleted", JsonString(session.where)}}));
  return Exit::kDone;
}

Run SetUpDelete(CLI::App& app) {
  auto name = std::make_shared<std::string>();
  app.add_option("ID", *name, kIdHelp)->required();
  return [name](Session& session) { return DeleteObject(session, *name); };
}

}  // namespace

const std::vector<Command>& ObjectCommands() {
  static const std::vector<Command> commands = {
      {"set", "Validate an object and store it, replacing what its row held", SetUpSet},
      {"get", "Show an object, its layers merged", SetUpGet},
      {"delete", "Delete an object with all its layers", SetUpDelete},
      {"layers", "Show an object's row: each layer as it is stored", SetUpLayers},
  };
  return commands;
}

}  // namespace csctl
