#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "platform/rapidjson.h"

/// Where the values of a parsed text stand in it.

namespace OrvoConfigStore {

/// A step from a value to one below it.
struct PlaceStep {
  const JsonValue* container;     ///< that is stepped out of
  const JsonValue* name;          ///< of the member; null for an element
  rapidjson::SizeType index = 0;  ///< of the element
};

/// A line and a column, both from 1. Columns count characters.
struct TextPosition {
  size_t line = 1;
  size_t column = 1;
};

/// Tells the positions of growing offsets; all of a text in one pass.
class PositionCounter {
 public:
  explicit PositionCounter(const std::string& text) : text_(text) {}
  /// Returns the position of `offset`, which is not below the last one.
  TextPosition At(size_t offset);

 private:
  const std::string& text_;
  size_t at_ = 0;
  TextPosition position_;
};

/// Returns a JSON pointer for the steps.
std::string PointerOf(const std::vector<PlaceStep>& steps);

/// Calls visit(place, steps, offset) for every value and every member's name of
/// `root`, in the order of `text`, of which it was parsed. Members that were added
/// at the end of an object since then are passed over. The last step of a name is
/// its own.
using PlaceVisitor = std::function<void(const JsonValue& place, const std::vector<PlaceStep>& steps, size_t offset)>;
void VisitPlaces(const std::string& text, const JsonValue& root, const PlaceVisitor& visit);

}  // namespace OrvoConfigStore
