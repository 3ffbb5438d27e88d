#include <configstore/config_store.h>
#include <configstore/errors.h>
#include <configstore/host.h>
#include <configstore/inspect.h>

#include <CLI/CLI.hpp>
#include <algorithm>

#include "command.h"
#include "diagnosis.h"
#include "failure.h"
#include "json_text.h"
#include "object_input.h"
#include "object_name.h"

namespace csctl {

using OrvoConfigStore::ConfigStore;
using OrvoConfigStore::ConfigStoreObject;
using OrvoConfigStore::ConfigStoreObjectId;
using OrvoConfigStore::DIAGNOSE_FOR;
using OrvoConfigStore::SchemaInfo;
using OrvoConfigStore::StoredName;
using OrvoConfigStore::USERDATA_CONTEXT;

namespace {

using ObjectPointer = std::shared_ptr<ConfigStoreObject>;
using ObjectList = std::vector<ObjectPointer>;

constexpr USERDATA_CONTEXT kUser{USERDATA_CONTEXT::EXTERNAL};
constexpr USERDATA_CONTEXT kAuto{USERDATA_CONTEXT::AUTOCONFIGURATION};

/// Where a write goes: one layer, of one object or of all instances of a type.
struct Layer {
  const char* name;
  DIAGNOSE_FOR use;
  void (*set)(ConfigStore& store, ObjectPointer object);
  void (*replace)(ConfigStore& store, ObjectList objects);
};

const Layer kLayers[] = {
    {"user", OrvoConfigStore::DIAGNOSE_USER,
     [](ConfigStore& store, ObjectPointer object) { store.SetUserData(object, kUser); },
     [](ConfigStore& store, ObjectList objects) { store.SetUserDataInstances(objects, kUser); }},
    {"auto", OrvoConfigStore::DIAGNOSE_AUTO,
     [](ConfigStore& store, ObjectPointer object) { store.SetUserData(object, kAuto); },
     [](ConfigStore& store, ObjectList objects) { store.SetUserDataInstances(objects, kAuto); }},
    {"vital", OrvoConfigStore::DIAGNOSE_VITAL,
     [](ConfigStore& store, ObjectPointer object) { store.SetVitalData(object); },
     [](ConfigStore& store, ObjectList objects) { store.SetVitalDataInstances(objects); }},
    {"cached", OrvoConfigStore::DIAGNOSE_CACHED,
     [](ConfigStore& store, ObjectPointer object) { store.SetCachedData(object); },
     [](ConfigStore& store, ObjectList objects) { store.SetCachedDataInstances(objects); }},
};

/// What the writing commands have in common.
struct WriteOptions {
  std::string id;
  std::string file = "-";
  std::string as = "user";
  std::string layer;
  bool create = false;

  USERDATA_CONTEXT Context() const { return as == "auto" ? kAuto : kUser; }

  /// Returns the layer that alone is written, or null for all of them.
  const Layer* OneLayer() const {
    const auto found = std::find_if(std::begin(kLayers), std::end(kLayers),
                                    [this](const Layer& known) { return layer == known.name; });
    return found == std::end(kLayers) ? nullptr : found;
  }

  /// Returns what is wrong with `input`, data of `object`, as a text to be set.
  std::vector<Diagnostic> DiagnoseSet(const ConfigStoreObjectId& object, const InputText& input) const {
    const Layer* one = OneLayer();
    const DIAGNOSE_FOR whole = as == "auto" ? OrvoConfigStore::DIAGNOSE_SET_BY_HOST : OrvoConfigStore::DIAGNOSE_SET;
    return OrvoConfigStore::DiagnoseObject(object, input.text, one != nullptr ? one->use : whole);
  }
};

CLI::Option* AddAs(CLI::App& app, WriteOptions& options) {
  return app.add_option("--as", options.as, "Who writes: user, or auto for the host's own automatic configuration")
      ->check(CLI::IsMember({"user", "auto"}));
}

void AddLayer(CLI::App& app, WriteOptions& options, CLI::Option* as) {
  app.add_option("--layer", options.layer, "Write this layer alone and keep the others")
      ->check(CLI::IsMember({"user", "auto", "vital", "cached"}))
      ->excludes(as);
}

void AddFile(CLI::App& app, WriteOptions& options, const char* help) {
  app.add_option("-f,--file", options.file, help);
}

void PrintStored(const Session& session, const std::string& done, const std::string& name, bool nameAlone) {
  session.PrintResult(nameAlone ? name : done + " " + name, JsonObject({{done, JsonString(name)}}));
}

// --- set ---------------------------------------------------------------------

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

Exit SetObject(Session& session, const WriteOptions& options) {
  ConfigStoreObjectId id = session.TakeObject(options.id);
  const auto store = OpenStore();
  if (options.create) NameNewInstance(session, id);
  const InputText input = ReadText(options.file);
  const ObjectPointer object = ParseObject(id, input);
  const auto diagnose = [&] { return options.DiagnoseSet(id, input); };
  WriteDiagnosed(input, diagnose, [&] {
    if (const Layer* layer = options.OneLayer()) return layer->set(*store, object);
    store->Set(object, options.Context());
  });
  PrintStored(session, "stored", ObjectName(id), options.create);
  return Exit::kDone;
}

Run SetUpSet(CLI::App& app) {
  auto options = std::make_shared<WriteOptions>();
  app.add_option("ID", options->id, kIdHelp)->required();
  AddFile(app, *options, "The object's JSON text; standard input without it");
  AddLayer(app, *options, AddAs(app, *options));
  app.add_flag("--new", options->create, "Store a new instance of the type ID, named by the store; prints its ID");
  return [options](Session& session) { return SetObject(session, *options); };
}

// --- update ------------------------------------------------------------------

Exit UpdateObject(Session& session, const WriteOptions& options) {
  const ConfigStoreObjectId id = session.TakeObject(options.id);
  const auto store = OpenStore();
  const InputText input = ReadText(options.file);
  const ObjectPointer part = ParseObject(id, input);
  const auto diagnose = [&] {
    return OrvoConfigStore::DiagnoseObject(id, input.text, OrvoConfigStore::DIAGNOSE_UPDATE);
  };
  WriteDiagnosed(input, diagnose, [&] { store->Update(part, options.Context()); });
  PrintStored(session, "updated", ObjectName(id), false);
  return Exit::kDone;
}

Run SetUpUpdate(CLI::App& app) {
  auto options = std::make_shared<WriteOptions>();
  app.add_option("ID", options->id, kIdHelp)->required();
  AddFile(app, *options, "The members to add or overwrite, a JSON object; standard input without it");
  AddAs(app, *options);
  return [options](Session& session) { return UpdateObject(session, *options); };
}

// --- replace -----------------------------------------------------------------

Exit ReplaceInstances(Session& session, const WriteOptions& options) {
  session.where = options.id;
  const ConfigStoreObjectId type = ParseTypeName(options.id);
  const auto store = OpenStore();
  const InputText input = ReadText(options.file);
  const ObjectList objects = ParseInstances(type, input);
  if (objects.empty()) {
    throw CommandFailed({Exit::kInvalid, "the array is empty", "",
                         "\"csctl delete TYPE --all --yes\" deletes all instances; nothing was changed"});
  }
  const auto diagnose = [&] { return options.DiagnoseSet(type, input); };
  WriteDiagnosed(input, diagnose, [&] {
    if (const Layer* layer = options.OneLayer()) return layer->replace(*store, objects);
    store->SetInstances(objects, options.Context());
  });
  const std::string name = ObjectName(type), count = std::to_string(objects.size());
  session.PrintResult("replaced " + name + ": " + count + " instances",
                      JsonObject({{"replaced", JsonString(name)}, {"instances", count}}));
  return Exit::kDone;
}

Run SetUpReplace(CLI::App& app) {
  auto options = std::make_shared<WriteOptions>();
  app.add_option("TYPE", options->id, kTypeHelp)->required();
  AddFile(app, *options, "The instances, a JSON array of objects; standard input without it");
  AddLayer(app, *options, AddAs(app, *options));
  return [options](Session& session) { return ReplaceInstances(session, *options); };
}

// --- delete ------------------------------------------------------------------

struct DeleteOptions {
  std::string id;
  bool all = false;
  bool yes = false;
};

Exit DeleteObject(Session& session, const DeleteOptions& options) {
  const ConfigStoreObjectId id = session.TakeObject(options.id);
  auto store = OpenStore();
  // One transaction, so that of two who delete at once only one is told "deleted".
  OrvoConfigStore::ConfigStoreTransaction transaction(store);
  if (!OrvoConfigStore::ReadStoredRow(id)) FailNotFound("there is no such object", "nothing was changed");
  store->Delete(id);
  transaction.Commit();
  PrintStored(session, "deleted", session.where, false);
  return Exit::kDone;
}

Exit DeleteAll(Session& session, const DeleteOptions& options) {
  session.where = options.id;
  const ConfigStoreObjectId type = ParseTypeName(options.id);
  auto store = OpenStore();
  OrvoConfigStore::ConfigStoreTransaction transaction(store);
  const auto names = OrvoConfigStore::ListStoredObjects(type.component, type.group, type.key);
  const std::string count = std::to_string(names.size());
  if (!options.yes) {
    throw CommandFailed({Exit::kUsage, "this deletes " + count + " objects with all their layers", "",
                         "add --yes to do so; nothing was changed"});
  }
  for (const StoredName& name : names) store->Delete(name.id);
  transaction.Commit();
  session.PrintResult("deleted " + session.where + ": " + count + " objects",
                      JsonObject({{"deleted", JsonString(session.where)}, {"objects", count}}));
  return Exit::kDone;
}

Run SetUpDelete(CLI::App& app) {
  auto options = std::make_shared<DeleteOptions>();
  app.add_option("ID", options->id, "The object, or with --all the type: COMPONENT/GROUP/KEY[@INSTANCE]")->required();
  CLI::Option* all = app.add_flag("--all", options->all, "Delete every object of the type");
  app.add_flag("--yes", options->yes, "Do so without asking further")->needs(all);
  return [options](Session& session) {
    return options->all ? DeleteAll(session, *options) : DeleteObject(session, *options);
  };
}

}  // namespace

const std::vector<Command>& WriteCommands() {
  static const std::vector<Command> commands = {
      {"set", "Validate an object and store it, replacing what its row held", SetUpSet},
      {"update", "Merge members into a stored object", SetUpUpdate},
      {"replace", "Replace the whole set of instances of a type", SetUpReplace},
      {"delete", "Delete an object with all its layers, or all of a type", SetUpDelete},
  };
  return commands;
}

}  // namespace csctl
