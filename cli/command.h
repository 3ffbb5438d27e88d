#pragma once

#include <functional>
#include <vector>

#include "arguments.h"
#include "exit_code.h"
#include "session.h"

namespace csctl {

/// What a command does when it is chosen. May throw; main explains.
using Run = std::function<Exit(Session&)>;

/// One command: a row of its group's table.
struct Command {
  const char* name;          ///< its words, "schema add"
  const char* usage;         ///< one line for --help
  Run (*setup)(Arguments&);  ///< declares its arguments and returns what it does
  bool canRehearse = false;  ///< it writes the store alone: --dry-run shows what it would change
};

/// The command groups, a file each. A name of one word that has no `setup` only
/// heads the commands that begin with it.
const std::vector<Command>& StoreCommands();
const std::vector<Command>& TypeCommands();
const std::vector<Command>& WriteCommands();
const std::vector<Command>& ReadCommands();
const std::vector<Command>& ExplainCommands();
const std::vector<Command>& FieldCommands();
const std::vector<Command>& DiffCommands();
const std::vector<Command>& CheckCommands();
const std::vector<Command>& DocumentCommands();
const std::vector<Command>& BootCommands();
const std::vector<Command>& StageCommands();
const std::vector<Command>& ConfirmCommands();
const std::vector<Command>& BackupCommands();
const std::vector<Command>& UpgradeCommands();
const std::vector<Command>& SchemaCommands();
const std::vector<Command>& WatchCommands();

}  // namespace csctl
