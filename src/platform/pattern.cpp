#include "platform/pattern.h"

#include <algorithm>
#include <cstdint>
#include <list>
#include <locale>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/host_log.h"

namespace OrvoConfigStore {

namespace {

// The standard library writes repeats out and then walks the result recursively,
// some 200 bytes of stack per state; its parser takes twice that per parenthesis.
constexpr size_t kMaxNesting = 256;
constexpr size_t kMaxStates = 16384;

constexpr size_t kMaxBacktrackingBytes = 512;
constexpr size_t kBacktrackingSteps = size_t{1} << 20;
constexpr size_t kBaseSteps = size_t{4} << 20;
constexpr size_t kStepsPerByte = 8;
constexpr uintptr_t kMaxMatchStack = uintptr_t{1} << 20;

constexpr size_t kKeptPatterns = 256;
constexpr size_t kKeptStates = size_t{16} * kMaxStates;

// An upper bound of what a piece of a pattern compiles to.
struct Size {
  size_t states = 0;
  size_t lookaheads = 0;

  void Add(const Size& other) {
    states = Capped(states + other.states);
    lookaheads = Capped(lookaheads + other.lookaheads);
  }
  void Repeat(size_t times) {
    states = Capped(Capped(states) * times);
    lookaheads = Capped(Capped(lookaheads) * times);
  }

  static constexpr size_t kCap = size_t{1} << 30;  // keeps products in range
  static size_t Capped(size_t n) { return std::min(n, kCap); }
};

// Measures a pattern without recursion, before the library's own parser sees it.
// The text need not be well formed: what is no pattern is refused later.
class Measure {
 public:
  explicit Measure(std::string_view text) : text_(text) {
    while (at_ < text_.size()) Next();
    while (groups_.size() > 1) Close();
  }

  Size Total() const { return groups_.front().Total(); }
  size_t Nesting() const { return nesting_; }

 private:
  // The terms of one group; the last one apart, since a quantifier may follow.
  struct Group {
    bool lookahead = false;
    Size before;
    Size last;

    Size Total() const {
      Size total = before;
      total.Add(last);
      return total;
    }
  };

  void Next() {
    const char c = text_[at_++];
    switch (c) {
      case '\\':
        return Escape();
      case '[':
        return Class();
      case '(':
        return Open();
      case ')':
        return Close();
      case '|':
        return Term({2, 0});
      case '*':
      case '+':
      case '?':
        return groups_.back().last.Add({2, 0});
      case '{':
        return Braces();
      default:
        return Term({1, 0});
    }
  }

  void Term(const Size& size) {
    Group& group = groups_.back();
    group.before.Add(group.last);
    group.last = size;
  }

  bool SkipIf(char c) {
    const bool there = at_ < text_.size() && text_[at_] == c;
    at_ += there;
    return there;
  }

  void SkipEscaped() {
    if (SkipIf('c'))
      ++at_;  // "\c(" is one character
    else
      ++at_;
  }

  void Escape() {
    SkipEscaped();
    Term({1, 0});
  }

  void Class() {
    while (at_ < text_.size() && !SkipIf(']')) {
      const char c = text_[at_++];
      if (c == '\\') SkipEscaped();
      if (c == '[' && at_ < text_.size() && std::string_view(".:=").find(text_[at_]) != std::string_view::npos) {
        SkipNamed(text_[at_++]);
      }
    }
    Term({1, 0});
  }

  // "[:alpha:]" within a class; its "]" does not end the class.
  void SkipNamed(char mark) {
    at_ = std::min(text_.find(mark, at_), text_.size());
    SkipIf(mark);
    SkipIf(']');
  }

  void Open() {
    const bool special = SkipIf('?');
    Group group;
    group.lookahead = special && (SkipIf('=') || SkipIf('!'));
    if (special && !group.lookahead) SkipIf(':');
    groups_.push_back(group);
    nesting_ = std::max(nesting_, groups_.size() - 1);
  }

  void Close() {
    if (groups_.size() == 1) return;
    Size size = groups_.back().Total();
    size.Add({2, groups_.back().lookahead ? size_t{1} : size_t{0}});
    groups_.pop_back();
    Term(size);
  }

  size_t Number() {
    size_t number = 0;
    for (; at_ < text_.size() && text_[at_] >= '0' && text_[at_] <= '9'; ++at_) {
      number = Size::Capped(number * 10 + static_cast<size_t>(text_[at_] - '0'));
    }
    return number;
  }

  void Braces() {
    const size_t least = Number();
    const bool range = SkipIf(',');
    const size_t most = std::max(least + 1, range ? Number() : 0);
    SkipIf('}');
    Size& repeated = groups_.back().last;
    if (range) repeated.Add({2, 0});
    repeated.Repeat(most);
    repeated.Add({2, 0});
  }

  std::string_view text_;
  size_t at_ = 0;
  size_t nesting_ = 0;
  std::vector<Group> groups_{1};
};

struct GivenUp {};

// What one match may still spend, in steps and in stack.
class Effort {
 public:
  explicit Effort(size_t steps, size_t perByte) : steps_(steps), perByte_(perByte), top_(StackPlace()) {}

  void Step() { Spend(1); }
  void Byte() { Spend(perByte_); }

 private:
  static uintptr_t StackPlace() { return reinterpret_cast<uintptr_t>(__builtin_frame_address(0)); }

  void Spend(size_t steps) {
    const uintptr_t place = StackPlace();
    const uintptr_t used = place < top_ ? top_ - place : place - top_;
    if (steps > steps_ || used > kMaxMatchStack) throw GivenUp{};
    steps_ -= steps;
  }

  size_t steps_;
  size_t perByte_;
  uintptr_t top_;
};

// A place in the value. The executor compares places in every state that it
// visits and moves them once per byte: that is where its work is counted.
class Place {
 public:
  using iterator_category = std::bidirectional_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  Place() = default;
  Place(const char* at, Effort* effort) : at_(at), effort_(effort) {}

  reference operator*() const { return *at_; }
  pointer operator->() const { return at_; }
  Place& operator++() {
    if (effort_ != nullptr) effort_->Byte();
    ++at_;
    return *this;
  }
  Place operator++(int) {
    Place before = *this;
    ++*this;
    return before;
  }
  Place& operator--() {
    --at_;
    return *this;
  }
  Place operator--(int) {
    Place before = *this;
    --*this;
    return before;
  }
  bool operator==(const Place& other) const {
    if (effort_ != nullptr) effort_->Step();
    return at_ == other.at_;
  }
  bool operator!=(const Place& other) const { return !(*this == other); }

 private:
  const char* at_ = nullptr;
  Effort* effort_ = nullptr;
};

std::regex Compile(const std::string& text, std::regex::flag_type flags) {
  std::regex regex;
  regex.imbue(std::locale::classic());
  regex.assign(text, flags);
  return regex;
}

// The executor that advances all alternatives together, where there is one; the
// default one tries them in turn.
std::regex::flag_type LinearFlags() {
  auto flags = std::regex::ECMAScript | std::regex::nosubs;
#ifdef __GLIBCXX__
  flags |= std::regex_constants::__polynomial;
#endif
  return flags;
}

// The patterns of this thread, the one used last in front.
class PatternCache {
 public:
  std::shared_ptr<const Pattern> Find(const std::string& text) {
    const auto found = places_.find(text);
    if (found == places_.end()) return nullptr;
    kept_.splice(kept_.begin(), kept_, found->second);
    return kept_.front().pattern;
  }

  void Keep(const std::string& text, const std::shared_ptr<const Pattern>& pattern, size_t states) {
    kept_.push_front({text, pattern, states});
    places_.emplace(kept_.front().text, kept_.begin());
    states_ += states;
    while (kept_.size() > kKeptPatterns || states_ > kKeptStates) DropOldest();
  }

 private:
  struct Kept {
    std::string text;
    std::shared_ptr<const Pattern> pattern;
    size_t states;
  };

  void DropOldest() {
    states_ -= kept_.back().states;
    places_.erase(kept_.back().text);
    kept_.pop_back();
  }

  std::list<Kept> kept_;
  std::unordered_map<std::string_view, std::list<Kept>::iterator> places_;  // by the texts in kept_
  size_t states_ = 0;
};

PatternCache& ThisThreadsPatterns() {
  static thread_local PatternCache cache;
  return cache;
}

// Returns why the text is not even tried; empty when it is.
std::string BoundExceeded(const std::string& text, const Measure& measure) {
  if (text.size() > kMaxPatternBytes) return "longer than " + std::to_string(kMaxPatternBytes) + " bytes";
  if (measure.Nesting() > kMaxNesting) return "nested deeper than " + std::to_string(kMaxNesting) + " levels";
  if (measure.Total().states <= kMaxStates) return "";
  return "larger than " + std::to_string(kMaxStates) + " states with its repeats written out";
}

// Every byte may visit all states; a lookahead sets up a match of its own.
size_t StepsPerByte(const Size& size) {
  const size_t visits = 1 + size.states / 16;
  return visits + size.lookaheads * (visits + 8);
}

}  // namespace

std::shared_ptr<const Pattern> Pattern::Get(const std::string& text, std::string* reason) {
  PatternCache& cache = ThisThreadsPatterns();
  if (auto kept = cache.Find(text)) return kept;
  const Measure measure(std::string_view(text).substr(0, kMaxPatternBytes));
  *reason = BoundExceeded(text, measure);
  if (!reason->empty()) return nullptr;
  try {
    auto pattern = std::make_shared<const Pattern>(text, StepsPerByte(measure.Total()));
    cache.Keep(text, pattern, measure.Total().states);
    return pattern;
  } catch (const std::regex_error& error) {
    *reason = error.what();
    return nullptr;
  }
}

Pattern::Pattern(const std::string& text, size_t stepsPerByte) : stepsPerByte_(stepsPerByte) {
  try {
    regex_ = Compile(text, LinearFlags());
  } catch (const std::regex_error& error) {
    // Only a back-reference compiles in the second way and not in the first.
    if (error.code() != std::regex_constants::error_backref && error.code() != std::regex_constants::error_complexity) {
      throw;
    }
    regex_ = Compile(text, std::regex::ECMAScript);
    backtracking_ = true;
  }
}

bool Pattern::Matches(const char* value, size_t length) const {
  if (backtracking_ && length > kMaxBacktrackingBytes) return false;
  Effort effort(backtracking_ ? kBacktrackingSteps : kBaseSteps + kStepsPerByte * length, stepsPerByte_);
  try {
    return std::regex_match(Place(value, &effort), Place(value + length, &effort), regex_);
  } catch (const GivenUp&) {
  } catch (const std::regex_error&) {  // some libraries count for themselves
  }
  HaldenLib::LogLine(HaldenLib::LOG_LEVEL_ERROR, "Matching a value of %zu bytes with a pattern was given up", length);
  return false;
}

}  // namespace OrvoConfigStore
