#include "documents/unstorable.h"

#include "platform/json_members.h"
#include "platform/json_repeats.h"

namespace OrvoConfigStore {
namespace {

const JsonValue* MemberOf(const JsonValue& node, const char* name) {
  return node.IsObject() ? FindValue(node, name) : nullptr;
}

bool IsSwitch(const JsonValue& node, const char* name, bool value) {
  const JsonValue* found = MemberOf(node, name);
  return found != nullptr && found->IsBool() && found->GetBool() == value;
}

// An identifier is kept whole, and what is vital and cached too is in no layer.
bool IsNeverSplit(const JsonValue& node) {
  const bool isInNone = MemberOf(node, "vital") != nullptr && MemberOf(node, "cached") != nullptr;
  return isInNone || IsSwitch(node, "instanceId", true);
}

void FindInObject(const JsonValue& object, const JsonValue& node, const std::string& path,
                  const FindingListener& listener) {
  const JsonValue* described = MemberOf(node, "properties");
  if (described == nullptr || !described->IsObject()) {
    return listener({object, {}, path, "The schema describes no member of this object: it cannot be stored"});
  }
  MemberIndex properties(*described);
  for (const auto& member : object.GetObject()) {
    const std::string_view name = TextOf(member.name);
    if (const MemberIndex::Member* property = properties.Find(name)) {
      FindUndescribed(member.value, property->value, path + "/" + std::string(name), listener);
    } else if (!IsSwitch(node, "additionalProperties", false)) {  // else the validator says so
      listener({member.name, name, path, "Invalid field in schema: " + std::string(name)});
    }
  }
}

}  // namespace

void FindUndescribed(const JsonValue& data, const JsonValue& node, const std::string& path,
                     const FindingListener& listener) {
  if (IsNeverSplit(node)) return;
  if (data.IsObject()) return FindInObject(data, node, path, listener);
  const JsonValue* items = data.IsArray() ? MemberOf(node, "items") : nullptr;
  if (items == nullptr || !items->IsObject()) return;
  const JsonValue* type = MemberOf(*items, "type");
  if (type == nullptr || !type->IsString() || TextOf(*type) != "object") return;
  for (const JsonValue& element : data.GetArray()) FindUndescribed(element, *items, path, listener);
}

void FindRepeat(const JsonValue& data, const std::string& path, const FindingListener& listener) {
  const JsonValue* name = FindRepeatedName(data);
  if (name != nullptr) listener({*name, {}, path, "Member is there twice: " + std::string(TextOf(*name))});
}

}  // namespace OrvoConfigStore
