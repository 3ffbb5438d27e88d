#include "platform/child_program.h"

#include <signal.h>
#include <sys/wait.h>

#include "support/test_store.h"

using namespace HaldenLib;

namespace {

class ChildProgram : public testing::Test {
 protected:
  // Runs a shell script as /bin/tool; `words` are its command.
  ChildResult Run(const std::string& script, const std::vector<std::string>& words = {"/bin/tool"}) {
    fs::permissions(root_.Write("/bin/tool", "#!/bin/sh\n" + script), fs::perms::owner_all);
    return HaldenKernel_ForkExec(words);
  }
  const TempRoot root_;
};

void CollectAll(int) {
  while (waitpid(-1, nullptr, WNOHANG) > 0) {
  }
}

// Whatever the caller does with its own children.
TEST_F(ChildProgram, GivesItsExitValue) {
  for (const auto handler : {SIG_IGN, SIG_DFL, static_cast<void (*)(int)>(CollectAll)}) {
    const auto before = signal(SIGCHLD, handler);
    for (const int value : {0, 1, 255}) {
      const ChildResult result = Run("/bin/sh -c 'exit " + std::to_string(value) + "'; exit $?");
      EXPECT_EQ(ChildResult::ENDED, result.kind);
      EXPECT_EQ(value, result.value) << "the program itself can wait for its children too";
      EXPECT_GT(result.child, 0);
    }
    EXPECT_EQ(EINVAL, HaldenKernel_ForkExec({}).value);
    signal(SIGCHLD, before);
  }
}

TEST_F(ChildProgram, GetsItsWordsUnderTheRootWithoutAShellAndASmallEnvironment) {
  setenv("LEAK", "leaked", 1);
  Run("for word; do echo \"$word\"; done > $HALDEN_ROOT/out; env | sort >> $HALDEN_ROOT/out",
      {"/bin/tool", "/etc/a b", "-f", "c/d", "$HOME; *"});
  unsetenv("LEAK");
  EXPECT_EQ(root_.Resolve("/etc/a b") + "\n-f\nc/d\n$HOME; *\nHALDEN_ROOT=" + root_.Path() +
                "\nLC_ALL=C\nPATH=/usr/sbin:/usr/bin:/sbin:/bin\n",
            root_.Read("/out").substr(0, root_.Read("/out").find("PWD=")));
  Run("echo $#: \"$@\" > $HALDEN_ROOT/out");
  EXPECT_EQ(0, RunCommand("/bin/tool  a;b $(c) 'd e' > f * "));
  EXPECT_EQ("7: a;b $(c) 'd e' > f *\n", root_.Read("/out"));
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

}  // namespace
