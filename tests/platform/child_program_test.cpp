#include "platform/child_program.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <filesystem>

#include "platform/host_paths.h"
#include "support/temp_root.h"

using namespace HaldenLib;

namespace {

class ChildProgram : public testing::Test {
 protected:
  ChildProgram() { std::filesystem::permissions(root_.Write("/bin/tool", ""), std::filesystem::perms::owner_all); }
  ChildResult Run(const std::string& script, std::vector<std::string> words = {"/bin/tool"}) {
    root_.Write("/bin/tool", "#!/bin/sh\n" + script);
    return HaldenKernel_ForkExec(words);
  }
  const TempRoot root_;
};

TEST_F(ChildProgram, GivesItsExitValue) {
  for (const int value : {0, 1, 255}) {
    const ChildResult result = Run("exit " + std::to_string(value));
    EXPECT_EQ(ChildResult::ENDED, result.kind);
    EXPECT_EQ(value, result.value);
    EXPECT_GT(result.child, 0);
  }
  EXPECT_EQ(128 + SIGTERM, Run("kill $$").value);
}

// A caller's way with its children, for the length of a test.
class ScopedChildAction {
 public:
  explicit ScopedChildAction(void (*handler)(int)) : before_(signal(SIGCHLD, handler)) {}
  ScopedChildAction(const ScopedChildAction&) = delete;
  ScopedChildAction& operator=(const ScopedChildAction&) = delete;
  ~ScopedChildAction() { signal(SIGCHLD, before_); }

 private:
  void (*before_)(int);
};

void CollectAll(int) {
  while (waitpid(-1, nullptr, WNOHANG) > 0) {
  }
}

TEST_F(ChildProgram, GivesItsExitValueToACallerThatCaresForNoChild) {
  for (const auto handler : {SIG_IGN, SIG_DFL, static_cast<void (*)(int)>(CollectAll)}) {
    const ScopedChildAction action(handler);
    EXPECT_EQ(0, Run("sleep 0; exit 0").value);
    const ChildResult result = Run("/bin/sh -c 'exit 3'; exit $?");
    EXPECT_EQ(ChildResult::ENDED, result.kind);
    EXPECT_EQ(3, result.value) << "the program itself can wait for its children too";
  }
}

TEST_F(ChildProgram, ThatCannotBeStartedSaysWhy) {
  const ChildResult missing = HaldenKernel_ForkExec({"/bin/none"});
  EXPECT_EQ(ChildResult::NOT_STARTED, missing.kind);
  EXPECT_EQ(ENOENT, missing.value);
  std::filesystem::permissions(root_.Resolve("/bin/tool"), std::filesystem::perms::none);
  EXPECT_EQ(EACCES, HaldenKernel_ForkExec({"/bin/tool"}).value);
  EXPECT_EQ(EINVAL, HaldenKernel_ForkExec({}).value);
  EXPECT_NE(0, RunCommand("/bin/none"));
  EXPECT_NE(0, RunCommand(""));
}

TEST_F(ChildProgram, IsLostWithWhoWaitsForIt) {
  const ChildResult result = Run("kill -9 $PPID");
  EXPECT_EQ(ChildResult::NOT_WAITED_FOR, result.kind);
  EXPECT_EQ(ECHILD, result.value);
}

TEST_F(ChildProgram, GetsItsWordsUnderTheRootAndASmallEnvironment) {
  setenv("LEAK", "leaked", 1);
  Run("for word; do echo \"$word\"; done > $HALDEN_ROOT/out; env | sort >> $HALDEN_ROOT/out",
      {"/bin/tool", "/etc/a b", "-f", "c/d", "$HOME; *"});
  unsetenv("LEAK");
  EXPECT_EQ(root_.Resolve("/etc/a b") + "\n-f\nc/d\n$HOME; *\nHALDEN_ROOT=" + root_.Path() +
                "\nLC_ALL=C\nPATH=/usr/sbin:/usr/bin:/sbin:/bin\n",
            root_.Read("/out").substr(0, root_.Read("/out").find("PWD=")));
}

TEST_F(ChildProgram, BeginsWithNoSignalBlockedAndLeavesTheCallersMask) {
  sigset_t terminate, before, after;
  sigemptyset(&terminate);
  sigaddset(&terminate, SIGTERM);
  sigprocmask(SIG_BLOCK, &terminate, &before);
  EXPECT_EQ(128 + SIGTERM, Run("kill -TERM $$; exit 0").value);
  sigprocmask(SIG_SETMASK, &before, &after);
  EXPECT_EQ(1, sigismember(&after, SIGTERM));
  EXPECT_EQ(0, sigismember(&after, SIGHUP));
}

TEST_F(ChildProgram, CommandIsReadWithoutAShell) {
  Run("");
  root_.Write("/bin/tool", "#!/bin/sh\necho $#: \"$@\" > $HALDEN_ROOT/out");
  EXPECT_EQ(0, RunCommand("/bin/tool  a;b $(c) 'd e' > f * "));
  EXPECT_EQ("7: a;b $(c) 'd e' > f *\n", root_.Read("/out"));
}

}  // namespace
