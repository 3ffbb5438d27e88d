#include "platform/host_paths.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>

#include "support/temp_root.h"

using namespace HaldenLib;

namespace {

struct RootCase {
  const char* root;
  bool isTaken;
  const char* resolved;  // of "/etc/x" afterwards
};

TEST(HostPaths, ResolvesAbsolutePathsUnderTheRoot) {
  const TempRoot restoresTheRoot;
  const RootCase cases[] = {{"/r", true, "/r/etc/x"},       {"", true, "/etc/x"},         {"relative", false, "/etc/x"},
                            {"/r/s//", true, "/r/s/etc/x"}, {"./r", false, "/r/s/etc/x"}, {"/", true, "/etc/x"}};
  for (const RootCase& each : cases) {
    EXPECT_EQ(each.isTaken, SetHostRoot(each.root)) << each.root;
    EXPECT_EQ(each.resolved, ResolvePath("/etc/x")) << each.root;
    EXPECT_EQ("etc/x", ResolvePath("etc/x"));
  }
}

TEST(HostPaths, LooksForFilesUnderTheRoot) {
  const TempRoot root;
  EXPECT_FALSE(FileExists("/usr"));
  root.Write("/usr/here", "");
  EXPECT_TRUE(FileExists("/usr"));
}

// Run by the next test in a process of its own.
TEST(HostPaths, DISABLED_RootOfTheEnvironmentIsSlashR) {
  EXPECT_EQ("/r", GetHostRoot());
}

TEST(HostPaths, TakesTheRootFromTheEnvironmentUnlessItIsRelative) {
  const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
  const std::string rest =
      " '" + self + "' --gtest_also_run_disabled_tests --gtest_filter=HostPaths.DISABLED_RootOf* >/dev/null";
  EXPECT_EQ(0, std::system(("HALDEN_ROOT=/r/" + rest).c_str()));
  EXPECT_NE(0, std::system(("HALDEN_ROOT=r" + rest).c_str()));
}

}  // namespace
