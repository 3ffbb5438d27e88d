#include "api/field_words.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>

#include "platform/json_values.h"

namespace OrvoConfigStore {
namespace {

std::string_view TypeOf(const JsonValue& node) {
  const JsonValue* type = node.IsObject() ? FindValue(node, "type") : nullptr;
  return type == nullptr || !type->IsString() ? std::string_view() : TextOf(*type);
}

bool ReadText(const std::string& word, JsonValue& value, JsonAllocator& allocator) {
  value = TextValue(word, allocator);
  return true;
}

bool ReadInteger(const std::string& word, JsonValue& value, JsonAllocator&) {
  int64_t number = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
  value.SetInt64(number);
  return error == std::errc() && end == word.data() + word.size();
}

bool ReadDouble(const std::string& word, JsonValue& value, JsonAllocator&) {
  double number = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
  if (error != std::errc() || end != word.data() + word.size() || !std::isfinite(number)) return false;
  value.SetDouble(number);
  return true;
}

bool ReadBoolean(const std::string& word, JsonValue& value, JsonAllocator&) {
  value.SetBool(word == "true");
  return word == "true" || word == "false";
}

// How the word of a scalar type is read.
struct WordType {
  std::string_view type;
  bool (*read)(const std::string& word, JsonValue& value, JsonAllocator& allocator);
  const char* expected;
};

const WordType kWordTypes[] = {
    {"string", ReadText, ""},
    {"secret", ReadText, ""},
    {"integer", ReadInteger, "The value is no integer"},
    {"long", ReadInteger, "The value is no integer of 64 bits"},
    {"double", ReadDouble, "The value is no number"},
    {"boolean", ReadBoolean, "The value is neither true nor false"},
};

const WordType* FindWordType(const JsonValue& node) {
  const std::string_view type = TypeOf(node);
  const auto found =
      std::find_if(std::begin(kWordTypes), std::end(kWordTypes), [&](const auto& known) { return known.type == type; });
  return found == std::end(kWordTypes) ? nullptr : found;
}

std::string ReadList(const std::string& words, const WordType& type, JsonValue& list, JsonAllocator& allocator) {
  list.SetArray();
  for (size_t at = 0; !words.empty() && at <= words.size();) {
    const size_t end = std::min(words.find(',', at), words.size());
    JsonValue element;
    if (!type.read(words.substr(at, end - at), element, allocator)) return type.expected;
    list.PushBack(element, allocator);
    at = end + 1;
  }
  return "";
}

}  // namespace

std::string ReadWord(const std::string& word, const JsonValue& node, JsonValue& value, JsonAllocator& allocator) {
  if (const WordType* type = FindWordType(node)) return type->read(word, value, allocator) ? "" : type->expected;
  const JsonValue* items = node.IsObject() ? FindValue(node, "items") : nullptr;
  const WordType* type = items == nullptr ? nullptr : FindWordType(*items);
  if (type == nullptr) return "The field holds further ones and takes JSON, or set those by themselves";
  return ReadList(word, *type, value, allocator);
}

}  // namespace OrvoConfigStore
