#include "tool.h"

#include <configstore/host.h>
#include <configstore/lifecycle.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <string_view>
#include <vector>

#include "command.h"
#include "completion.h"
#include "dry_run.h"
#include "failure.h"
#include "json_text.h"

namespace csctl {

namespace {

using Words = std::vector<std::string_view>;

/// The command line: CLI11's parser and the command that it chose.
struct CommandLine {
  CLI::App app{"Reads and writes the configuration store of a host", "csctl"};
  Session session;
  Run chosen;

  /// Declares the commands that `words` may name.
  explicit CommandLine(const Words& words);
  void AddCommands(const Words& words);
  void Add(const Command& command);
};

/// Not listed: the shells' completion asks with it, "csctl complete WORD...".
constexpr char kComplete[] = "complete";

std::string_view FirstWord(std::string_view name) {
  return name.substr(0, name.find(' '));
}

bool Contains(const Words& words, std::string_view word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

/// Whether a word asks for help, or may do so as one of several short options.
bool MayAskForHelp(std::string_view word) {
  if (word.substr(0, 2) == "--") return word == "--help";
  return word.substr(0, 1) == "-" && word.find('h') != word.npos;
}

/// Whether all commands are to be seen: in a help text, and for completion.
bool MayShowAll(const Words& words) {
  return (!words.empty() && words.front() == kComplete) || std::any_of(words.begin(), words.end(), MayAskForHelp);
}

CommandLine::CommandLine(const Words& words) {
  app.set_version_flag("--version", std::string("csctl ") + CONFIGSTORE_VERSION);
  app.add_option("--root", session.root, "Use the host found under this directory")->type_name("DIR")->take_last();
  app.add_flag("--json", session.json, "Print JSON, errors included");
  app.add_flag("--upgrade", session.upgrade,
               "Write as an upgrade does: also in the boot phase, new user values wait for confirmation");
  app.add_flag("-v,--verbose", session.verbose, "With an error, say all that is known of it");
  app.add_flag("-q,--quiet", session.quiet, "Print nothing but errors");
  app.require_subcommand(1);
  app.footer(ExitCodeHelp());
  AddCommands(words);
}

/// All the tables of commands.
std::vector<const std::vector<Command>*> CommandGroups() {
  return {&StoreCommands(),    &TypeCommands(),    &WriteCommands(), &ReadCommands(),
          &ExplainCommands(),  &FieldCommands(),   &DiffCommands(),  &CheckCommands(),
          &DocumentCommands(), &BootCommands(),    &StageCommands(), &ConfirmCommands(),
          &BackupCommands(),   &UpgradeCommands(), &WatchCommands(), &SchemaCommands()};
}

/// Declares the commands whose first word is given, and all of them where none is: to
/// declare one takes the parser longer than most commands take to run.
void CommandLine::AddCommands(const Words& words) {
  const auto groups = CommandGroups();
  const auto isGiven = [&words](const Command& command) { return Contains(words, FirstWord(command.name)); };
  const bool addsAll = MayShowAll(words) || std::none_of(groups.begin(), groups.end(), [&](const auto* group) {
                         return std::any_of(group->begin(), group->end(), isGiven);
                       });
  for (const auto* group : groups) {
    for (const Command& command : *group) {
      if (addsAll || isGiven(command)) Add(command);
    }
  }
}

void CommandLine::Add(const Command& command) {
  const std::string_view name = command.name;
  const size_t space = name.rfind(' ');
  CLI::App* parent = space == name.npos ? &app : app.get_subcommand(std::string(name.substr(0, space)));
  CLI::App* added = parent->add_subcommand(std::string(name.substr(space + 1)), command.usage);
  added->fallthrough();  // global options may follow the command
  if (command.setup == nullptr) {
    added->require_subcommand(1);
    return;
  }
  auto isRehearsal = std::make_shared<bool>(false);
  if (command.canRehearse) {
    added->add_flag("--dry-run", *isRehearsal, "Change nothing: show what would be created, changed and deleted");
  }
  Arguments arguments(*added);
  added->callback(
      [this, isRehearsal, run = command.setup(arguments)] { chosen = *isRehearsal ? Rehearsed(run) : run; });
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

/// What is wrong with the command line: the parser asks for a command where a word is none.
Failure ExplainUsage(const CLI::App& app, const CLI::ParseError& error) {
  const std::vector<std::string> unknown = app.remaining(true);
  const bool lacksCommand = dynamic_cast<const CLI::RequiredError*>(&error) != nullptr &&
                            std::strstr(error.what(), "subcommand") != nullptr && !unknown.empty();
  const std::string message =
      lacksCommand ? "there is no such command or option: " + Printable(unknown.front()) : error.what();
  return {Exit::kUsage, message, "", "\"csctl --help\" and \"csctl COMMAND --help\" tell more"};
}

}  // namespace

int RunTool(int count, char** arguments) {
  const Words words(arguments + std::min(1, count), arguments + count);
  CommandLine line(words);
  if (!words.empty() && words.front() == kComplete) {
    PrintCandidates(line.app, {arguments + std::min(2, count - 1), arguments + count}, std::cout);
    return 0;
  }
  try {
    line.app.parse(count, arguments);
  } catch (const CLI::Success& help) {
    return line.app.exit(help);
  } catch (const CLI::ParseError& error) {
    line.session.json = Contains(words, "--json");
    return Report(ExplainUsage(line.app, error), line.session);
  }
  return RunChosen(line);
}

}  // namespace csctl
