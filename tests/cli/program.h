#pragma once

#include <string>
#include <vector>

/// What a run of csctl left behind.
struct Outcome {
  int exit = -1;  ///< the exit code, or minus the signal that ended it
  std::string out;
  std::string err;
};

/// Where a run's standard output goes; a pipe without a reader leaves `out` empty.
enum class Sink { kFile, kClosedPipe };

/// Runs csctl under `root` with `arguments`, `input` on its standard input.
Outcome RunCsctl(const std::string& root, const std::vector<std::string>& arguments, const std::string& input = "",
                 Sink sink = Sink::kFile);

/// As above on a terminal; returns what the terminal was sent.
std::string RunOnTerminal(const std::string& root, const std::vector<std::string>& arguments);
