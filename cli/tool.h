#pragma once

namespace csctl {

/// Runs the tool on a command line and returns its exit code.
int RunTool(int count, char** arguments);

}  // namespace csctl
