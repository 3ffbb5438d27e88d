#pragma once

#include <configstore/config_store.h>

#include <memory>
#include <string>
#include <vector>

namespace csctl {

/// One run of the tool: what the global options ask for, and the output.
struct Session {
  std::string root;  ///< empty: as the environment says
  bool json = false;
  bool verbose = false;
  bool quiet = false;
  bool upgrade = false;     ///< the run is a step of an upgrade
  bool onTerminal = false;  ///< standard output shows on one
  std::string where;        ///< what the command works on, for a failure report

  /// Prints a line, unless the run is quiet.
  void Print(const std::string& line) const;
  /// Prints a JSON text: indented for people, on one line with --json.
  void PrintJson(const std::string& json) const;
  /// Prints a result: `json` with --json, else `line`.
  void PrintResult(const std::string& line, const std::string& json) const;
  /// Returns a JSON text as PrintJson prints it.
  std::string ShowJson(const std::string& json) const;

  /// Parses an object's name and makes it what the command works on.
  OrvoConfigStore::ConfigStoreObjectId TakeObject(const std::string& name);
};

/// Opens the store. Throws CommandFailed when there is none or it cannot be opened.
std::shared_ptr<OrvoConfigStore::ConfigStore> OpenStore();

/// Returns the content of the file at `path`, of standard input for "-".
/// Throws CommandFailed(kUsage) when it cannot be read.
std::string ReadInput(const std::string& path);

/// Returns `rows` as lines with aligned columns, the last one as it is.
std::vector<std::string> AlignColumns(const std::vector<std::vector<std::string>>& rows);

}  // namespace csctl
