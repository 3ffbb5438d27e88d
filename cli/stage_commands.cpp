#include <configstore/boot_state.h>
#include <configstore/documents.h>

#include "command.h"
#include "diagnosis.h"
#include "failure.h"
#include "json_text.h"
#include "object_input.h"

namespace csctl {

namespace {

Exit SetStaged(Session& session, const std::string& file) {
  const InputText input = ReadText(file);
  session.where = input.name;
  OpenStore();
  const auto diagnose = [&] { return OrvoConfigStore::DiagnoseDocument(input.text, OrvoConfigStore::DIAGNOSE_STAGE); };
  const size_t count = WriteDiagnosed(input, diagnose, [&] {
    const auto objects = OrvoConfigStore::ReadDocument(input.text);
    if (objects.empty()) {
      throw CommandFailed({Exit::kInvalid, "the document holds no object", "",
                           "\"csctl stage drop\" forgets what is staged; nothing was changed"});
    }
    OrvoConfigStore::SetDesiredUserConfig(objects);
    return objects.size();
  });
  const std::string number = std::to_string(count);
  session.PrintResult("staged " + number + " objects; \"csctl boot mode apply\" has the next load apply them",
                      JsonObject({{"staged", number}}));
  return Exit::kDone;
}

Run SetUpSet(Arguments& arguments) {
  auto file = std::make_shared<std::string>("-");
  arguments.Option("-f,--file", *file,
                   "The document, {\"components\":{COMPONENT:{GROUP:{KEY: object, or array of instances}}}}; standard "
                   "input without it");
  return [file](Session& session) { return SetStaged(session, *file); };
}

Run SetUpShow(Arguments& arguments) {
  auto options = std::make_shared<ShowOptions>();
  AddShowSecrets(arguments, *options);
  return [options](Session& session) {
    OpenStore();
    const auto secrets = options->showSecrets ? OrvoConfigStore::SECRETS_INCLUDED : OrvoConfigStore::SECRETS_MASKED;
    session.PrintJson(OrvoConfigStore::WriteDocument(OrvoConfigStore::ListStagedConfig(), secrets));
    return Exit::kDone;
  };
}

Run SetUpDrop(Arguments&) {
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
      {"stage set", "Check a document and stage it in place of all that was staged", SetUpSet, true},
      {"stage show", "Show the staged document", SetUpShow},
      {"stage drop", "Forget what is staged", SetUpDrop, true},
  };
  return commands;
}

}  // namespace csctl
