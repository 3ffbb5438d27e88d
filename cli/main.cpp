#include <csignal>

#include "tool.h"

int main(int count, char** arguments) {
  std::signal(SIGPIPE, SIG_DFL);  // a reader that has gone ends the tool without a word
  return csctl::RunTool(count, arguments);
}
