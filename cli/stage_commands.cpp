#include <configstore/boot_state.h>
#include <configstore/errors.h>

#include <CLI/CLI.hpp>

#include "command.h"
#include "failure.h"
#include "json_text.h"
#include "object_input.h"
#include "staged_document.h"

namespace csctl {

namespace {

/// Parses the document of `file`; a text that is no JSON is blamed on the file.
StagedObjects ReadStagedDocument(const std::string& file) {
  return ReadJson(file, "one JSON object", [](const std::string& text) { return ParseStagedDocument(text); });
}

Exit SetStaged(Session& session, const std::string& file) {
  session.where = file == "-" ? "standard input" : file;
  OpenStore();
  const StagedObjects objects = ReadStagedDocument(file);
  OrvoConfigStore::SetDesiredUserConfig(objects);
  const std::string count = std::to_string(objects.size());
  session.PrintResult("staged " + count + " objects; \"csctl boot mode apply\" has the next load apply them",
                      JsonObject({{"staged", count}}));
  return Exit::kDone;
}

Run SetUpSet(CLI::App& app) {
  auto file = std::make_shared<std::string>("-");
  app.add_option("-f,--file", *file,
                 "The document, {\"components\":{COMPONENT:{GROUP:{KEY: object, or array of instances}}}}; standard "
                 "input without it");
  return [file](Session& session) { return SetStaged(session, *file); };
}

Run SetUpShow(CLI::App& app) {
  auto options = std::make_shared<ShowOptions>();
  AddShowSecrets(app, *options);
  return [options](Session& session) {
    OpenStore();
    session.PrintJson(StagedDocument(OrvoConfigStore::ListStagedConfig(), options->showSecrets));
    return Exit::kDone;
  };
}

Run SetUpDrop(CLI::App&) {
  return [](Session& session) {
    OpenStore();
    OrvoConfigStore::DropStagedConfig();
    session.PrintResult("nothing is staged", JsonObject({{"staged", "0"}}));
    return Exit::kDone;
  };
}

}  // namespace

const std::vector<Command>& StageCommands() {
  static const std::vector<Command> commands = {
      {"stage", "Stage user values for the next boot", nullptr},
      {"stage set", "Check a document and stage it in place of all that was staged", SetUpSet},
      {"stage show", "Show the staged document", SetUpShow},
      {"stage drop", "Forget what is staged", SetUpDrop},
  };
  return commands;
}

}  // namespace csctl
