#include <configstore/watch.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <limits>

#include "command.h"
#include "failure.h"
#include "json_text.h"
#include "known_type.h"
#include "object_name.h"
#include "stop_signals.h"

namespace csctl {

using OrvoConfigStore::ConfigChange;
using OrvoConfigStore::ConfigStoreException;
using OrvoConfigStore::ConfigStoreObjectId;
using OrvoConfigStore::ConfigWatcher;

namespace {

struct WatchOptions {
  std::vector<std::string> names;
  std::string command;
  unsigned interval = 1000;
  unsigned count = std::numeric_limits<unsigned>::max();
};

// Indexed by ConfigChange::Kind.
constexpr const char* kChangeWords[] = {"created", "changed", "deleted"};

// A boot that replaces the store leaves it unreadable for moments.
constexpr std::chrono::seconds kPatience{5};

ConfigStoreObjectId ParseSelection(const std::string& text) {
  if (std::count(text.begin(), text.end(), '/') >= 2) return ParseObjectName(text);
  const NamePrefix prefix = ParseNamePrefix(text);
  return {prefix.key, prefix.group, prefix.component};
}

/// Returns what to watch. A name that no type could have would be waited for in vain.
std::vector<ConfigStoreObjectId> TakeSelection(Session& session, const std::vector<std::string>& names) {
  std::vector<ConfigStoreObjectId> selection;
  for (const std::string& name : names) {
    session.where = name;
    selection.push_back(ParseSelection(name));
    const ConfigStoreObjectId& id = selection.back();
    const NamePrefix type{id.component, id.group, id.key};
    if (!IsRegistered(type)) FailUnregistered(type);
  }
  session.where.clear();
  return selection;
}

/// Polls, and lets a store be unreadable for a while.
class PatientWatcher {
 public:
  explicit PatientWatcher(ConfigWatcher watcher) : watcher_(std::move(watcher)) {}

  std::vector<ConfigChange> Poll() {
    const auto now = std::chrono::steady_clock::now();
    try {
      std::vector<ConfigChange> changes = watcher_.Poll();
      readable_ = now;
      return changes;
    } catch (const ConfigStoreException&) {
      if (now - readable_ > kPatience) throw;
      return {};
    }
  }

 private:
  ConfigWatcher watcher_;
  std::chrono::steady_clock::time_point readable_ = std::chrono::steady_clock::now();
};

void Tell(const Session& session, const ConfigChange& change, const std::string& command, StopSignals& signals) {
  const char* word = kChangeWords[change.kind];
  const std::string name = ObjectName(change.id);
  session.PrintResult(std::string(word) + " " + name,
                      JsonObject({{"change", JsonString(word)}, {"id", JsonString(name)}}));
  std::cout.flush();
  if (command.empty()) return;
  const int ended = signals.RunShell(command, name, word);
  if (ended != 0 && !signals.IsAskedToStop()) {
    std::cerr << "csctl: " << name << ": the command ended with " << ended << std::endl;
  }
}

/// Whether nobody reads standard output any more.
bool IsOutputClosed() {
  pollfd output{STDOUT_FILENO, 0, 0};
  return poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0;
}

Exit Watch(Session& session, const WatchOptions& options) {
  OpenStore();
  StopSignals signals;
  PatientWatcher watcher{ConfigWatcher(TakeSelection(session, options.names))};
  size_t left = options.count;
  while (!signals.StopWithin(options.interval) && !IsOutputClosed()) {
    for (const ConfigChange& change : watcher.Poll()) {
      Tell(session, change, options.command, signals);
      if (--left == 0 || signals.IsAskedToStop() || !std::cout) return Exit::kDone;
    }
  }
  return Exit::kDone;
}

Run SetUpWatch(Arguments& arguments) {
  auto options = std::make_shared<WatchOptions>();
  arguments.Option("ID", options->names, "What to watch: COMPONENT[/GROUP[/KEY[@INSTANCE]]]; everything without it");
  arguments
      .Option("--exec", options->command,
              "Run this shell command for each change, the object's name behind it; CSCTL_CHANGE says what happened")
      .Shows("CMD");
  arguments.Option("--interval", options->interval, "Look every so many milliseconds, 1000 without it")
      .Shows("MS")
      .Within(1, 86400000);
  arguments.Option("--count", options->count, "End after so many changes")
      .Shows("N")
      .Within(1, std::numeric_limits<unsigned>::max());
  return [options](Session& session) { return Watch(session, *options); };
}

}  // namespace

const std::vector<Command>& WatchCommands() {
  static const std::vector<Command> commands = {
      {"watch", "Print each change of the stored objects, until SIGINT or SIGTERM", SetUpWatch},
  };
  return commands;
}

}  // namespace csctl
