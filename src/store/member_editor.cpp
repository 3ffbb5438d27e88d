#include "store/member_editor.h"

#include <algorithm>

#include "configstore/errors.h"
#include "platform/json_values.h"

namespace OrvoConfigStore {

MemberEditor::MemberEditor(JsonValue& object, size_t changes, JsonAllocator& allocator)
    : object_(object), allocator_(allocator), indexed_(std::max<size_t>(object.MemberCount(), changes) > kIndexFrom) {
  if (!indexed_) return;
  positions_.reserve(object.MemberCount());
  rapidjson::SizeType position = 0;
  for (const auto& member : object.GetObject()) positions_.emplace(TextOf(member.name), position++);
}

MemberEditor::~MemberEditor() {
  if (removed_.empty()) return;
  auto kept = object_.MemberBegin();
  for (rapidjson::SizeType position = 0; position < object_.MemberCount(); ++position) {
    if (position < removed_.size() && removed_[position]) continue;
    const auto member = object_.MemberBegin() + position;
    if (kept != member) {
      kept->name = member->name;  // these assignments move
      kept->value = member->value;
    }
    ++kept;
  }
  object_.EraseMember(kept, object_.MemberEnd());
}

JsonValue* MemberEditor::Find(std::string_view name) {
  if (!indexed_) return FindValue(object_, name);
  const auto found = positions_.find(std::string(name));
  return found == positions_.end() ? nullptr : &(object_.MemberBegin() + found->second)->value;
}

void MemberEditor::Remove(std::string_view name) {
  if (!indexed_) {
    object_.EraseMember(NameRef(name));
    return;
  }
  const auto found = positions_.find(std::string(name));
  if (found == positions_.end()) return;
  if (removed_.size() <= found->second) removed_.resize(found->second + 1);
  removed_[found->second] = true;
  positions_.erase(found);
}

JsonValue& MemberEditor::Append(std::string_view name, JsonValue& value) {
  if (indexed_) positions_.emplace(name, object_.MemberCount());
  object_.AddMember(TextValue(name, allocator_), value, allocator_);
  return (object_.MemberEnd() - 1)->value;
}

InstanceFinder::InstanceFinder(JsonValue& elements, const std::string& idKey, size_t lookUps)
    : elements_(elements), idKey_(idKey), indexed_(elements.Size() + lookUps > kIndexFrom) {
  if (!indexed_) return;
  positions_.reserve(elements.Size());
  rapidjson::SizeType position = 0;
  for (const JsonValue& element : elements.GetArray()) positions_.emplace(InstanceIdOf(element, idKey), position++);
}

JsonValue* InstanceFinder::Find(std::string_view id) {
  if (indexed_) {
    const auto found = positions_.find(std::string(id));
    return found == positions_.end() ? nullptr : &elements_[found->second];
  }
  const auto found = std::find_if(elements_.Begin(), elements_.End(),
                                  [&](const JsonValue& element) { return InstanceIdOf(element, idKey_) == id; });
  return found == elements_.End() ? nullptr : found;
}

void InstanceFinder::TakeLast() {
  const rapidjson::SizeType last = elements_.Size() - 1;
  if (indexed_) positions_.emplace(InstanceIdOf(elements_[last], idKey_), last);
}

std::string_view InstanceIdOf(const JsonValue& element, const std::string& idKey) {
  if (!element.IsObject()) ThrowInvalidJson();
  const JsonValue* id = FindValue(element, idKey);
  if (id == nullptr || !id->IsString()) ThrowException<ConfigStoreException>(CS_KEY_VALUE_INVALID, idKey.c_str());
  return TextOf(*id);
}

}  // namespace OrvoConfigStore
