#include "platform/file_watch.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
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

// What happens to a file that is watched, a letter each: w more is written to it, a it goes aside, n another is put in
// its place, x it is removed, d its directory goes aside. It is there afterwards unless the last leaves nothing.
const std::pair<const char*, bool> kEvents[] = {{"w", true},  {"an", true}, {"x", false},
                                                {"a", false}, {"n", true},  {"d", false}};

void Happen(const fs::path& file, char event) {
  const std::string aside = file.string() + "2";
  if (event == 'w') std::ofstream(file, std::ios::app) << "more";
  if (event == 'a') fs::rename(file, aside);
  if (event == 'n') Write(aside + "2"), fs::rename(aside + "2", file);
  if (event == 'x') fs::remove(file);
  if (event == 'd') {
    fs::rename(file.parent_path(), file.parent_path().string() + "2");
    std::this_thread::sleep_for(FileWatch::kWalkAfter);
  }
}

TEST(FileWatch, TellsEveryChangeOfAFile) {
  for (const auto& [events, isThere] : kEvents) {
    SCOPED_TRACE(events);
    TempRoot root;
    const fs::path file = root.Write(kFile, "1");
    FileWatch watch(kFile);
    const FileState before = watch.Look();
    for (int i = 0; i < 3; ++i) EXPECT_EQ(before, watch.Look());
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // the grain of a time stamp
    for (const char* event = events; *event != 0; ++event) Happen(file, *event);
    const FileState after = watch.Look();
    EXPECT_NE(before, after);
    EXPECT_EQ(isThere, after.Exists());
    EXPECT_EQ(after, watch.Look());
  }
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
