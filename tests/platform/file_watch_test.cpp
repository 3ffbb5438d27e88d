#include "platform/file_watch.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <memory>
#include <thread>

#include "support/temp_root.h"

using HaldenLib::FileState;
using HaldenLib::FileWatch;
namespace {

constexpr char kFile[] = "/a/b/file";

void Write(const fs::path& path) {
  std::ofstream(path) << "1";
}

// What happens to a file that is watched, and whether it is there afterwards.
struct Event {
  const char* name;
  std::function<void(const fs::path& file)> happens;
  bool isThere;
};

const Event kEvents[] = {
    {"written", [](const fs::path& file) { std::ofstream(file, std::ios::app) << "more"; }, true},
    {"replaced",
     [](const fs::path& file) {
       Write(file.string() + "2");
       fs::rename(file.string() + "2", file);
     },
     true},
    {"removed", [](const fs::path& file) { fs::remove(file); }, false},
    {"renamed", [](const fs::path& file) { fs::rename(file, file.string() + "2"); }, false},
    {"renamed, another in its place",
     [](const fs::path& file) {
       fs::rename(file, file.string() + "2");
       Write(file);
     },
     true},
    {"below a directory that was moved",
     [](const fs::path& file) {
       fs::rename(file.parent_path(), file.parent_path().string() + "2");
       std::this_thread::sleep_for(FileWatch::kWalkAfter);
     },
     false},
};

TEST(FileWatch, TellsEveryChangeOfAFile) {
  for (const Event& event : kEvents) {
    SCOPED_TRACE(event.name);
    TempRoot root;
    const fs::path file = root.Write(kFile, "1");
    FileWatch watch(kFile);
    const FileState before = watch.Look();
    for (int i = 0; i < 3; ++i) EXPECT_EQ(before, watch.Look());
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // the grain of a time stamp
    event.happens(file);
    const FileState after = watch.Look();
    EXPECT_NE(before, after);
    EXPECT_EQ(event.isThere, after.Exists());
    EXPECT_EQ(after, watch.Look());
  }
}

TEST(FileWatch, FollowsTheHostRoot) {
  const TempRoot first;
  first.Write(kFile, "1");
  FileWatch watch(kFile);
  EXPECT_TRUE(watch.Look().Exists());
  const TempRoot second;
  EXPECT_FALSE(watch.Look().Exists());
}

TEST(FileWatch, LeavesADescriptorAloneThatTheClientHasTakenOver) {
  const TempRoot root;
  root.Write(kFile, "1");
  const int next = dup(0);
  close(next);
  const auto watch = std::make_unique<FileWatch>(kFile);
  EXPECT_TRUE(watch->Look().Exists());
  ASSERT_EQ(next, dup2(0, next)) << "the client's own, where the watch had its own";
  EXPECT_TRUE(watch->Look().Exists());
  EXPECT_NE(-1, fcntl(next, F_GETFD));
  close(next);
}

}  // namespace
