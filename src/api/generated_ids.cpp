#include "api/generated_ids.h"

#include "configstore/object_id.h"
#include "platform/json_members.h"

namespace OrvoConfigStore {
namespace {

bool IsIdentifiedByStore(const JsonValue& node) {
  const JsonValue* idKey = FindValue(node, "instanceId");
  return idKey != nullptr && idKey->IsString() && TextOf(*idKey) == kGeneratedId;
}

void AssignInArray(JsonValue& elements, const JsonValue& node, JsonAllocator& allocator) {
  const JsonValue* items = FindValue(node, "items");
  if (items == nullptr || !items->IsObject()) return;
  const bool identified = IsIdentifiedByStore(node);
  for (JsonValue& element : elements.GetArray()) {
    if (!element.IsObject()) continue;
    if (identified && FindValue(element, kGeneratedId) == nullptr) {
      element.AddMember(NameRef(kGeneratedId), TextValue(GenerateInstanceId(), allocator), allocator);
    }
    AssignNestedIds(element, *items, allocator);
  }
}

}  // namespace

void AssignNestedIds(JsonValue& data, const JsonValue& node, JsonAllocator& allocator) {
  const JsonValue* described = FindValue(node, "properties");
  if (!data.IsObject() || described == nullptr || !described->IsObject()) return;
  MemberIndex properties(*described);
  for (auto& member : data.GetObject()) {
    if (!member.value.IsObject() && !member.value.IsArray()) continue;
    const MemberIndex::Member* property = properties.Find(TextOf(member.name));
    if (property == nullptr || !property->value.IsObject()) continue;
    if (member.value.IsArray()) {
      AssignInArray(member.value, property->value, allocator);
    } else {
      AssignNestedIds(member.value, property->value, allocator);
    }
  }
}

}  // namespace OrvoConfigStore
