#include "configstore/logging.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/single_threaded.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <regex>
#include <thread>

#include "platform/host_settings.h"
#include "support/test_store.h"

namespace CSLogger {
namespace {

/// A host where nothing is logged yet.
class Logging : public testing::Test {
 protected:
  ~Logging() override { LogExit(); }

  /// Logs one line at each priority and says which of them `file` has taken.
  std::string Taken(const std::string& file) {
    for (int i = 0; i < 4; ++i) Log(static_cast<log_priority>(i), "at <%d>", i);
    std::string taken;
    for (int i = 0; i < 4; ++i) {
      if (root_.Read(file).find("<" + std::to_string(i) + ">") != std::string::npos) taken += std::to_string(i);
    }
    return taken;
  }

  TempRoot root_;
};

TEST_F(Logging, APrefixNamesProcessAndThread) {
  const LogCapture log(root_);
  const unsigned long here = __libc_single_threaded ? 1 : pthread_self();
  Log(LOG_PRIORITY_INFO, "a");
  unsigned long there = 0;
  std::thread([&there] {
    Log(LOG_PRIORITY_INFO, "b");
    there = pthread_self();
  }).join();

  const std::string process = "[ConfigStore:" + std::to_string(getpid()) + ":";
  const std::vector<std::string> expected = {process + std::to_string(here) + ":] a",
                                             process + std::to_string(there) + ":] b"};
  EXPECT_EQ(expected, log.RawLines());
}

// clang-format off
const std::pair<void (*)(), const char*> kLineCases[] = {
    {[] { Log(LOG_PRIORITY_TRACE, "%s has %d", "x", 3); }, "x has 3"},
    {[] { std::string tag = "50%s"; DBLog(tag, LOG_PRIORITY_INFO, " of %d%%", 7); }, "50%s of 7%"},
    {[] { LogErrCode(LOG_PRIORITY_WARNING, OrvoConfigStore::CS_FILTER_EMPTY, "GetInstances"); },
     "[1041]GetInstances: FilterSpec object is empty"},
    {[] { Log(LOG_PRIORITY_INFO, "end\n"); }, "end"},
    {[] { Log(LOG_PRIORITY_INFO, "end\n\n"); }, "end?"},
    {[] { Log(LOG_PRIORITY_INFO, "%s", "a\nb\n"); }, "a?b?"},
    {[] { Log(LOG_PRIORITY_INFO, "%s%c.", "\x1b[1m\t\r\x7f", '\0'); }, "?[1m????."},
    {[] { Log(LOG_PRIORITY_INFO, "%s", "\xC3\xBC\xE2\x82\xAC"); }, "\xC3\xBC\xE2\x82\xAC"},
    {[] { Log(LOG_PRIORITY_INFO, "%s", ""); }, ""},
};
// clang-format on

TEST_F(Logging, ALineShowsWhatIsLogged) {
  for (const auto& [write, line] : kLineCases) {
    const LogCapture log(root_);
    write();
    EXPECT_EQ(std::vector<std::string>{line}, log.Lines());
  }
}

TEST_F(Logging, APreferenceBoundsTheLevel) {
  const std::pair<const char*, std::string> kCases[] = {
      {"", "0123"},
      {"# log.logMinLevel=110\n log.logMinLevel = 125 \n", "012"},
      {"log.logMinLevel=130", "0123"},
      {"log.logMinLevel=115", "01"},
      {"log.logMinLevel=110", "0"},
      {"log.logMinLevel=109", ""},
      {"log.logMinLevel=11x", "0123"},
      {"log.logMinLevel=", "0123"},
  };
  for (const auto& [preferences, taken] : kCases) {
    root_.Write("/etc/halden/preferences", preferences);
    fs::remove_all(root_.Resolve("/tmp"));
    LogInit("cs");
    EXPECT_EQ(taken, Taken("/tmp/cs.log")) << preferences;
    std::string would;
    for (int i = 0; i < 4; ++i) would += WouldLog(static_cast<log_priority>(i)) ? std::to_string(i) : "";
    EXPECT_EQ(taken, would) << preferences;
    LogExit();
    EXPECT_EQ("none", HaldenLib::Preference_GetString("log.logMinLevel", "none")) << preferences;
  }
}

TEST_F(Logging, AnAddedFileNeedsNoServiceAndTakesTheSevere) {
  EXPECT_EQ("", Taken("/tmp/boot.log"));
  void* const boot = AddFileLogger("boot");
  ASSERT_NE(nullptr, boot);
  EXPECT_EQ("01", Taken("/tmp/boot.log"));
  LogInit("cs");
  EXPECT_EQ("0123", Taken("/tmp/cs.log"));
  EXPECT_EQ("01", Taken("/tmp/boot.log"));

  RemoveFileLogger(boot);
  RemoveFileLogger(nullptr);
  const std::string bootLog = root_.Read("/tmp/boot.log"), log = root_.Read("/tmp/cs.log");
  Log(LOG_PRIORITY_ERROR, "last");
  EXPECT_EQ(bootLog, root_.Read("/tmp/boot.log"));
  EXPECT_LT(log.size(), root_.Read("/tmp/cs.log").size());

  LogExit();
  EXPECT_FALSE(WouldLog(LOG_PRIORITY_ERROR));
}

TEST_F(Logging, ALaterInitReplacesTheOutput) {
  root_.Write("/tmp/b.log", "kept\n");
  LogInit("a");
  LogInit("b");
  EXPECT_EQ("", Taken("/tmp/a.log"));
  EXPECT_EQ("0123", Taken("/tmp/b.log"));
  EXPECT_EQ(0u, root_.Read("/tmp/b.log").find("kept\n[ConfigStore:"));
}

TEST_F(Logging, GoesToSyslogWithoutANameAndRefusesOneThatIsAPath) {
  LogInit("");
  EXPECT_EQ("0123", Taken("/var/log/syslog"));
  LogExit();
  for (const std::string& name : {std::string("a/b"), std::string("../x"), std::string("/"), std::string("a\0b", 3)}) {
    EXPECT_EQ(nullptr, AddFileLogger(name)) << name;
    const size_t lines = root_.Syslog().size();
    LogInit(name);
    EXPECT_EQ(lines + 1, root_.Syslog().size()) << name;
    EXPECT_FALSE(WouldLog(LOG_PRIORITY_ERROR)) << name;
  }
  EXPECT_EQ(nullptr, AddFileLogger(""));
  EXPECT_FALSE(fs::exists(root_.Resolve("/tmp")));
}

TEST_F(Logging, WritesOnlyIntoAFileOfItsOwn) {
  const std::string log = root_.Resolve("/tmp/cs.log"), other = root_.Write("/etc/other", "as it was");
  int reader = -1;
  const std::function<void()> kPlaces[] = {
      [&] { fs::create_symlink(other, log); },
      [&] { fs::create_hard_link(other, log); },
      [&] { fs::create_directory(log); },
      [&] { mkfifo(log.c_str(), 0600); },
      [&] { reader = mkfifo(log.c_str(), 0600) + open(log.c_str(), O_RDONLY | O_NONBLOCK); },
  };
  for (const auto& make : kPlaces) {
    fs::remove_all(root_.Resolve("/tmp"));
    fs::create_directory(root_.Resolve("/tmp"));
    make();
    EXPECT_EQ(nullptr, AddFileLogger("cs"));
    ASSERT_FALSE(root_.Syslog().empty());
    EXPECT_TRUE(std::regex_match(root_.Syslog().back(), std::regex("\\[ConfigStore:.*:\\] Failed adding log file\\.")));
    LogInit("cs");
    EXPECT_FALSE(WouldLog(LOG_PRIORITY_ERROR));
  }
  close(reader);
  EXPECT_EQ("as it was", root_.Read("/etc/other"));

  LogInit("own");
  EXPECT_EQ(fs::perms(0600), ModeOf(root_.Resolve("/tmp/own.log")));
}

TEST_F(Logging, LinesOfManyThreadsNeverMix) {
  constexpr int kThreads = 4, kRounds = 100;
  const LogCapture log(root_);
  std::atomic<bool> done{false};
  std::atomic<size_t> written{0};
  // So many outputs that a line is on its way through them when one of them goes.
  std::thread changer([&done] {
    for (int round = 0; round < kRounds; ++round) {
      void* outputs[8];
      for (size_t i = 0; i < std::size(outputs); ++i) outputs[i] = AddFileLogger("extra" + std::to_string(i));
      for (void* const output : outputs) RemoveFileLogger(output);
    }
    done = true;
  });
  std::vector<std::thread> writers;
  for (int i = 0; i < kThreads; ++i) {
    writers.emplace_back([&, i] {
      const std::string text(300 + 50 * i, static_cast<char>('a' + i));
      for (; !done; ++written) Log(LOG_PRIORITY_ERROR, "<%s>", text.c_str());
    });
  }
  for (std::thread& writer : writers) writer.join();
  changer.join();

  const std::regex whole("<(a{300}|b{350}|c{400}|d{450})>");
  const std::vector<std::string> lines = log.Lines();
  EXPECT_EQ(written, lines.size());
  for (const std::string& line : lines) ASSERT_TRUE(std::regex_match(line, whole)) << line;
}

TEST_F(Logging, AChildForkedWhileAnotherThreadLogsGoesOnLogging) {
  constexpr int kChildren = 50;
  const LogCapture log(root_);
  std::atomic<bool> done{false};
  std::thread writer([&done] {
    while (!done) Log(LOG_PRIORITY_INFO, "parent");
  });
  for (int i = 0; i < kChildren; ++i) {
    EXPECT_EQ(0, InChild([] {
                Log(LOG_PRIORITY_INFO, "child");
                LogExit();
                return 0;
              }));
  }
  done = true;
  writer.join();

  const std::vector<std::string> lines = log.Lines();
  EXPECT_EQ(kChildren, std::count(lines.begin(), lines.end(), "child"));
}

}  // namespace
}  // namespace CSLogger
