#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace csctl {

/// What may stand in the place of the last of `words`, the words behind "csctl"
/// on a command line that is being typed. Prints a candidate a line, and ":files"
/// or ":directories" where the shell knows better. Prints nothing where nothing
/// is known: this has no errors.
void PrintCandidates(const CLI::App& app, const std::vector<std::string>& words, std::ostream& output);

}  // namespace csctl
