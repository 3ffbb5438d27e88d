#include "platform/pattern.h"

#include <random>
#include <regex>

#include "platform/pattern_automaton.h"
#include "support/test_store.h"

using OrvoConfigStore::Pattern;
using OrvoConfigStore::PatternAutomaton;

namespace {

// "yes", "no", or why the pattern is refused.
std::string Match(const std::string& pattern, const std::string& value) {
  std::string reason;
  const auto compiled = Pattern::Get(pattern, &reason);
  if (compiled == nullptr) return reason;
  return compiled->Matches(value.data(), value.size()) ? "yes" : "no";
}

// clang-format off
const struct { const char *pattern, *matches, *not1, *not2; } kMatchCases[] = {
    {"[a-z]+", "abc", "abc1", ""},
    {"^a.c$", "abc", "xabc", "abcx"},
    {"a|ab", "ab", "abb", "b"},
    {"([0-9a-f]{2}:){5}[0-9a-f]{2}", "02:00:5e:10:00:01", "02:00:5e:10:00", "02:00:5e:10:00:01:"},
    {"(?!foo)(?=.*z)[a-z]+", "barz", "fooz", "bar"}, {"[[:alpha:]][^\\]\\d]*", "a-b", "1a", "a]"},
    {"\\x41\\u0042\\(\\c[*", "AB(", "AB", "ABB"},    {"a+?b??", "aa", "b", "aabb"},
    {"abc", "abc", "ABC", "aBc"},                    {"([a-z]+)-\\1", "ab-ab", "ab-abc", "ab-ba"},
    {"", "", "a", " "},
    {"[^a]{2}", "\u00e4", "a", "\u00e4\u00e4"},  // bytes, not characters
};
// clang-format on

TEST(Patterns, MatchWholeValues) {
  for (const auto& row : kMatchCases) {
    EXPECT_EQ("yes", Match(row.pattern, row.matches)) << row.pattern;
    EXPECT_EQ("no", Match(row.pattern, row.not1)) << row.pattern;
    EXPECT_EQ("no", Match(row.pattern, row.not2)) << row.pattern;
  }
  EXPECT_EQ("yes", Match(std::string("a\0b", 3), std::string("a\0b", 3)));
}

TEST(Patterns, NeitherExhaustTheStackNorRunAwayOnLongValues) {
  EXPECT_EQ("yes", Match("(?!b)[a-z]*", Repeated("a", size_t{1} << 20)));
  const std::string many = Repeated("a", 50000);
  for (const char* exponential : {"(a+)+b", "(a|a)*c", "(a*)*c", "(((a*)*)*)*b", "(a|aa)+$x", "([a-z]+)*\\d"}) {
    EXPECT_EQ("no", Match(exponential, many)) << exponential;
  }
  EXPECT_EQ("yes", Match("([a-z]+,?)*", Repeated("ab,c", 20000)));
  EXPECT_EQ("yes", Match("[ -~]{0,4096}", Repeated("x", 4096)));
  EXPECT_EQ("no", Match("[ -~]{0,4096}", Repeated("x", 4097)));
}

TEST(Patterns, WithBackReferencesMatchShortValuesOnly) {
  const std::string half = Repeated("a", 255);
  EXPECT_EQ("yes", Match("(a*)--?\\1", half + "--" + half));
  EXPECT_EQ("no", Match("(a*)--?a?\\1", half + "--a" + half));
  EXPECT_EQ("no", Match("(a+)+\\1b", Repeated("a", 500)));
  EXPECT_EQ("no", Match(Repeated("(", 40) + Repeated(")*", 40) + "b\\1", "a"));
}

TEST(Patterns, ThatTakeTooManyStepsAreGivenUpWithALogLine) {
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

const char kDeep[] = "nested deeper than 256 levels", kLarge[] = "larger than 16384 states";

TEST(Patterns, ThatCannotBeUsedAreRefusedWithAReason) {
  const std::pair<std::string, const char*> kCases[] = {
      {Repeated("a", 4097), "longer than 4096 bytes"},
      {Repeated("(", 257) + Repeated(")", 257), kDeep},
      {Repeated("(?:", 600) + "a" + Repeated(")", 600), kDeep},
      {"\\c[" + Repeated("(", 300), kDeep},
      {"[[:alpha:](]" + Repeated("(", 300), kDeep},
      {"a{1000}{1000}", kLarge},
      {"((a{100}){100}){100}", kLarge},
      {"a{0,20000}", kLarge},
      {"a{20000,}", kLarge},
      {"a{16382}", kLarge},
      {"(a|b){9000}", kLarge},
      {"(?=a){99999999999999999999}", kLarge},
  };
  for (const auto& [pattern, reason] : kCases) EXPECT_NE(std::string::npos, Match(pattern, "").find(reason)) << pattern;
  for (const char* broken : {"(a", "a)", "(", "[a", "*", "a{", "a{2,1}", "[z-a]", "[[:nothing:]]", "\\", "(a)\\2"}) {
    std::string reason;
    EXPECT_EQ(nullptr, Pattern::Get(broken, &reason)) << broken;
    EXPECT_NE("", reason) << broken;
  }
}

TEST(Patterns, CompileUpToTheirBounds) {
  for (const std::string& pattern :
       {Repeated("a", 4096), Repeated("(", 256) + Repeated(")", 256), Repeated("a?", 2048), Repeated("[a]", 1300),
        Repeated("|", 4096), std::string("(?:a{0,70}){0,70}"), std::string("a{16381}"), std::string("(?:a){4000}"),
        Repeated("[[:alpha:](]", 257)}) {
    EXPECT_EQ("no", Match(pattern, "b")) << pattern.substr(0, 20);
  }
  EXPECT_EQ("yes", Match("[(]{300}", Repeated("(", 300)));
}

TEST(Patterns, AreKeptCompiledWhileTheyAreUsed) {
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

// Values that are likely to match patterns of these characters, or nearly.
std::string RandomValue(std::mt19937& random) {
  const std::string characters("ab-.z09_A \n\r\xe4\\]^$", 17);
  std::string value;
  for (size_t length = random() % 9; length > 0; --length) value += characters[random() % characters.size()];
  return value;
}

TEST(PlainPatterns, MatchWhatTheStandardLibraryMatches) {
  // clang-format off
  const char* patterns[] = {
      "[a-z0-9-]+", "[-a]*z", "[^-a]+", "[^a-z]*", "a|b|ab*", "^(a|b)*$", "^a|b$", "(?:a|bz?){2}-?", "((a*)*b)*",
      "(a|b-?){0,3}", "a{2,}", "[ab]{3}", "a{0}b", "(a?b?){2}", "(a|ab)(b|z)?", ".*", "a.b", "\\d+\\.\\d*", "[\\d.]+",
      "[\\w-]+", "[\\S]+", "\\W+", "\\D{1,2}", "[^\\s]*", "\\s*", "a+?b??", "a\\-b", "[a\\-z]+", "[\\]\\\\^$]+",
      "[.]+", "(([ab]|-)+[.z])*", "[a-b_-]{1,4}", "a-b", "[ -~]*", "[\\-.]+", "[a^]+", "(a{2}){2}", "(a|b){2,3}?",
  };
  // clang-format on
  std::mt19937 random;
  for (const char* pattern : patterns) {
    const auto automaton = PatternAutomaton::Build(pattern);
    ASSERT_TRUE(automaton.has_value()) << pattern;
    const std::regex regex(pattern);
    for (int i = 0; i < 2000; ++i) {
      const std::string value = RandomValue(random);
      EXPECT_EQ(std::regex_match(value, regex), automaton->Matches(value)) << pattern << " on " << value;
    }
  }
}

// Rejected by the standard library, read differently by it, or too large.
TEST(OtherPatterns, AreLeftToTheStandardLibrary) {
  // clang-format off
  const char* patterns[] = {
      "", "a||b", "()", "(", "a)", "a**", "a{2}{3}", "a{,3}", "a{3,2}", "{", "a]", "a}", "[]", "[a", "[b-a]",
      "[a-z-9]", "[\\d-z]", "[[:alpha:]]", "[[]", "(?=a)", "(a)\\1", "\\bab", "\\x41", "\\cA", "a^b", "a$b", "(^a)",
      "a\\", "*a", "a{65}", "([ab]{9}){9}", "\xc3\xa4", "[\\b]", "((((((((((((((((((a))))))))))))))))))", "a\nb",
      "[--a]", "[+--]",
  };
  // clang-format on
  for (const char* pattern : patterns) EXPECT_FALSE(PatternAutomaton::Build(pattern).has_value()) << pattern;
}

}  // namespace
