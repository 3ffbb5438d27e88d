#include "platform/sql_literals.h"

#include <sqlite3.h>

#include <algorithm>

namespace DBStore {

namespace {

constexpr char kQuote = '\'';

bool IsBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

bool IsWordCharacter(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == kQuote ||
         static_cast<unsigned char>(c) >= 0x80;
}

bool BeginsWithLiftedVerb(std::string_view sql) {
  constexpr int kVerbLength = 6;  // all of them
  const auto first = std::find_if_not(sql.begin(), sql.end(), IsBlank);
  if (sql.end() - first < kVerbLength) return false;
  for (const char* verb : {"SELECT", "INSERT", "UPDATE", "DELETE"}) {
    if (sqlite3_strnicmp(&*first, verb, kVerbLength) == 0) return true;
  }
  return false;
}

/// One pass over a statement; stops at what it does not understand.
class Lifter {
 public:
  Lifter(std::string_view sql, LiftedStatement* lifted) : sql_(sql), lifted_(lifted) {}

  bool Run() {
    while (position_ < sql_.size()) {
      if (!Step(sql_[position_])) return false;
    }
    lifted_->text.append(sql_.substr(copied_));
    return true;
  }

 private:
  bool Step(char c) {
    switch (c) {
      case kQuote:
        return TakeLiteral();
      case '"':
      case '`':
        return SkipTo(c);
      case '[':
        return SkipTo(']');
      case '?':
        return TakeGiven();
      case ':':
      case '@':
      case '$':
      case '#':
        return false;  // 4
      case '-':
      case '/':
        if (Next() == '-' || Next() == '*') return false;  // 4
        break;
      default:
        break;
    }
    if (!IsBlank(c)) before_ = c;
    ++position_;
    return true;
  }

  char Next() const { return position_ + 1 < sql_.size() ? sql_[position_ + 1] : '\0'; }

  bool SkipTo(char closing) {
    const size_t end = sql_.find(closing, position_ + 1);
    if (end == std::string_view::npos) return false;  // 4
    before_ = closing;
    position_ = end + 1;
    return true;
  }

  bool TakeGiven() {
    if (IsWordCharacter(Next())) return false;  // 4
    lifted_->parameters.push_back({true, {}});
    before_ = '?';
    ++position_;
    return true;
  }

  bool TakeLiteral() {
    bool isDoubled = false;
    size_t end = sql_.find(kQuote, position_ + 1);
    while (end != std::string_view::npos && end + 1 < sql_.size() && sql_[end + 1] == kQuote) {
      isDoubled = true;
      end = sql_.find(kQuote, end + 2);
    }
    if (end == std::string_view::npos) return false;  // 4
    const std::string_view literal = sql_.substr(position_ + 1, end - position_ - 1);
    const size_t begin = position_;
    position_ = end;
    if (IsWordCharacter(Next())) return false;  // 4: "?" and the word would read as one
    if (before_ == '=' || before_ == '(' || before_ == ',') Lift(begin, literal, isDoubled);
    before_ = kQuote;
    ++position_;
    return true;
  }

  void Lift(size_t begin, std::string_view literal, bool isDoubled) {
    lifted_->text.append(sql_.substr(copied_, begin - copied_)).push_back('?');
    lifted_->parameters.push_back({false, isDoubled ? Unquote(literal) : literal});
    copied_ = position_ + 1;
  }

  std::string_view Unquote(std::string_view literal) {
    std::string& memory = lifted_->unquoted;
    memory.reserve(sql_.size());  // so that it never moves under the parameters
    const size_t begin = memory.size();
    for (size_t i = 0; i < literal.size(); ++i) {
      memory.push_back(literal[i]);
      if (literal[i] == kQuote) ++i;
    }
    return std::string_view(memory).substr(begin);
  }

  std::string_view sql_;
  LiftedStatement* lifted_;
  size_t position_ = 0;
  size_t copied_ = 0;   // up to here the text has been taken over
  char before_ = '\0';  // the last character that is not blank
};

}  // namespace

bool LiftLiterals(std::string_view sql, LiftedStatement* lifted) {
  lifted->text.clear();
  lifted->parameters.clear();
  lifted->unquoted.clear();
  return BeginsWithLiftedVerb(sql) && Lifter(sql, lifted).Run();
}

}  // namespace DBStore
