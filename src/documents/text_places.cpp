#include "documents/text_places.h"

#include <algorithm>

#include "platform/json_pointer.h"
#include "platform/json_values.h"

namespace OrvoConfigStore {
namespace {

// Reads text and values side by side. The text has been parsed, so that nothing of
// its grammar needs checking.
class PlaceReader {
 public:
  PlaceReader(const std::string& text, const PlaceVisitor& visit) : text_(text), visit_(visit) {}

  void Value(const JsonValue& value) {
    SkipSpace();
    visit_(value, steps_, at_);
    if (value.IsObject()) return Members(value);
    if (value.IsArray()) return Elements(value);
    if (value.IsString()) return SkipString();
    at_ = std::min(text_.find_first_of(",]} \t\r\n", at_), text_.size());
  }

 private:
  void Members(const JsonValue& object) {
    ++at_;
    steps_.push_back({&object, nullptr});
    for (const auto& member : object.GetObject()) {
      if (IsAtEnd('}')) break;
      steps_.back().name = &member.name;
      visit_(member.name, steps_, at_);
      SkipString();
      SkipBehind(':');
      Value(member.value);
      SkipBehind(',');
    }
    Leave();
  }

  void Elements(const JsonValue& array) {
    ++at_;
    steps_.push_back({&array, nullptr});
    for (const JsonValue& element : array.GetArray()) {
      Value(element);
      SkipBehind(',');
      ++steps_.back().index;
    }
    Leave();
  }

  void Leave() {
    steps_.pop_back();
    SkipSpace();
    ++at_;
  }

  bool IsAtEnd(char end) {
    SkipSpace();
    return text_[at_] == end;
  }

  void SkipSpace() { at_ = std::min(text_.find_first_not_of(" \t\r\n", at_), text_.size()); }
  void SkipBehind(char separator) {
    SkipSpace();
    if (text_[at_] == separator) ++at_;
  }
  void SkipString() {
    for (++at_; at_ < text_.size() && text_[at_] != '"'; ++at_) {
      if (text_[at_] == '\\') ++at_;
    }
    ++at_;
  }

  const std::string& text_;
  const PlaceVisitor& visit_;
  size_t at_ = 0;
  std::vector<PlaceStep> steps_;
};

}  // namespace

TextPosition PositionCounter::At(size_t offset) {
  for (; at_ < offset && at_ < text_.size(); ++at_) {
    const auto byte = static_cast<unsigned char>(text_[at_]);
    if (byte == '\n') {
      ++position_.line;
      position_.column = 1;
    } else if ((byte & 0xc0) != 0x80) {
      ++position_.column;  // not within a character of several bytes
    }
  }
  return position_;
}

std::string PointerOf(const std::vector<PlaceStep>& steps) {
  std::string pointer;
  for (const PlaceStep& step : steps) {
    AppendStep(pointer, step.name == nullptr ? std::to_string(step.index) : std::string(TextOf(*step.name)));
  }
  return pointer;
}

void VisitPlaces(const std::string& text, const JsonValue& root, const PlaceVisitor& visit) {
  PlaceReader(text, visit).Value(root);
}

}  // namespace OrvoConfigStore
