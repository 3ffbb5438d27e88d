// The host's small services: paths, preferences, features, base64, UUIDs, backtraces.

#include <sys/auxv.h>
#include <unistd.h>

#include <regex>

#include "platform/host_settings.h"
#include "platform/host_util.h"
#include "support/test_store.h"

namespace HaldenLib {
namespace {

TEST(HostPaths, ResolvesAbsolutePathsUnderTheRoot) {
  const TempRoot host;
  EXPECT_FALSE(FileExists("/usr"));
  host.Write("/usr/here", "");
  EXPECT_TRUE(FileExists("/usr"));
  // clang-format off
  const struct { const char* root; bool isTaken; const char* resolved; } kCases[] = {
      {"/r", true, "/r/etc/x"}, {"", true, "/etc/x"}, {"relative", false, "/etc/x"}, {"/r/s//", true, "/r/s/etc/x"},
      {"./r", false, "/r/s/etc/x"}, {"/", true, "/etc/x"}};
  // clang-format on
  for (const auto& row : kCases) {
    EXPECT_EQ(row.isTaken, SetHostRoot(row.root)) << row.root;
    EXPECT_EQ(row.resolved, ResolvePath("/etc/x")) << row.root;
    EXPECT_EQ("etc/x", ResolvePath("etc/x"));
  }
}

// Run by the next test as a set-id program.
TEST(HostPaths, DISABLED_EnvironmentOfASetIdProgramSaysNothing) {
  ASSERT_NE(0u, getauxval(AT_SECURE)) << "no set-id program";
  EXPECT_EQ("", GetHostRoot());
  EXPECT_EQ(-1, EnvironmentNumber("HALDEN_READ_CACHE", -1));
}

TEST(HostPaths, EnvironmentOfASetIdProgramIsIgnored) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the search for leaks fails in a set-id program";
#endif
  if (geteuid() != 0) GTEST_SKIP() << "only root can make a program of somebody else's";
  const TempRoot root;
  const std::string program = root.Resolve("/program");
  fs::copy_file(fs::read_symlink("/proc/self/exe"), program);
  fs::permissions(root.Path(), fs::perms(0755));
  ASSERT_EQ(0, chown(program.c_str(), 65534, 65534));
  ASSERT_EQ(0, chmod(program.c_str(), 04755));
  const std::string run = "HALDEN_ROOT=/r HALDEN_READ_CACHE=7 '" + program +
                          "' --gtest_also_run_disabled_tests --gtest_filter=HostPaths.DISABLED_Env*";
  FILE* const output = popen(run.c_str(), "r");
  char text[4096] = "";
  static_cast<void>(fread(text, 1, sizeof text - 1, output));
  const int status = pclose(output);
  if (std::string(text).find("no set-id program") != std::string::npos)
    GTEST_SKIP() << "the directory is mounted nosuid";
  EXPECT_EQ(0, status) << text;
}

TEST(Preferences, AreTheLinesOfTheirFile) {
  const TempRoot root;
  root.Write("/etc/halden/preferences", "a=1\n b = x = y \r\n#c=3\nno line\n\nd=1\nd=-2\ne=\nf=99999999999\ng=7 8");
  Preference_Init();
  // clang-format off
  const struct { const char *key, *text; int number; } kCases[] = {
      {"a", "1", 1}, {"b", "x = y", 0}, {"c", "none", 0}, {"no line", "none", 0}, {"d", "-2", -2}, {"e", "", 0},
      {"f", "99999999999", 0}, {"g", "7 8", 0}};
  // clang-format on
  for (const auto& row : kCases) {
    EXPECT_EQ(row.text, Preference_GetString(row.key, "none")) << row.key;
    EXPECT_EQ(row.number, Preference_GetLong(row.key, 0)) << row.key;
  }
  Preference_Exit();
}

std::string Encode(const std::string& data) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(data.data());
  std::string text(Base64_EncodedLength(bytes, data.size()), '#');
  size_t written = 0;
  EXPECT_TRUE(Base64_Encode(bytes, data.size(), text.data(), text.size(), &written));
  return text.substr(0, written);
}

/// Returns "refused" for a text that is not base64.
std::string Decode(const std::string& text) {
  std::vector<unsigned char> data(Base64_DecodedLength(text.data(), text.size()));
  size_t written = 0;
  if (!Base64_Decode(text.data(), text.size(), data.data(), data.size(), &written)) return "refused";
  EXPECT_TRUE(data.empty() || !Base64_Decode(text.data(), text.size(), data.data(), data.size() - 1, &written));
  return {data.begin(), data.begin() + static_cast<ptrdiff_t>(written)};
}

TEST(Base64, CodesAndDecodesAnyBytesAndRefusesWhatIsNotCanonical) {
  const std::pair<const char*, const char*> kCases[] = {
      {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {"foob", "Zm9vYg=="}, {"\xFB\xEF\xFF", "++//"}};
  for (const auto& [data, text] : kCases) EXPECT_EQ(text, Encode(data));
  std::string data;
  for (int length = 0; length < 300; ++length, data += static_cast<char>(length * 7)) {
    ASSERT_EQ(data, Decode(Encode(data))) << length;
  }
  for (const char* text : {"Zg", "Zg=", "Zg===", "Zh==", "Zm9=", "=", "====", "Z===", "Zg=v", "Zm9 ", "Zm9v\n",
                           "Zm9vZg", "Zm-_", "Zm9\x01", "Zg==Zg=="}) {
    EXPECT_EQ("refused", Decode(text)) << text;
  }
  EXPECT_EQ("refused", Decode(std::string("Zm9\0", 4)));
}

TEST(Backtrace, LeavesOutInnermostFramesAndIsWrittenIntoAnyBuffer) {
  FastBacktrace backtrace, outer;
  CoreDump_CaptureFastBacktrace(&backtrace, 0, 1000);
  CoreDump_CaptureFastBacktrace(&outer, 2, 3);
  EXPECT_LE(backtrace.count, FastBacktrace::kMost);
  EXPECT_TRUE(outer.count == 3 && std::equal(outer.frames, outer.frames + 3, backtrace.frames + 2));
  backtrace.frames[0] = nullptr;  // in no module
  const std::regex frames("\\?( [^ ]+\\+0x[0-9a-f]+)*");
  char whole[1100];
  CoreDump_Base64BacktraceFormat(backtrace, "tag", whole, sizeof whole);
  for (size_t size = 0; size < sizeof whole; ++size) {
    std::string text(sizeof whole, '#');
    CoreDump_Base64BacktraceFormat(backtrace, "tag", text.data(), size);
    ASSERT_EQ(std::string::npos, text.find_first_not_of('#', size)) << "beyond " << size;
    if (size == 0) continue;
    const std::string written = text.c_str();
    ASSERT_LT(written.size(), size);
    ASSERT_TRUE(written == whole || written.size() + 100 > size) << "room for another frame in " << size;
    ASSERT_TRUE(written.size() <= 4 || std::regex_match(Decode(written.substr(4)), frames)) << written;
  }
}

}  // namespace
}  // namespace HaldenLib
