#include "platform/json_repeats.h"

#include "platform/json_members.h"
#include "platform/json_pointer.h"

namespace OrvoConfigStore {
namespace {

// The place is put together on the way back: mostly there is none.
void PutBefore(std::string* pointer, std::string_view step) {
  if (pointer != nullptr) *pointer = PointerBelow("", step) + *pointer;
}

const JsonValue* FindAmongElements(const JsonValue& array, std::string* pointer) {
  for (rapidjson::SizeType i = 0; i < array.Size(); ++i) {
    const JsonValue* name = FindRepeatedName(array[i], pointer);
    if (name == nullptr) continue;
    PutBefore(pointer, std::to_string(i));
    return name;
  }
  return nullptr;
}

}  // namespace

const JsonValue* FindRepeatedName(const JsonValue& value, std::string* pointer) {
  if (value.IsArray()) return FindAmongElements(value, pointer);
  if (!value.IsObject()) return nullptr;
  MemberIndex members(value);
  for (const auto& member : value.GetObject()) {
    const bool isRepeated = members.Find(TextOf(member.name)) != &member;
    const JsonValue* name = isRepeated ? &member.name : FindRepeatedName(member.value, pointer);
    if (name == nullptr) continue;
    PutBefore(pointer, TextOf(member.name));
    return name;
  }
  return nullptr;
}

}  // namespace OrvoConfigStore
