#include "cli/program.h"

#include <fcntl.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace {

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// Starts csctl with the three descriptors and waits for its end.
int Spawn(const std::string& root, std::vector<std::string> arguments, const int (&descriptors)[3]) {
  arguments.insert(arguments.begin(), {"csctl", "--root", root});
  std::vector<char*> pointers;
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  for (int target = 0; target < 3; ++target) posix_spawn_file_actions_adddup2(&actions, descriptors[target], target);
  pid_t child = 0;
  const int failed = posix_spawn(&child, CSCTL_PROGRAM, &actions, nullptr, pointers.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  if (failed != 0 || waitpid(child, &status, 0) != child) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

int OpenSink(Sink sink, const std::string& path) {
  if (sink == Sink::kFile) return open(path.c_str(), O_CREAT | O_TRUNC | O_WRONLY | O_CLOEXEC, 0600);
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return -1;
  close(ends[0]);
  return ends[1];
}

}  // namespace

Outcome RunCsctl(const std::string& root, const std::vector<std::string>& arguments, const std::string& input,
                 Sink sink) {
  const std::string streams = root + ".streams";
  fs::create_directories(streams);
  std::ofstream(streams + "/in", std::ios::binary) << input;
  const int descriptors[3] = {open((streams + "/in").c_str(), O_RDONLY | O_CLOEXEC), OpenSink(sink, streams + "/out"),
                              OpenSink(Sink::kFile, streams + "/err")};
  Outcome outcome;
  outcome.exit = Spawn(root, arguments, descriptors);
  for (const int descriptor : descriptors) close(descriptor);
  if (sink == Sink::kFile) outcome.out = ReadFile(streams + "/out");
  outcome.err = ReadFile(streams + "/err");
  fs::remove_all(streams);
  return outcome;
}

std::string RunOnTerminal(const std::string& root, const std::vector<std::string>& arguments) {
  const int master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) return "no terminal";
  const int terminal = open(ptsname(master), O_RDWR | O_NOCTTY | O_CLOEXEC);
  Spawn(root, arguments, {terminal, terminal, terminal});
  fcntl(master, F_SETFL, O_NONBLOCK);
  std::string sent;
  char part[512];
  for (ssize_t length; (length = read(master, part, sizeof part)) > 0;) sent.append(part, static_cast<size_t>(length));
  close(terminal);
  close(master);
  return sent;
}
