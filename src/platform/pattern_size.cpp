#include "platform/pattern_size.h"

#include <algorithm>
#include <vector>

namespace OrvoConfigStore {
namespace {

constexpr size_t kCap = size_t{1} << 30;  // keeps products in range
size_t Capped(size_t n) {
  return std::min(n, kCap);
}

// What a piece of a pattern compiles to, at most.
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
};

class Measure {
 public:
  explicit Measure(std::string_view text) : text_(text) {
    while (at_ < text_.size()) Next();
    while (groups_.size() > 1) Close();
  }

  PatternSize Result() const {
    const Size total = groups_.front().Total();
    return {total.states, total.lookaheads, nesting_};
  }

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
        return Term({4, 0});
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

  // "\c(" is one character.
  void SkipEscaped() {
    SkipIf('c');
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
    size.Add(groups_.back().lookahead ? Size{3, 1} : Size{3, 0});
    groups_.pop_back();
    Term(size);
  }

  size_t Number() {
    size_t number = 0;
    for (; at_ < text_.size() && text_[at_] >= '0' && text_[at_] <= '9'; ++at_) {
      number = Capped(number * 10 + static_cast<size_t>(text_[at_] - '0'));
    }
    return number;
  }

  void Braces() {
    const size_t least = Number();
    const bool range = SkipIf(',');
    const size_t most = range ? std::max(least + 1, Number()) : least;
    SkipIf('}');
    Size& repeated = groups_.back().last;
    if (range) repeated.Add({2, 0});
    repeated.Repeat(most + 1);  // what is repeated stays beside its copies
    repeated.Add({2, 0});
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
