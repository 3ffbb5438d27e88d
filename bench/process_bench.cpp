/// One read from nothing: open, Get, close, inside a running process, as a whole
/// process, and as a run of the command-line tool.

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

#include "floor.h"
#include "run.h"
#include "sample.h"

namespace {

constexpr size_t kStored = 10000;

// Runs a program to its end, its output thrown away.
void RunProgram(const std::vector<std::string>& arguments) {
  std::vector<char*> texts;
  for (const std::string& argument : arguments) texts.push_back(const_cast<char*>(argument.c_str()));
  texts.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t process = 0;
  const int failure = posix_spawnp(&process, texts.front(), &actions, nullptr, texts.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  int status = -1;
  if (failure != 0 || waitpid(process, &status, 0) != process || status != 0) {
    throw std::runtime_error(arguments.front() + " failed");
  }
}

void RegisterPrograms(const char* workload, const std::vector<std::string>& store,
                      const std::vector<std::string>& bare) {
  bench::Register(workload, bench::Side::Store, [store](size_t) { RunProgram(store); });
  bench::Register(workload, bench::Side::Bare, [bare](size_t) { RunProgram(bare); });
}

}  // namespace

int main(int argc, char** argv) {
  const bench::SampleHost host(kStored);
  const std::string file = host.FileBeside("floor");
  const bench::Floor floor(OrvoConfigStore::ResolveHostPath(bench::kStoreFile), file);
  const bench::ConfigStoreObjectId id = bench::SampleId(kStored / 2);
  const std::string root = host.FileBeside("");
  const std::string object = id.component + "/" + id.group + "/" + id.key + "@" + id.instanceId;

  bench::Register("Open, Get, close", bench::Side::Store, [&](size_t) {
    if (bench::ConfigStore::GetStore("")->Get(id) == nullptr) throw std::runtime_error("the object is missing");
  });
  bench::Register("Open, Get, close", bench::Side::Bare, [&](size_t) { bench::Floor::ReadOnce(file, id.instanceId); });
  RegisterPrograms("Open, Get, close as a process", {ONE_GET, root, id.instanceId}, {ONE_SELECT, file, id.instanceId});
  const std::string query = "SELECT UserValue FROM Config WHERE Name='" + id.key + "' and ConfigGroup='" + id.group +
                            "' and Component='" + id.component + "' and Identifier='" + id.instanceId + "';";
  RegisterPrograms("csctl get", {CSCTL, "--root", root, "get", object}, {"sqlite3", file, query});
  return bench::RunRegistered(argc, argv);
}
