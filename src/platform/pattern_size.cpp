#include "platform/pattern_size.h"

#include <algorithm>
#include <vector>

namespace OrvoConfigStore {
namespace {

constexpr size_t kCap = size_t{1} << 30;  // keeps products in range

size_t Sum(size_t a, size_t b) {
  return std::min(a + b, kCap);
}
size_t Product(size_t a, size_t b) {
  return std::min(std::min(a, kCap) * std::min(b, kCap), kCap);
}

class Measure {
 public:
  explicit Measure(std::string_view text) : text_(text) {
    while (at_ < text_.size()) Next();
    while (groups_.size() > 1) Close();
  }

  PatternSize Result() const { return {groups_.front().Total(), nesting_}; }

 private:
  // The states of one group's terms; the last one apart, since a quantifier may follow.
  struct Group {
    size_t before = 0;
    size_t last = 0;

    size_t Total() const { return Sum(before, last); }
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
        return Term(4);
      case '*':
      case '+':
      case '?':
        return AddToLast(2);
      case '{':
        return Braces();
      default:
        return Term(1);
    }
  }

  void Term(size_t states) {
    Group& group = groups_.back();
    group.before = group.Total();
    group.last = states;
  }

  void AddToLast(size_t states) { groups_.back().last = Sum(groups_.back().last, states); }

  bool SkipIf(char c) {
    const bool there = at_ < text_.size() && text_[at_] == c;
    at_ += there;
    return there;
  }

  // "\c(" is one character.
  void SkipEscaped() {
    SkipIf('c');
    ++at_;
  }

  void Escape() {
    SkipEscaped();
    Term(1);
  }

  void Class() {
    while (at_ < text_.size() && !SkipIf(']')) {
      const char c = text_[at_++];
      if (c == '\\') SkipEscaped();
      if (c == '[' && at_ < text_.size() && std::string_view(".:=").find(text_[at_]) != std::string_view::npos) {
        SkipNamed(text_[at_++]);
      }
    }
    Term(1);
  }

  // "[:alpha:]" within a class; its "]" does not end the class.
  void SkipNamed(char mark) {
    at_ = std::min(text_.find(mark, at_), text_.size());
    SkipIf(mark);
    SkipIf(']');
  }

  // "(?:", "(?=" and "(?!" are groups like any other.
  void Open() {
    if (SkipIf('?')) ++at_;
    groups_.emplace_back();
    nesting_ = std::max(nesting_, groups_.size() - 1);
  }

  void Close() {
    if (groups_.size() == 1) return;
    const size_t states = groups_.back().Total();
    groups_.pop_back();
    Term(Sum(states, 3));
  }

  size_t Number() {
    size_t number = 0;
    for (; at_ < text_.size() && text_[at_] >= '0' && text_[at_] <= '9'; ++at_) {
      number = Sum(number * 10, static_cast<size_t>(text_[at_] - '0'));
    }
    return number;
  }

  void Braces() {
    const size_t least = Number();
    const bool range = SkipIf(',');
    const size_t most = range ? std::max(least + 1, Number()) : least;
    SkipIf('}');
    if (range) AddToLast(2);
    groups_.back().last = Product(groups_.back().last, most + 1);  // what is repeated stays beside its copies
    AddToLast(2);
  }

  std::string_view text_;
  size_t at_ = 0;
  size_t nesting_ = 0;
  std::vector<Group> groups_{1};
};

}  // namespace

PatternSize MeasurePattern(std::string_view text) {
  return Measure(text).Result();
}

}  // namespace OrvoConfigStore
