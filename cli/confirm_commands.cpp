#include <configstore/boot_state.h>
#include <configstore/inspect.h>
#include <configstore/lifecycle.h>

#include <algorithm>

#include "command.h"
#include "failure.h"
#include "json_text.h"
#include "object_input.h"
#include "object_name.h"

namespace csctl {

using OrvoConfigStore::ConfigStoreObjectId;
using OrvoConfigStore::StoredName;

namespace {

using NameList = std::vector<StoredName>;

size_t CountUnconfirmed(const NameList& names) {
  return static_cast<size_t>(
      std::count_if(names.begin(), names.end(), [](const auto& name) { return !name.confirmed; }));
}

// --- confirm -----------------------------------------------------------------

struct ConfirmOptions {
  std::string id;
  std::string part;
  bool all = false;
};

/// Returns the stored objects that `id` names: one, or all instances of a type.
NameList FindNamed(const ConfigStoreObjectId& id) {
  NameList names = OrvoConfigStore::ListStoredObjects(id.component, id.group, id.key);
  const auto isOther = [&id](const StoredName& name) {
    return !id.instanceId.empty() && name.id.instanceId != id.instanceId;
  };
  names.erase(std::remove_if(names.begin(), names.end(), isOther), names.end());
  return names;
}

/// Confirms the objects; `find` returns them as they are stored, again afterwards.
template <class Find>
size_t ConfirmFound(Find find) {
  const NameList names = find();
  for (const StoredName& name : names) OrvoConfigStore::SetBootStatus(name.id, true);
  if (CountUnconfirmed(find()) == 0) return names.size();
  throw CommandFailed({Exit::kRefused, "objects are still unconfirmed", "",
                       "another program is at work, or the host's feature \"ConfigStore\" is off; try again"});
}

Exit ConfirmAll(Session& session) {
  OpenStore();
  const size_t count = ConfirmFound([] {
    NameList names = OrvoConfigStore::ListStoredObjects("", "", "");
    names.erase(std::remove_if(names.begin(), names.end(), [](const auto& name) { return name.confirmed; }),
                names.end());
    return names;
  });
  session.PrintResult("confirmed " + std::to_string(count) + " objects",
                      JsonObject({{"confirmed", std::to_string(count)}}));
  return Exit::kDone;
}

Exit ConfirmObject(Session& session, const ConfirmOptions& options) {
  const ConfigStoreObjectId id = session.TakeObject(options.id);
  OpenStore();
  if (FindNamed(id).empty()) FailNotFound("there is no such object", "\"csctl ls\" lists what is stored");
  ConfirmFound([&id] { return FindNamed(id); });
  session.PrintResult("confirmed " + session.where, JsonObject({{"confirmed", JsonString(session.where)}}));
  return Exit::kDone;
}

Exit ConfirmPart(Session& session, const ConfirmOptions& options) {
  const ConfigStoreObjectId id = session.TakeObject(options.id);
  OpenStore();
  if (!OrvoConfigStore::ReadStoredRow(id)) FailNotFound("there is no such object", "\"csctl ls\" lists what is stored");
  OrvoConfigStore::SetPartialBootStatus(ParseObject(id, ReadText(options.part)));
  const auto row = OrvoConfigStore::ReadStoredRow(id);
  const bool isWhole = !row || !row->desiredValue;
  session.PrintResult("confirmed " + session.where + (isWhole ? "" : " in part; the next load tries the rest again"),
                      JsonObject({{"confirmed", JsonString(session.where)}, {"whole", JsonBool(isWhole)}}));
  return Exit::kDone;
}

Run SetUpConfirm(Arguments& arguments) {
  auto options = std::make_shared<ConfirmOptions>();
  const Argument id = arguments.Option("ID", options->id, "The object, or a type for all of its instances");
  const Argument all = arguments.Flag("--all", options->all, "Confirm every unconfirmed object").Excludes(id);
  arguments
      .Option("--part", options->part,
              "Confirm only the part of the pending value in this file, a JSON object; - for standard input")
      .Needs(id)
      .Excludes(all);
  return [options](Session& session) {
    if (options->all) return ConfirmAll(session);
    if (options->id.empty()) {
      throw CommandFailed({Exit::kUsage, "nothing is named to be confirmed", "", "name an object, or give --all"});
    }
    return options->part.empty() ? ConfirmObject(session, *options) : ConfirmPart(session, *options);
  };
}

// --- status ------------------------------------------------------------------

/// What the host's store is up to.
struct Status {
  bool isBoot;
  bool appliesStaged;
  size_t staged;
  size_t desired;
  size_t unconfirmed;
  std::string backup;  ///< empty when there is none
  bool isBackupConsistent;
};

Status ReadStatus() {
  Status status{};
  status.isBoot = OrvoConfigStore::IsBoot();
  status.appliesStaged = OrvoConfigStore::GetNextBootMode();
  status.staged = OrvoConfigStore::ListStagedConfig().size();
  const NameList stored = OrvoConfigStore::ListStoredObjects("", "", "");
  status.desired = static_cast<size_t>(
      std::count_if(stored.begin(), stored.end(), [](const StoredName& name) { return name.pending; }));
  status.unconfirmed = CountUnconfirmed(stored);
  status.backup = OrvoConfigStore::FindBackup();
  status.isBackupConsistent = !status.backup.empty() && OrvoConfigStore::IsConsistentStore(status.backup);
  return status;
}

std::string StatusJson(const Status& status) {
  const std::string backup =
      status.backup.empty()
          ? "null"
          : JsonObject({{"path", JsonString(status.backup)}, {"consistent", JsonBool(status.isBackupConsistent)}});
  return JsonObject({{"boot", JsonBool(status.isBoot)},
                     {"mode", JsonString(status.appliesStaged ? "apply" : "normal")},
                     {"staged", std::to_string(status.staged)},
                     {"desired", std::to_string(status.desired)},
                     {"unconfirmed", std::to_string(status.unconfirmed)},
                     {"backup", backup}});
}

Exit ShowStatus(Session& session) {
  OpenStore();
  const Status status = ReadStatus();
  if (session.json) {
    session.PrintJson(StatusJson(status));
    return Exit::kDone;
  }
  const char* const verdict = status.isBackupConsistent ? ", consistent" : ", NOT consistent: a boot load ignores it";
  const std::vector<std::vector<std::string>> rows = {
      {"boot phase", status.isBoot ? "yes" : "no"},
      {"next load", status.appliesStaged ? "applies the staged configuration" : "normal"},
      {"staged objects", std::to_string(status.staged)},
      {"desired values", std::to_string(status.desired)},
      {"unconfirmed objects", std::to_string(status.unconfirmed)},
      {"backup", status.backup.empty() ? "none" : status.backup + verdict},
  };
  for (const std::string& line : AlignColumns(rows)) session.Print(line);
  return Exit::kDone;
}

Run SetUpStatus(Arguments&) {
  return ShowStatus;
}

}  // namespace

const std::vector<Command>& ConfirmCommands() {
  static const std::vector<Command> commands = {
      {"confirm", "Confirm pending values: from then on they are in force", SetUpConfirm, true},
      {"status", "Show boot phase, next boot, what is staged, desired and unconfirmed, and the backup", SetUpStatus},
  };
  return commands;
}

}  // namespace csctl
