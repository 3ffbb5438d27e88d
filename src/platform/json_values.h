#pragma once

#include <string_view>

#include "platform/rapidjson.h"

/// Small ways of reading and making JSON values. Nothing here keeps a pointer
/// that it was given, but for NameRef.

namespace OrvoConfigStore {

/// The member of every object that the store may identify by itself.
constexpr char kGeneratedId[] = "cs_generated_id";

/// Returns a value that refers to `name`, for look-ups; valid while `name` is.
/// Never store one: copying a value does not copy the text that it refers to.
inline JsonValue NameRef(std::string_view name) {
  return JsonValue(rapidjson::StringRef(name.data(), static_cast<rapidjson::SizeType>(name.size())));
}

/// Returns a string value with a copy of `text`.
inline JsonValue TextValue(std::string_view text, JsonAllocator& allocator) {
  return JsonValue(text.data(), static_cast<rapidjson::SizeType>(text.size()), allocator);
}

/// Returns the whole text of a string value, NUL bytes included.
inline std::string_view TextOf(const JsonValue& value) {
  return {value.GetString(), value.GetStringLength()};
}

/// Returns the member `name` of an object, or null. Throws "Invalid JSON" when
/// `object` is none.
inline const JsonValue* FindValue(const JsonValue& object, std::string_view name) {
  const auto member = object.FindMember(NameRef(name));
  return member == object.MemberEnd() ? nullptr : &member->value;
}
inline JsonValue* FindValue(JsonValue& object, std::string_view name) {
  const auto member = object.FindMember(NameRef(name));
  return member == object.MemberEnd() ? nullptr : &member->value;
}

}  // namespace OrvoConfigStore
