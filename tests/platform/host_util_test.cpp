#include "platform/host_util.h"

#include <gtest/gtest.h>

#include <cstring>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace HaldenLib {
namespace {

using Bytes = std::vector<unsigned char>;

std::string Encode(const std::string& data) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(data.data());
  std::string text(Base64_EncodedLength(bytes, data.size()), '#');
  size_t written = 0;
  EXPECT_FALSE(Base64_Encode(bytes, data.size(), text.data(), text.size() - 1, &written));
  EXPECT_TRUE(Base64_Encode(bytes, data.size(), text.data(), text.size(), &written));
  EXPECT_EQ(text.size() - 1, written);
  EXPECT_EQ('\0', text[written]);
  return text.substr(0, written);
}

/// Returns "refused" for a text that is not base64.
std::string Decode(const std::string& text) {
  Bytes data(Base64_DecodedLength(text.data(), text.size()));
  size_t written = 0;
  if (!Base64_Decode(text.data(), text.size(), data.data(), data.size(), &written)) return "refused";
  EXPECT_TRUE(data.empty() || !Base64_Decode(text.data(), text.size(), data.data(), data.size() - 1, &written));
  return {data.begin(), data.begin() + static_cast<ptrdiff_t>(written)};
}

TEST(Base64, CodesAndDecodesAnyBytes) {
  const struct {
    const char* data;
    const char* text;
  } kCases[] = {{"", ""},        {"f", "Zg=="},        {"fo", "Zm8="},
                {"foo", "Zm9v"}, {"foob", "Zm9vYg=="}, {"\xFB\xEF\xFF", "++//"}};
  for (const auto& row : kCases) {
    EXPECT_EQ(row.text, Encode(row.data));
    EXPECT_EQ(row.data, Decode(row.text));
  }
  std::string data;
  for (int length = 0; length < 300; ++length) {
    ASSERT_EQ(data, Decode(Encode(data))) << length;
    data += static_cast<char>(length * 7);
  }
}

TEST(Base64, RefusesWhatIsNotCanonical) {
  const std::string kTexts[] = {"Zg",      "Zg=",  "Zg===", "Zh==",   "Zm9=",   "=",    "====",
                                "Z===",    "Zg=v", "Zm9 ",  "Zm9v\n", "Zm9vZg", "Zm-_", std::string("Zm9\0", 4),
                                "Zg==Zg=="};
  for (const std::string& text : kTexts) EXPECT_EQ("refused", Decode(text)) << text;
}

TEST(Uuid, IsRandomOfVersionFour) {
  std::set<std::string> seen;
  const std::regex form("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}");
  for (int i = 0; i < 200; ++i) {
    const HeapText uuid(UUID_CreateRandom());
    ASSERT_TRUE(uuid);
    EXPECT_TRUE(std::regex_match(uuid.get(), form)) << uuid.get();
    EXPECT_TRUE(seen.insert(uuid.get()).second);
  }
}

__attribute__((noinline)) int CaptureTwice(FastBacktrace* all, FastBacktrace* outer) {
  CoreDump_CaptureFastBacktrace(all, 0, 15);
  CoreDump_CaptureFastBacktrace(outer, 2, 3);
  return all->count;
}

int CaptureBelow(int frames, FastBacktrace* backtrace) {
  int (*volatile again)(int, FastBacktrace*) = CaptureBelow;  // or a compiler makes a loop of it
  if (frames > 0) return again(frames - 1, backtrace) + 1;
  CoreDump_CaptureFastBacktrace(backtrace, 0, 1000);
  return 0;
}

TEST(Backtrace, LeavesOutTheInnermostFramesAndTheTooMany) {
  FastBacktrace all, outer;
  EXPECT_LE(5, CaptureTwice(&all, &outer));
  ASSERT_EQ(3, outer.count);
  for (int i = 0; i < outer.count; ++i) EXPECT_EQ(all.frames[i + 2], outer.frames[i]) << i;
  CaptureBelow(20, &all);
  EXPECT_EQ(FastBacktrace::kMost, all.count);
}

TEST(Backtrace, IsWrittenFrameByFrameIntoAnyBuffer) {
  FastBacktrace backtrace;
  CoreDump_CaptureFastBacktrace(&backtrace, 0, 15);
  backtrace.frames[0] = nullptr;  // in no module
  const std::regex frames("\\?( [^ ]+\\+0x[0-9a-f]+)*");
  char whole[1100];
  CoreDump_Base64BacktraceFormat(backtrace, "tag", whole, sizeof whole);
  for (size_t size = 0; size < 1100; ++size) {
    std::string text(1100, '#');
    CoreDump_Base64BacktraceFormat(backtrace, "tag", text.data(), size);
    ASSERT_EQ(std::string::npos, text.find_first_not_of('#', size)) << "beyond " << size;
    if (size == 0) continue;
    const std::string written = text.c_str();
    ASSERT_LT(written.size(), size);
    ASSERT_TRUE(written == whole || written.size() + 100 > size) << "room for another frame in " << size;
    if (written.size() <= 4) continue;
    ASSERT_TRUE(std::regex_match(Decode(written.substr(4)), frames)) << Decode(written.substr(4));
  }
}

}  // namespace
}  // namespace HaldenLib
