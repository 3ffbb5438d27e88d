#include "tool.h"

#include <configstore/host.h>
#include <configstore/lifecycle.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <map>

#include "command.h"
#include "completion.h"
#include "dry_run.h"
#include "failure.h"

namespace csctl {

namespace {

/// The command line: CLI11's parser and the command that it chose.
struct CommandLine {
  CLI::App app{"Reads and writes the configuration store of a host", "csctl"};
  Session session;
  Run chosen;

  CommandLine();
  void Add(const Command& command);
};

CommandLine::CommandLine() {
  app.set_version_flag("--version", std::string("csctl ") + CONFIGSTORE_VERSION);
  app.add_option("--root", session.root, "Use the host found under this directory")->type_name("DIR")->take_last();
  app.add_flag("--json", session.json, "Print JSON, errors included");
  app.add_flag("--upgrade", session.upgrade,
               "Write as an upgrade does: also in the boot phase, new user values wait for confirmation");
  app.add_flag("-v,--verbose", session.verbose, "With an error, say all that is known of it");
  app.add_flag("-q,--quiet", session.quiet, "Print nothing but errors");
  app.require_subcommand(1);
  app.footer(ExitCodeHelp());
  for (const auto* group :
       {&StoreCommands(), &TypeCommands(), &WriteCommands(), &ReadCommands(), &ExplainCommands(), &FieldCommands(),
        &DiffCommands(), &CheckCommands(), &DocumentCommands(), &BootCommands(), &StageCommands(), &ConfirmCommands(),
        &BackupCommands(), &UpgradeCommands(), &WatchCommands(), &SchemaCommands()}) {
    for (const Command& command : *group) Add(command);
  }
}

void CommandLine::Add(const Command& command) {
  const char* lastWord = std::strrchr(command.name, ' ');
  CLI::App* parent = lastWord == nullptr ? &app : app.get_subcommand(std::string(command.name, lastWord));
  CLI::App* added = parent->add_subcommand(lastWord == nullptr ? command.name : lastWord + 1, command.usage);
  added->fallthrough();  // global options may follow the command
  if (command.setup == nullptr) {
    added->require_subcommand(1);
    return;
  }
  auto isRehearsal = std::make_shared<bool>(false);
  if (command.canRehearse) {
    added->add_flag("--dry-run", *isRehearsal, "Change nothing: show what would be created, changed and deleted");
  }
  added->callback([this, isRehearsal, run = command.setup(*added)] { chosen = *isRehearsal ? Rehearsed(run) : run; });
}

/// Not listed: the shells' completion asks with it, "csctl complete WORD...".
constexpr char kComplete[] = "complete";

/// Whether --json is among the arguments, for errors found while parsing them.
bool AsksForJson(int count, char** arguments) {
  return std::any_of(arguments, arguments + count,
                     [](const char* argument) { return std::strcmp(argument, "--json") == 0; });
}

int Report(const Failure& failure, const Session& session) {
  std::cerr << (session.json ? ToJson(failure, session.verbose) : ToText(failure, session.verbose)) << std::flush;
  return static_cast<int>(failure.exit);
}

/// Puts the root of the command line in force.
void EnterRoot(const std::string& root) {
  if (root.empty()) return;
  std::error_code error;
  const auto absolute = std::filesystem::absolute(root, error).lexically_normal();
  if (!std::filesystem::is_directory(absolute, error)) {
    throw CommandFailed({Exit::kUsage, "this is no directory", root, "name an existing directory with --root"});
  }
  OrvoConfigStore::SetHostRoot(absolute.string());
}

/// Runs the chosen command, with --upgrade as a registered step of an upgrade.
Exit RunCommand(CommandLine& line) {
  if (!line.session.upgrade) return line.chosen(line.session);
  OrvoConfigUpgrade::UpgradeFunctions functions = OrvoConfigStore::PackageUpgrades();
  if (!functions.isUpgrade()) FailNoUpgrade();
  functions.getUpgradeRunner = [] { return true; };
  const OrvoConfigUpgrade::ScopedUpgradeLibrary library(functions);
  return line.chosen(line.session);
}

int RunChosen(CommandLine& line) {
  line.session.onTerminal = isatty(STDOUT_FILENO) == 1;
  try {
    EnterRoot(line.session.root);
    const Exit exit = RunCommand(line);
    if (!std::cout.flush()) {
      throw CommandFailed({Exit::kStorage, "the output cannot be written in full", "standard output",
                           "the command itself was carried out; make room and read again"});
    }
    return static_cast<int>(exit);
  } catch (const std::exception& error) {
    return Report(Explain(error, line.session.where), line.session);
  }
}

}  // namespace

int RunTool(int count, char** arguments) {
  CommandLine line;
  if (count > 1 && std::strcmp(arguments[1], kComplete) == 0) {
    PrintCandidates(line.app, {arguments + std::min(2, count - 1), arguments + count}, std::cout);
    return 0;
  }
  try {
    line.app.parse(count, arguments);
  } catch (const CLI::Success& help) {
    return line.app.exit(help);
  } catch (const CLI::ParseError& error) {
    line.session.json = AsksForJson(count, arguments);
    return Report({Exit::kUsage, error.what(), "", "\"csctl --help\" and \"csctl COMMAND --help\" tell more"},
                  line.session);
  }
  return RunChosen(line);
}

}  // namespace csctl
