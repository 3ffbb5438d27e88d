#include <configstore/host.h>

#include "command.h"
#include "json_text.h"

namespace csctl {

namespace {

Run SetUpInit(Arguments&) {
  return [](Session& session) {
    const bool existed = OrvoConfigStore::ConfigStore::GetStore("") != nullptr;
    OrvoConfigStore::CreateDatabases();
    session.PrintResult(existed ? "the store was there already" : "the store has been created",
                        JsonObject({{"created", existed ? "false" : "true"}}));
    return Exit::kDone;
  };
}

}  // namespace

const std::vector<Command>& StoreCommands() {
  static const std::vector<Command> commands = {
      {"init", "Create what is missing of the store; what exists is kept", SetUpInit},
  };
  return commands;
}

}  // namespace csctl
