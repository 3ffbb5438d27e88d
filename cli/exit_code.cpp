#include "exit_code.h"

namespace csctl {

namespace {

struct ExitMeaning {
  Exit exit;
  const char* meaning;
};

const ExitMeaning kExitMeanings[] = {
    {Exit::kDone, "done"},
    {Exit::kNo, "the answer is no"},
    {Exit::kUsage, "usage: the command line, or a file it names"},
    {Exit::kInvalid, "the data is not valid"},
    {Exit::kNotFound, "no such object or type"},
    {Exit::kRefused, "refused: the boot phase, or no permission"},
    {Exit::kConflict, "conflict: what is stored has changed meanwhile"},
    {Exit::kUnavailable, "the store is missing or busy"},
    {Exit::kStorage, "storage failed or is damaged"},
    {Exit::kInternal, "internal error"},
};

}  // namespace

std::string ExitCodeHelp() {
  std::string help = "Exit codes:\n";
  for (const ExitMeaning& row : kExitMeanings) {
    const std::string number = std::to_string(static_cast<int>(row.exit));
    help += std::string(4 - number.size(), ' ') + number + "  " + row.meaning + "\n";
  }
  return help;
}

}  // namespace csctl
