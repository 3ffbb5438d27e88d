#include "platform/pattern.h"

#include <algorithm>
#include <cstdint>
#include <list>
#include <locale>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "platform/host_log.h"
#include "platform/pattern_size.h"
#include "platform/per_thread.h"

namespace OrvoConfigStore {

namespace {

// The standard library writes repeats out and then walks the result recursively,
// some 200 bytes of stack per state; its parser takes twice that per parenthesis.
constexpr size_t kMaxNesting = 256;
constexpr size_t kMaxStates = 16384;

constexpr size_t kMaxBacktrackingBytes = 512;
constexpr size_t kBacktrackingSteps = size_t{1} << 20;
constexpr size_t kBaseSteps = size_t{8} << 20;
constexpr size_t kStepsPerByte = 10;
constexpr size_t kStatesPerStep = 8;  // every byte may visit all states
constexpr uintptr_t kMaxMatchStack = uintptr_t{1} << 20;

constexpr size_t kKeptPatterns = 256;
constexpr size_t kKeptStates = size_t{16} * kMaxStates;

struct GivenUp {};

// What one match may still spend, in steps and in stack.
class Effort {
 public:
  Effort(size_t steps, size_t perByte) : steps_(steps), perByte_(perByte), top_(StackPlace()) {}

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

// Returns why the text is not even tried; empty when it is.
std::string BoundExceeded(const std::string& text, const PatternSize& size) {
  if (text.size() > kMaxPatternBytes) return "longer than " + std::to_string(kMaxPatternBytes) + " bytes";
  if (size.nesting > kMaxNesting) return "nested deeper than " + std::to_string(kMaxNesting) + " levels";
  if (size.states <= kMaxStates) return "";
  return "larger than " + std::to_string(kMaxStates) + " states with its repeats written out";
}

}  // namespace

std::shared_ptr<const Pattern> Pattern::Get(const std::string& text, std::string* reason) {
  PatternCache& cache = HaldenLib::PerThread<PatternCache>::Get();
  if (auto kept = cache.Find(text)) return kept;
  const PatternSize size = MeasurePattern(std::string_view(text).substr(0, kMaxPatternBytes));
  *reason = BoundExceeded(text, size);
  if (!reason->empty()) return nullptr;
  try {
    auto pattern = std::make_shared<const Pattern>(text, 1 + size.states / kStatesPerStep);
    cache.Keep(text, pattern, size.states);
    return pattern;
  } catch (const std::regex_error& error) {
    *reason = error.what();
    return nullptr;
  }
}

Pattern::Pattern(const std::string& text, size_t stepsPerByte)
    : plain_(PatternAutomaton::Build(text)), stepsPerByte_(stepsPerByte) {
  if (plain_.has_value()) return;
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
  if (plain_.has_value()) return plain_->Matches({value, length});
  if (backtracking_ && length > kMaxBacktrackingBytes) return false;
  // A pass at the pattern's own rate, where that is moderate, and as much again.
  const size_t linearSteps = kBaseSteps + (kStepsPerByte + std::min(stepsPerByte_, kStepsPerByte)) * length;
  Effort effort(backtracking_ ? kBacktrackingSteps : linearSteps, stepsPerByte_);
  try {
    return std::regex_match(Place(value, &effort), Place(value + length, &effort), regex_);
  } catch (const GivenUp&) {
  } catch (const std::regex_error&) {  // some libraries count for themselves
  }
  HaldenLib::LogLine(HaldenLib::LOG_LEVEL_ERROR, "Matching a value of %zu bytes with a pattern was given up", length);
  return false;
}

}  // namespace OrvoConfigStore
