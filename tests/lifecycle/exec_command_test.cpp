#include "lifecycle/exec_command.h"

#include <gtest/gtest.h>

#include "lifecycle/test_host.h"

using namespace OrvoConfigStore;

namespace {

// A program, and how the line begins that its failure is logged with; nothing for
// one that succeeds.
struct CommandCase {
  const char* name;
  const char* script;
  const char* logged;
};

const CommandCase kCommandCases[] = {
    {"Succeeds", "#!/bin/sh\nexit 0\n", nullptr},
    {"Fails", "#!/bin/sh\nexit 3\n", "[1104]Child process terminated with exit value: 3"},
    {"CannotBeStarted", "#!/none/sh\n", "[1102]HaldenKernel_ForkExec failed, errno: No such file or directory"},
    {"IsLost", "#!/bin/sh\nkill -9 $PPID\n", "[1103]Failed to wait for child process: "},
};

class Commands : public testing::TestWithParam<CommandCase> {};

TEST_P(Commands, SayHowTheyFail) {
  const TempRoot root;
  const LogCapture log(root);
  std::filesystem::permissions(root.Write("/bin/tool", GetParam().script), std::filesystem::perms::owner_all);
  const char* const words[] = {"/bin/tool", nullptr};
  EXPECT_EQ(GetParam().logged == nullptr, ExecCommand(words));
  const std::vector<std::string> lines = log.Lines();
  ASSERT_EQ(GetParam().logged == nullptr ? 0u : 1u, lines.size());
  EXPECT_TRUE(lines.empty() || lines.front().rfind(GetParam().logged, 0) == 0) << lines.front();
}

INSTANTIATE_TEST_SUITE_P(Ends, Commands, testing::ValuesIn(kCommandCases),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
