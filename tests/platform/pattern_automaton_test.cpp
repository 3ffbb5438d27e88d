#include "platform/pattern_automaton.h"

#include <gtest/gtest.h>

#include <random>
#include <regex>
#include <string>

using OrvoConfigStore::PatternAutomaton;

namespace {

// Values that are likely to match patterns of these characters, or nearly.
std::string RandomValue(std::mt19937& random) {
  const std::string characters("ab-.z09_A \n\r\xe4\\]^$", 17);
  std::string value;
  for (size_t length = random() % 9; length > 0; --length) value += characters[random() % characters.size()];
  return value;
}

}  // namespace

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
