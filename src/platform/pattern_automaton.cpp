#include "platform/pattern_automaton.h"

#include <algorithm>
#include <bitset>

namespace OrvoConfigStore {
namespace {

using Bytes = std::bitset<256>;

constexpr int kMaxGroups = 16;  // one within the other
constexpr size_t kUnbounded = SIZE_MAX;

Bytes Range(unsigned char low, unsigned char high) {
  Bytes bytes;
  for (unsigned byte = low; byte <= high; ++byte) bytes.set(byte);
  return bytes;
}

Bytes AllOf(std::string_view characters) {
  Bytes bytes;
  for (const char c : characters) bytes.set(static_cast<unsigned char>(c));
  return bytes;
}

bool IsPlainCharacter(char c) {
  return c >= ' ' && c <= '~';
}

bool IsPunctuation(char c) {
  return IsPlainCharacter(c) && c != ' ' && !(c >= '0' && c <= '9') && !(c >= 'a' && c <= 'z') &&
         !(c >= 'A' && c <= 'Z') && c != '_';
}

// What a letter stands for behind a backslash, the same in and outside of a class.
std::optional<Bytes> EscapedClass(char letter) {
  switch (letter) {
    case 'd':
      return Range('0', '9');
    case 'w':
      return Range('0', '9') | Range('a', 'z') | Range('A', 'Z') | AllOf("_");
    case 's':
      return AllOf(" \t\n\v\f\r");
    case 'D':
    case 'W':
    case 'S':
      return ~*EscapedClass(static_cast<char>(letter - 'A' + 'a'));
    default:
      return std::nullopt;
  }
}

// Thrown where the pattern is not plain.
struct NotPlain {};

}  // namespace

// Reads a pattern from left to right. A fragment is what stands so far: where it
// begins and ends, and whether it takes nothing as well.
class PatternAutomaton::Parser {
 public:
  Parser(std::string_view pattern, PatternAutomaton& automaton) : rest_(pattern), automaton_(automaton) {}

  void Run() {
    // A value is matched as a whole, where these two hold anyhow.
    if (!rest_.empty() && rest_.front() == '^') rest_.remove_prefix(1);
    const Fragment all = Alternatives();
    if (rest_ == "$") rest_.remove_prefix(1);
    if (!rest_.empty()) throw NotPlain{};
    automaton_.first_ = all.first;
    automaton_.last_ = all.last;
    automaton_.takesNothing_ = all.takesNothing;
  }

 private:
  struct Fragment {
    Positions first = 0;
    Positions last = 0;
    bool takesNothing = true;
  };

  char Take() {
    if (rest_.empty() || !IsPlainCharacter(rest_.front())) throw NotPlain{};
    const char c = rest_.front();
    rest_.remove_prefix(1);
    return c;
  }

  bool Skip(char c) {
    if (rest_.empty() || rest_.front() != c) return false;
    rest_.remove_prefix(1);
    return true;
  }

  Fragment Alternatives() {
    Fragment all = Sequence();
    while (Skip('|')) {
      const Fragment other = Sequence();
      all = {all.first | other.first, all.last | other.last, all.takesNothing || other.takesNothing};
    }
    return all;
  }

  Fragment Sequence() {
    Fragment all = Term();
    while (!rest_.empty() && rest_.front() != '|' && rest_.front() != ')' && rest_ != "$") all = Joined(all, Term());
    return all;
  }

  Fragment Joined(const Fragment& left, const Fragment& right) {
    Link(left.last, right.first);
    return {left.first | (left.takesNothing ? right.first : 0), right.last | (right.takesNothing ? left.last : 0),
            left.takesNothing && right.takesNothing};
  }

  void Link(Positions from, Positions to) {
    for (size_t position = 0; position < positions_; ++position) {
      if ((from >> position & 1) != 0) automaton_.follows_[position] |= to;
    }
  }

  // An atom and its repeats: each further one is read anew, at positions of its own.
  Fragment Term() {
    const std::string_view begin = rest_;
    Fragment once = Atom();
    const auto [least, most] = Repeats();
    const std::string_view end = rest_;
    Fragment all;
    for (size_t count = 0; count < std::max<size_t>(least, most == kUnbounded ? 1 : most); ++count) {
      if (count > 0) {
        rest_ = begin;
        once = Atom();
      }
      const bool isLast = count + 1 >= least;
      if (most == kUnbounded && isLast) Link(once.last, once.first);
      if (count >= least) once.takesNothing = true;
      all = Joined(all, once);
    }
    rest_ = end;
    return all;
  }

  struct Count {
    size_t least;
    size_t most;
  };

  Count Repeats() {
    Count count = {1, 1};
    if (Skip('*')) {
      count = {0, kUnbounded};
    } else if (Skip('+')) {
      count = {1, kUnbounded};
    } else if (Skip('?')) {
      count = {0, 1};
    } else if (Skip('{')) {
      count = Bounds();
    } else {
      return count;
    }
    Skip('?');  // how greedy a repeat is does not change what matches as a whole
    if (!rest_.empty() && std::string_view("*+?{").find(rest_.front()) != std::string_view::npos) throw NotPlain{};
    return count;
  }

  Count Bounds() {
    const size_t least = Number();
    size_t most = least;
    if (Skip(',')) most = rest_.empty() || rest_.front() == '}' ? kUnbounded : Number();
    if (!Skip('}') || most < least) throw NotPlain{};
    return {least, most};
  }

  size_t Number() {
    size_t number = 0;
    const size_t length = std::min(rest_.find_first_not_of("0123456789"), rest_.size());
    for (const char digit : rest_.substr(0, length)) {
      number = number * 10 + static_cast<size_t>(digit - '0');
      if (number > kMaxPositions) throw NotPlain{};
    }
    if (length == 0) throw NotPlain{};
    rest_.remove_prefix(length);
    return number;
  }

  Fragment Atom() {
    const char c = Take();
    switch (c) {
      case '(':
        return Group();
      case '[':
        return Position(Class());
      case '\\':
        return Position(Escape());
      case '.':
        return Position(~AllOf("\n\r"));
      default:
        if (std::string_view("^$*+?)]{}|").find(c) != std::string_view::npos) throw NotPlain{};
        return Position(Range(static_cast<unsigned char>(c), static_cast<unsigned char>(c)));
    }
  }

  Fragment Group() {
    if (++groups_ > kMaxGroups) throw NotPlain{};
    if (Skip('?') && !Skip(':')) throw NotPlain{};
    const Fragment inside = Alternatives();
    if (!Skip(')')) throw NotPlain{};
    --groups_;
    return inside;
  }

  Fragment Position(const Bytes& bytes) {
    if (positions_ == kMaxPositions) throw NotPlain{};
    const Positions position = Positions{1} << positions_++;
    for (size_t byte = 0; byte < bytes.size(); ++byte) {
      if (bytes[byte]) automaton_.fitting_[byte] |= position;
    }
    return {position, position, false};
  }

  Bytes Escape() {
    const char c = Take();
    if (const std::optional<Bytes> letter = EscapedClass(c)) return *letter;
    if (!IsPunctuation(c)) throw NotPlain{};
    return Range(static_cast<unsigned char>(c), static_cast<unsigned char>(c));
  }

  // A hyphen stands for itself at either end alone; elsewhere it makes a range.
  Bytes Class() {
    const bool isOpposite = Skip('^');
    Bytes bytes;
    bool isFirst = true;
    while (isFirst || !Skip(']')) {
      bytes |= ClassItem(isFirst);
      isFirst = false;
    }
    return isOpposite ? ~bytes : bytes;
  }

  Bytes ClassItem(bool isFirst) {
    const char low = Take();
    if (low == '[' || low == ']') throw NotPlain{};
    if (low == '-' && (isFirst ? rest_.substr(0, 1) == "-" : rest_.substr(0, 1) != "]")) throw NotPlain{};
    if (low == '\\') {
      const Bytes escaped = Escape();
      if (rest_.substr(0, 1) == "-" && rest_.substr(0, 2) != "-]") throw NotPlain{};
      return escaped;
    }
    if (rest_.size() < 2 || rest_[0] != '-' || rest_[1] == ']') return AllOf({&low, 1});
    rest_.remove_prefix(1);
    const char high = Take();
    if (high == '[' || high == '\\' || high == '-' || high < low) throw NotPlain{};
    return Range(static_cast<unsigned char>(low), static_cast<unsigned char>(high));
  }

  std::string_view rest_;
  PatternAutomaton& automaton_;
  size_t positions_ = 0;
  int groups_ = 0;
};

std::optional<PatternAutomaton> PatternAutomaton::Build(std::string_view pattern) {
  PatternAutomaton automaton;
  try {
    Parser(pattern, automaton).Run();
  } catch (const NotPlain&) {
    return std::nullopt;
  }
  return automaton;
}

bool PatternAutomaton::Matches(std::string_view value) const {
  if (value.empty()) return takesNothing_;
  Positions reached = first_ & fitting_[static_cast<unsigned char>(value.front())];
  for (const char c : value.substr(1)) {
    Positions next = 0;
    for (Positions rest = reached; rest != 0; rest &= rest - 1) next |= follows_[__builtin_ctzll(rest)];
    reached = next & fitting_[static_cast<unsigned char>(c)];
    if (reached == 0) return false;
  }
  return (reached & last_) != 0;
}

}  // namespace OrvoConfigStore
