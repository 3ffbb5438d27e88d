#include <configstore/boot_state.h>
#include <configstore/errors.h>
#include <configstore/host.h>
#include <configstore/inspect.h>
#include <configstore/lifecycle.h>

#include "command.h"
#include "failure.h"
#include "host_log.h"
#include "json_text.h"
#include "object_input.h"
#include "object_name.h"

namespace csctl {

using OrvoConfigStore::BootChange;
using OrvoConfigStore::BootPreview;

namespace {

// --- load --------------------------------------------------------------------

Exit Load(Session& session, bool boot) {
  const HostLog log;
  const OrvoConfigUpgrade::ScopedUpgradeLibrary library(OrvoConfigStore::PackageUpgrades());
  OrvoConfigStore::LoadStore(boot);
  session.PrintResult("the store is loaded and the boot phase has begun; \"csctl boot end\" ends it",
                      JsonObject({{"loaded", "true"}}));
  return Exit::kDone;
}

Run SetUpLoad(Arguments& arguments) {
  auto boot = std::make_shared<bool>(false);
  arguments.Flag("--boot", *boot,
                 "REMOVES the store file and restores the last backup first: all that was stored since that backup is "
                 "lost. For a host that keeps its store in memory");
  return [boot](Session& session) { return Load(session, *boot); };
}

// --- boot begin, end, status, mode -------------------------------------------

/// Fails unless the change before it shows: the library does not report it. Why
/// is asked first, since the look itself is a call that succeeds.
template <class Shows>
void RequireChange(Shows shows) {
  const OrvoConfigStore::StorageError error = OrvoConfigStore::LastStorageError();
  if (!shows()) throw CommandFailed(ExplainStorage(error));
}

void PrintPhase(const Session& session, bool isBoot) {
  session.PrintResult(isBoot ? "the host is in its boot phase" : "the host is not in its boot phase",
                      JsonObject({{"boot", JsonBool(isBoot)}}));
}

Run SetUpBegin(Arguments&) {
  return [](Session& session) {
    OpenStore();
    OrvoConfigStore::StartAutoConf();
    RequireChange([] { return OrvoConfigStore::IsBoot(); });
    PrintPhase(session, true);
    return Exit::kDone;
  };
}

Run SetUpEnd(Arguments&) {
  return [](Session& session) {
    OpenStore();
    OrvoConfigStore::EndAutoConf();
    RequireChange([] { return !OrvoConfigStore::IsBoot(); });
    PrintPhase(session, false);
    return Exit::kDone;
  };
}

Run SetUpPhase(Arguments&) {
  return [](Session& session) {
    OpenStore();
    const bool isBoot = OrvoConfigStore::IsBoot();
    PrintPhase(session, isBoot);
    return isBoot ? Exit::kDone : Exit::kNo;
  };
}

void PrintMode(const Session& session, bool applies) {
  std::string line = applies ? "apply: the next load puts the staged configuration in place of all user values"
                             : "normal: the next load leaves the staged configuration alone";
  if (applies && OrvoConfigStore::ListStagedConfig().empty()) {
    line += "\nnothing is staged: the next load would clear every user value";
  }
  session.PrintResult(line, JsonObject({{"mode", JsonString(applies ? "apply" : "normal")}}));
}

Exit Mode(Session& session, const std::string& mode) {
  OpenStore();
  if (!mode.empty()) {
    const bool applies = mode == "apply";
    OrvoConfigStore::SetBootMode(applies ? OrvoConfigStore::BOOTMODE_APPLY : OrvoConfigStore::BOOTMODE_NORMAL);
    RequireChange([applies] { return OrvoConfigStore::GetNextBootMode() == applies; });
  }
  PrintMode(session, OrvoConfigStore::GetNextBootMode());
  return Exit::kDone;
}

Run SetUpMode(Arguments& arguments) {
  auto mode = std::make_shared<std::string>();
  arguments.Option("MODE", *mode, "apply or normal; without it, shows what is chosen").OneOf({"apply", "normal"});
  return [mode](Session& session) { return Mode(session, *mode); };
}

// --- boot preview ------------------------------------------------------------

using Value = std::optional<std::string>;

/// Returns the value as JSON that may be shown. The secrets of a type that is no
/// longer registered are not known: then nothing of the value shows.
std::string Shown(const ShowOptions& options, const BootChange& change, const Value& value) {
  if (!value) return "null";
  try {
    return ValueJson(options.Mask(change.id, *value));
  } catch (const OrvoConfigStore::ValidationException&) {
    return JsonString(OrvoConfigStore::kSecretMask);
  }
}

const char* ChangeWord(const BootChange& change) {
  if (!change.userBefore && !change.userAfter) return "none";
  if (change.userBefore == change.userAfter) return "kept";
  if (!change.userBefore) return "set";
  return change.userAfter ? "changed" : "cleared";
}

std::string ChangeJson(const ShowOptions& options, const BootChange& change) {
  return JsonObject({{"id", JsonString(ObjectName(change.id))},
                     {"user", JsonString(ChangeWord(change))},
                     {"before", Shown(options, change, change.userBefore)},
                     {"after", Shown(options, change, change.userAfter)},
                     {"desiredLost", Shown(options, change, change.desiredLost)},
                     {"wasConfirmed", JsonBool(change.wasConfirmed)},
                     {"confirmed", JsonBool(change.isConfirmed)}});
}

/// Values stand on a line each, one below the other, so that they can be compared.
std::string ForLine(const Session& session, const std::string& json) {
  return session.onTerminal ? ShieldJson(json) : json;
}

void PrintChange(const Session& session, const ShowOptions& options, const BootChange& change) {
  std::string line = ObjectName(change.id) + ": user value " + ChangeWord(change);
  if (change.userAfter && !change.isConfirmed) line += ", not in force until it is confirmed";
  if (change.isConfirmed && !change.wasConfirmed) line += ", confirmed";
  if (change.desiredLost) line += ", desired value lost with the object";
  session.Print(line);
  const auto print = [&](const char* name, const Value& value) {
    if (value) session.Print(std::string("  ") + name + ForLine(session, Shown(options, change, value)));
  };
  const bool isKept = change.userBefore == change.userAfter;
  print(isKept ? "value:  " : "before: ", change.userBefore);
  if (!isKept) print("after:  ", change.userAfter);
  print("lost:   ", change.desiredLost);
}

Exit Preview(Session& session, const ShowOptions& options) {
  OpenStore();
  const BootPreview preview = OrvoConfigStore::PreviewBoot();
  if (session.json) {
    std::vector<std::string> changes;
    for (const BootChange& change : preview.changes) changes.push_back(ChangeJson(options, change));
    session.PrintJson(
        JsonObject({{"appliesStaged", JsonBool(preview.appliesStaged)}, {"changes", JsonArray(changes)}}));
    return Exit::kDone;
  }
  session.Print(preview.appliesStaged ? "the next load puts the staged configuration in place of all user values"
                                      : "the next load leaves the staged configuration alone");
  for (const BootChange& change : preview.changes) PrintChange(session, options, change);
  if (preview.changes.empty()) session.Print("it changes no object");
  return Exit::kDone;
}

Run SetUpPreview(Arguments& arguments) {
  auto options = std::make_shared<ShowOptions>();
  AddShowSecrets(arguments, *options);
  return [options](Session& session) { return Preview(session, *options); };
}

}  // namespace

const std::vector<Command>& BootCommands() {
  static const std::vector<Command> commands = {
      {"load",
       "Load the store for a boot; what is stored stays, but --boot removes the store file and restores the last "
       "backup",
       SetUpLoad},
      {"boot", "Look at the boot phase and choose what the next boot does", nullptr},
      {"boot begin", "Begin the boot phase: only the host itself writes", SetUpBegin},
      {"boot end", "End the boot phase: automatic configuration is complete", SetUpEnd},
      {"boot status", "Tell whether the host is in its boot phase; exit 1 when it is not", SetUpPhase},
      {"boot mode", "Show or choose whether the next load applies what is staged", SetUpMode},
      {"boot preview", "Show what the next \"csctl load\" would change; changes nothing", SetUpPreview},
  };
  return commands;
}

}  // namespace csctl
