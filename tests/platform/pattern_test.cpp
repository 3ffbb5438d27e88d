#include "platform/pattern.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/pattern_size.h"
#include "support/log_capture.h"
#include "support/temp_root.h"

using OrvoConfigStore::Pattern;

namespace {

std::string Repeated(const std::string& text, size_t times) {
  std::string all;
  for (size_t i = 0; i < times; ++i) all += text;
  return all;
}

// "yes", "no", or why the pattern is refused.
std::string Match(const std::string& pattern, const std::string& value) {
  std::string reason;
  const auto compiled = Pattern::Get(pattern, &reason);
  if (compiled == nullptr) return reason;
  return compiled->Matches(value.data(), value.size()) ? "yes" : "no";
}

struct MatchCase {
  const char* name;
  const char* pattern;
  const char* matches;
  const char* not1;
  const char* not2;
};

const MatchCase kMatchCases[] = {
    {"Whole", "[a-z]+", "abc", "abc1", ""},
    {"Anchored", "^a.c$", "abc", "xabc", "abcx"},
    {"AlternativesAreWhole", "a|ab", "ab", "abb", "b"},
    {"Counts", "([0-9a-f]{2}:){5}[0-9a-f]{2}", "02:00:5e:10:00:01", "02:00:5e:10:00", "02:00:5e:10:00:01:"},
    {"Lookahead", "(?!foo)(?=.*z)[a-z]+", "barz", "fooz", "bar"},
    {"Classes", "[[:alpha:]][^\\]\\d]*", "a-b", "1a", "a]"},
    {"Escapes", "\\x41\\u0042\\(\\c[*", "AB(", "AB", "ABB"},
    {"Lazy", "a+?b??", "aa", "b", "aabb"},
    {"Case", "abc", "abc", "ABC", "aBc"},
    {"BackReference", "([a-z]+)-\\1", "ab-ab", "ab-abc", "ab-ba"},
    {"EmptyPattern", "", "", "a", " "},
    {"BytesOutsideAscii", "[^a]{2}", "\u00e4", "a", "\u00e4\u00e4"},
};

class Patterns : public testing::TestWithParam<MatchCase> {};

}  // namespace

TEST_P(Patterns, MatchWholeValues) {
  EXPECT_EQ("yes", Match(GetParam().pattern, GetParam().matches));
  EXPECT_EQ("no", Match(GetParam().pattern, GetParam().not1));
  EXPECT_EQ("no", Match(GetParam().pattern, GetParam().not2));
}

INSTANTIATE_TEST_SUITE_P(Values, Patterns, testing::ValuesIn(kMatchCases),
                         [](const auto& c) { return std::string(c.param.name); });

TEST(LongValues, NeitherExhaustTheStackNorRunAway) {
  const std::string million = Repeated("a", size_t{1} << 20);
  EXPECT_EQ("yes", Match("(?!b)[a-z]*", million));
  EXPECT_EQ("no", Match("(a+)+b", million));
  const std::string many = Repeated("a", 50000);
  for (const char* exponential : {"(a|a)*c", "(a*)*c", "(((a*)*)*)*b", "(a|aa)+$x", "([a-z]+)*\\d"}) {
    EXPECT_EQ("no", Match(exponential, many)) << exponential;
  }
  EXPECT_EQ("yes", Match("([a-z]+,?)*", Repeated("ab,c", 20000)));
  EXPECT_EQ("yes", Match("[ -~]{0,4096}", Repeated("x", 4096)));
  EXPECT_EQ("no", Match("[ -~]{0,4096}", Repeated("x", 4097)));
}

TEST(BackReferences, MatchShortValuesOnly) {
  const std::string half = Repeated("a", 255);
  EXPECT_EQ("yes", Match("(a*)--?\\1", half + "--" + half));
  EXPECT_EQ("no", Match("(a*)--?a?\\1", half + "--a" + half));
  EXPECT_EQ("no", Match("(a+)+\\1b", Repeated("a", 500)));
  EXPECT_EQ("no", Match(Repeated("(", 40) + Repeated(")*", 40) + "b\\1", "a"));
}

TEST(MatchesOfTooManySteps, AreGivenUpWithALogLine) {
  const TempRoot root;
  const LogCapture log(root);
  EXPECT_EQ("no", Match("(?:(?=a*)a)*", Repeated("a", 20000)));
  ASSERT_EQ(1u, log.RawLines().size());
  EXPECT_NE(std::string::npos, log.RawLines()[0].find("a value of 20000 bytes"));
  // What one byte costs: lookaheads, and states that read nothing.
  EXPECT_EQ("no", Match("(?:" + Repeated("(?=)", 800) + "a)*", Repeated("a", 1000)));
  EXPECT_EQ("no", Match("(?:(?:" + Repeated("|", 3000) + ")a)*", Repeated("a", 10000)));
  EXPECT_EQ(3u, log.RawLines().size());
}

struct SizeCase {
  const char* pattern;
  size_t states;
  size_t nesting;
};

TEST(PatternSizes, CountWhatRepeatsWriteOut) {
  const SizeCase cases[] = {
      {"abc", 3, 0},
      {"a|b", 6, 0},
      {"(a)", 4, 1},
      {"(?:a)((b))", 11, 2},
      {"a*b+?", 8, 0},
      {"ab{3}", 7, 0},
      {"a{2,5}", 20, 0},
      {"a{2,}", 14, 0},
      {"(ab){2}", 17, 1},
      {"(?=a)(?!b)", 8, 1},
      {"\\(\\[\\|", 3, 0},
      {"\\c(\\c[(", 5, 1},
      {"[(|]*", 3, 0},
      {"[\\](]", 1, 0},
      {"[[:a:](]", 1, 0},
      {"[[=]=](]", 1, 0},
      {"[[](", 4, 1},
      {"a{1000}{1000}", 1004005, 0},
      {"a{999999999}{999999999}{999999999}", size_t{1} << 30, 0},
  };
  for (const SizeCase& c : cases) {
    const OrvoConfigStore::PatternSize size = OrvoConfigStore::MeasurePattern(c.pattern);
    EXPECT_EQ(c.states, size.states) << c.pattern;
    EXPECT_EQ(c.nesting, size.nesting) << c.pattern;
  }
}

struct RefusedCase {
  std::string pattern;
  const char* reason;  // or a part of it; "" for whatever the library says
};

TEST(UnusablePatterns, AreRefusedWithAReason) {
  const RefusedCase cases[] = {
      {Repeated("a", 4097), "longer than 4096 bytes"},
      {Repeated("(", 257) + Repeated(")", 257), "nested deeper than 256 levels"},
      {Repeated("(?:", 600) + "a" + Repeated(")", 600), "nested deeper than 256 levels"},
      {"\\c[" + Repeated("(", 300), "nested deeper than 256 levels"},
      {"[[:alpha:](]" + Repeated("(", 300), "nested deeper than 256 levels"},
      {"a{1000}{1000}", "larger than 16384 states"},
      {"((a{100}){100}){100}", "larger than 16384 states"},
      {"a{0,20000}", "larger than 16384 states"},
      {"a{20000,}", "larger than 16384 states"},
      {"(a|b){9000}", "larger than 16384 states"},
      {"(?=a){99999999999999999999}", "larger than 16384 states"},
      {"(a", ""},
      {"a)", ""},
      {"(", ""},
      {"[a", ""},
      {"*", ""},
      {"a{", ""},
      {"a{2,1}", ""},
      {"[z-a]", ""},
      {"[[:nothing:]]", ""},
      {"\\", ""},
      {"(a)\\2", ""},
  };
  for (const RefusedCase& c : cases) {
    std::string reason;
    EXPECT_EQ(nullptr, Pattern::Get(c.pattern, &reason)) << c.pattern;
    EXPECT_NE(std::string::npos, reason.find(c.reason)) << c.pattern << ": " << reason;
    EXPECT_NE("", reason) << c.pattern;
  }
}

TEST(PatternsAtTheirBounds, Compile) {
  for (const std::string& pattern : {Repeated("a", 4096), Repeated("(", 256) + Repeated(")", 256), Repeated("a?", 2048),
                                     Repeated("[a]", 1300), Repeated("|", 4096), std::string("(?:a{0,70}){0,70}")}) {
    EXPECT_EQ("no", Match(pattern, "b")) << pattern.substr(0, 20);
  }
  EXPECT_EQ("yes", Match(std::string("a\0b", 3), std::string("a\0b", 3)));
  EXPECT_EQ("yes", Match("[(]{300}", Repeated("(", 300)));
}

TEST(CompiledPatterns, AreKeptWhileTheyAreUsed) {
  std::string reason;
  const std::weak_ptr<const Pattern> first = Pattern::Get("kept-first", &reason);
  const std::weak_ptr<const Pattern> second = Pattern::Get("kept-second", &reason);
  EXPECT_EQ(first.lock(), Pattern::Get("kept-first", &reason));
  for (int i = 0; i < 255; ++i) Pattern::Get("kept" + std::to_string(i), &reason);
  EXPECT_FALSE(first.expired());
  EXPECT_TRUE(second.expired());
  Pattern::Get("kept-first", &reason);
  for (int i = 0; i < 30; ++i) Pattern::Get("[ab]{12000}" + std::to_string(i), &reason);
  EXPECT_TRUE(first.expired());
}
