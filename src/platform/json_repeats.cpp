#include "platform/json_repeats.h"

#include "platform/json_members.h"

namespace OrvoConfigStore {
namespace {

const JsonValue* FindAmongElements(const JsonValue& array) {
  for (const JsonValue& element : array.GetArray()) {
    if (const JsonValue* name = FindRepeatedName(element)) return name;
  }
  return nullptr;
}

}  // namespace

const JsonValue* FindRepeatedName(const JsonValue& value) {
  if (value.IsArray()) return FindAmongElements(value);
  if (!value.IsObject()) return nullptr;
  MemberIndex members(value);
  for (const auto& member : value.GetObject()) {
    if (members.Find(TextOf(member.name)) != &member) return &member.name;
    if (const JsonValue* name = FindRepeatedName(member.value)) return name;
  }
  return nullptr;
}

}  // namespace OrvoConfigStore
