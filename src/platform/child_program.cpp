#include "platform/child_program.h"

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <sstream>
#include <utility>

#include "platform/host_paths.h"
#include "platform/log_output.h"

// Running a child. Whoever waits for it must not be disturbed by what the caller
// does about SIGCHLD, which belongs to the process as a whole. So:
//
//   1. The caller forks a keeper, all signals blocked, and reads from a pipe.
//   2. The keeper has SIGCHLD as it is by default, forks the child and waits.
//   3. The child becomes the program. When it cannot, it writes why.
//   4. The keeper writes what became of the child. The first record counts.
//
// Everything is made ready before the first fork: the keeper and the child may
// come out of a process with threads, and call nothing that takes a lock.

namespace HaldenLib {

namespace {

constexpr int kNotExecuted = 127;
constexpr int kSignalled = 128;

/// The texts and their pointers, as execve takes them.
class WordList {
 public:
  explicit WordList(std::vector<std::string> words) : words_(std::move(words)) {
    for (std::string& word : words_) pointers_.push_back(word.data());
    pointers_.push_back(nullptr);
  }
  char* const* Pointers() const { return pointers_.data(); }

 private:
  std::vector<std::string> words_;
  std::vector<char*> pointers_;
};

struct Program {
  std::string file;
  WordList words;
  WordList environment;
};

Program Resolve(const std::vector<std::string>& words) {
  std::vector<std::string> resolved;
  for (const std::string& word : words) resolved.push_back(ResolvePath(word));
  const std::string file = FileExists(words.front()) ? resolved.front() : words.front();
  resolved.front() = file;
  std::vector<std::string> environment = {"PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL=C"};
  if (!GetHostRoot().empty()) environment.push_back("HALDEN_ROOT=" + GetHostRoot());
  return {file, WordList(std::move(resolved)), WordList(std::move(environment))};
}

/// Blocks every signal of the calling thread while it lives.
class SignalBlock {
 public:
  SignalBlock() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  SignalBlock(const SignalBlock&) = delete;
  SignalBlock& operator=(const SignalBlock&) = delete;
  ~SignalBlock() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_;
};

/// A record fits into the pipe whole.
void Report(int pipe, const ChildResult& result) {
  while (write(pipe, &result, sizeof result) < 0 && errno == EINTR) {
  }
}

[[noreturn]] void BecomeProgram(const Program& program, int pipe) {
  sigset_t none;
  sigemptyset(&none);
  signal(SIGPIPE, SIG_DFL);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  execve(program.file.c_str(), program.words.Pointers(), program.environment.Pointers());
  Report(pipe, {ChildResult::NOT_STARTED, errno, getpid()});
  _exit(kNotExecuted);
}

ChildResult WaitFor(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return {ChildResult::NOT_WAITED_FOR, errno, child};
  }
  return {ChildResult::ENDED, WIFEXITED(status) ? WEXITSTATUS(status) : kSignalled + WTERMSIG(status), child};
}

[[noreturn]] void KeepChild(const Program& program, int pipe) {
  signal(SIGCHLD, SIG_DFL);
  const pid_t child = fork();
  if (child == 0) BecomeProgram(program, pipe);
  Report(pipe, child < 0 ? ChildResult{ChildResult::NOT_STARTED, errno, 0} : WaitFor(child));
  _exit(0);
}

/// Without a record the keeper has been killed, and nobody has waited.
ChildResult ReadReport(int pipe, pid_t keeper) {
  ChildResult record;
  ssize_t length = 0;
  do {
    length = read(pipe, &record, sizeof record);
  } while (length < 0 && errno == EINTR);
  return length == sizeof record ? record : ChildResult{ChildResult::NOT_WAITED_FOR, ECHILD, keeper};
}

/// The caller may have set its children to be collected by themselves.
void Collect(pid_t keeper) {
  while (waitpid(keeper, nullptr, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace

ChildResult HaldenKernel_ForkExec(const std::vector<std::string>& words) {
  if (words.empty()) return {ChildResult::NOT_STARTED, EINVAL, 0};
  const Program program = Resolve(words);
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return {ChildResult::NOT_STARTED, errno, 0};
  const Descriptor reading(ends[0]);
  pid_t keeper = 0;
  {
    const Descriptor writing(ends[1]);
    const SignalBlock block;
    keeper = fork();
    if (keeper == 0) KeepChild(program, ends[1]);
    if (keeper < 0) return {ChildResult::NOT_STARTED, errno, 0};
  }
  const ChildResult result = ReadReport(reading.Number(), keeper);
  Collect(keeper);
  return result;
}

int RunCommand(const std::string& text) {
  std::istringstream command(text);
  std::vector<std::string> words;
  for (std::string word; command >> word;) words.push_back(word);
  const ChildResult result = HaldenKernel_ForkExec(words);
  return result.kind == ChildResult::ENDED ? result.value : -1;
}

}  // namespace HaldenLib
