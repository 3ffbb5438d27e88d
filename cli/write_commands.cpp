#include <configstore/config_store.h>
#include <configstore/errors.h>
#include <configstore/host.h>
#include <configstore/inspect.h>

#include <algorithm>
#include <set>

#include "command.h"
#include "diagnosis.h"
#include "failure.h"
#include "field_commands.h"
#include "json_text.h"
#include "object_input.h"
#include "object_name.h"

namespace csctl {

using OrvoConfigStore::ConfigStoreObjectId;
using OrvoConfigStore::SchemaInfo;
using OrvoConfigStore::StoredName;

namespace {

Argument AddFile(Arguments& arguments, WriteOptions& options, const char* help) {
  return arguments.Option("-f,--file", options.file, help);
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

/// A new instance's name stands alone, for the program that asked for it.
void PrintStored(const Session& session, const ConfigStoreObjectId& id, const WriteReport& report, bool nameAlone) {
  if (nameAlone && !session.json) return session.Print(ObjectName(id));
  PrintWrite(session, "stored", id, report);
}

Exit SetObject(Session& session, const WriteOptions& options) {
  ConfigStoreObjectId id = session.TakeObject(options.id);
  auto store = OpenStore();
  if (options.create) NameNewInstance(session, id);
  if (!options.fields.empty()) return SetFields(session, id, options);
  const InputText input = ReadText(options.file);
  const ObjectPointer object = ParseObject(id, input);
  const auto write = [&](const Row&) {
    if (const Layer* layer = options.OneLayer()) return layer->set(*store, object);
    store->Set(object, options.Context());
  };
  WriteReport report;
  WriteDiagnosed(
      input, [&] { return options.DiagnoseSet(id, input); }, [&] { report = PerformWrite(store, id, write); });
  PrintStored(session, id, report, options.create);
  return Exit::kDone;
}

Run SetUpSet(Arguments& arguments) {
  auto options = std::make_shared<WriteOptions>();
  arguments.Option("ID", options->id, kIdHelp).Required();
  const Argument fields = arguments.Option("FIELD=VALUE", options->fields,
                                           "Set only these fields, of the user layer or the one chosen: mtu=1500, "
                                           "link/eth0/enabled=true, of a list the words between commas");
  arguments.Flag("--value-json", options->takesJson, "Each VALUE is JSON, not a plain word").Needs(fields);
  AddFile(arguments, *options, "The object's JSON text; standard input without it").Excludes(fields);
  AddLayer(arguments, *options, AddAs(arguments, *options));
  arguments.Flag("--new", options->create, "Store a new instance of the type ID, named by the store; prints its ID");
  return [options](Session& session) { return SetObject(session, *options); };
}

// --- update ------------------------------------------------------------------

Exit UpdateObject(Session& session, const WriteOptions& options) {
  const ConfigStoreObjectId id = session.TakeObject(options.id);
  auto store = OpenStore();
  const InputText input = ReadText(options.file);
  const ObjectPointer part = ParseObject(id, input);
  const auto diagnose = [&] {
    return OrvoConfigStore::DiagnoseObject(id, input.text, OrvoConfigStore::DIAGNOSE_UPDATE);
  };
  const auto write = [&](const Row&) { store->Update(part, options.Context()); };
  WriteReport report;
  WriteDiagnosed(input, diagnose, [&] { report = PerformWrite(store, id, write); });
  PrintWrite(session, "updated", id, report);
  return Exit::kDone;
}

Run SetUpUpdate(Arguments& arguments) {
  auto options = std::make_shared<WriteOptions>();
  arguments.Option("ID", options->id, kIdHelp).Required();
  AddFile(arguments, *options, "The members to add or overwrite, a JSON object; standard input without it");
  AddAs(arguments, *options);
  return [options](Session& session) { return UpdateObject(session, *options); };
}

// --- replace -----------------------------------------------------------------

/// The instances of a type, and how many of them have a desired value.
struct Instances {
  std::set<std::string> names;
  size_t desired = 0;
};

Instances CountInstances(const ConfigStoreObjectId& type) {
  Instances instances;
  OrvoConfigStore::ForEachStoredRow(type.component, type.group, type.key, [&](const auto& id, const auto& row) {
    instances.names.insert(id.instanceId);
    instances.desired += row.desiredValue ? 1 : 0;
  });
  return instances;
}

void PrintReplaced(const Session& session, const std::string& name, const Layer* layer, size_t count,
                   const Instances& before, const Instances& after) {
  const auto isGone = [&after](const std::string& instance) { return after.names.count(instance) == 0; };
  const auto gone = static_cast<size_t>(std::count_if(before.names.begin(), before.names.end(), isGone));
  const size_t discarded = before.desired - std::min(before.desired, after.desired);
  std::string line = "replaced " + name + ": " + std::to_string(count) + " instances\n  changed: ";
  line += layer == nullptr ? "all layers" : layer->name + std::string(" layer, which the other instances lose");
  if (gone > 0) line += "; " + std::to_string(gone) + " instances are gone with all their layers";
  if (discarded > 0) line += "; " + std::to_string(discarded) + " staged desired values are discarded";
  session.PrintResult(line, JsonObject({{"replaced", JsonString(name)},
                                        {"instances", std::to_string(count)},
                                        {"layer", layer == nullptr ? "null" : JsonString(layer->name)},
                                        {"gone", std::to_string(gone)},
                                        {"desiredDiscarded", std::to_string(discarded)}}));
}

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
  const Layer* layer = options.OneLayer();
  const Instances before = CountInstances(type);
  const auto diagnose = [&] { return options.DiagnoseSet(type, input); };
  WriteDiagnosed(input, diagnose, [&] {
    if (layer != nullptr) return layer->replace(*store, objects);
    store->SetInstances(objects, options.Context());
  });
  PrintReplaced(session, ObjectName(type), layer, objects.size(), before, CountInstances(type));
  return Exit::kDone;
}

Run SetUpReplace(Arguments& arguments) {
  auto options = std::make_shared<WriteOptions>();
  arguments.Option("TYPE", options->id, kTypeHelp).Required();
  AddFile(arguments, *options, "The instances, a JSON array of objects; standard input without it");
  AddLayer(arguments, *options, AddAs(arguments, *options));
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
  session.PrintResult("deleted " + session.where, JsonObject({{"deleted", JsonString(session.where)}}));
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

Run SetUpDelete(Arguments& arguments) {
  auto options = std::make_shared<DeleteOptions>();
  arguments.Option("ID", options->id, "The object, or with --all the type: COMPONENT/GROUP/KEY[@INSTANCE]").Required();
  const Argument all = arguments.Flag("--all", options->all, "Delete every object of the type");
  arguments.Flag("--yes", options->yes, "Do so without asking further").Needs(all);
  return [options](Session& session) {
    return options->all ? DeleteAll(session, *options) : DeleteObject(session, *options);
  };
}

}  // namespace

const std::vector<Command>& WriteCommands() {
  static const std::vector<Command> commands = {
      {"set", "Validate an object and store it, replacing what its row held, or set single fields of it", SetUpSet,
       true},
      {"update", "Merge members into a stored object", SetUpUpdate, true},
      {"replace", "Replace the whole set of instances of a type", SetUpReplace, true},
      {"delete", "Delete an object with all its layers, or all of a type", SetUpDelete, true},
  };
  return commands;
}

}  // namespace csctl
