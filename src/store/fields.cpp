#include "store/fields.h"

#include <algorithm>
#include <optional>

#include "platform/json_members.h"
#include "platform/json_pointer.h"

namespace OrvoConfigStore {
namespace {

const JsonValue* Keyword(const JsonValue* node, std::string_view name) {
  return node == nullptr || !node->IsObject() ? nullptr : FindValue(*node, name);
}

bool IsSecret(const JsonValue* node) {
  const JsonValue* type = Keyword(node, "type");
  return type != nullptr && type->IsString() && TextOf(*type) == "secret";
}

// The node that describes the members below a value of `node`.
const JsonValue* ObjectNodeOf(const JsonValue* node) {
  const JsonValue* items = Keyword(node, "items");
  return items == nullptr ? node : items;
}

const JsonValue* PropertiesOf(const JsonValue* node) {
  const JsonValue* properties = Keyword(ObjectNodeOf(node), "properties");
  return properties == nullptr || !properties->IsObject() ? nullptr : properties;
}

bool IsIdentified(const JsonValue& element, std::string_view idKey) {
  const JsonValue* id = element.IsObject() ? FindValue(element, idKey) : nullptr;
  return id != nullptr && id->IsString();
}

class FieldWalk {
 public:
  FieldWalk(const JsonValue* idMap, const FieldVisitor& visitor) : idMap_(idMap), visitor_(visitor) {}

  void VisitObject(const JsonValue& object, const JsonValue* node) {
    if (visitor_.object) visitor_.object(path_, node);
    const JsonValue* described = PropertiesOf(node);
    std::optional<MemberIndex> properties;
    if (described != nullptr) properties.emplace(*described);
    for (const auto& member : object.GetObject()) {
      const std::string_view name = TextOf(member.name);
      const MemberIndex::Member* property = properties ? properties->Find(name) : nullptr;
      Below(name, [&] { VisitValue(name, member.value, property == nullptr ? nullptr : &property->value); });
    }
  }

 private:
  template <class Visit>
  void Below(std::string_view step, Visit visit) {
    const size_t length = path_.size();
    AppendStep(path_, step);
    visit();
    path_.resize(length);
  }

  void VisitValue(std::string_view name, const JsonValue& value, const JsonValue* node) {
    if (value.IsObject() && !value.ObjectEmpty() && !IsSecret(node)) return VisitObject(value, node);
    const JsonValue* idKey = InstanceKeyOf(name, value, node, idMap_);
    if (idKey == nullptr || value.Empty()) {
      const bool isEmptyHolder = idKey != nullptr || (value.IsObject() && value.ObjectEmpty());
      return visitor_.field({path_, value, node, isEmptyHolder});
    }
    for (const JsonValue& element : value.GetArray()) {
      Below(TextOf(*FindValue(element, TextOf(*idKey))), [&] { VisitObject(element, node); });
    }
  }

  const JsonValue* idMap_;
  const FieldVisitor& visitor_;
  std::string path_;
};

}  // namespace

void ForEachField(const JsonValue& data, const JsonValue* node, const JsonValue* idMap, const FieldVisitor& visitor) {
  FieldWalk(idMap, visitor).VisitObject(data, node);
}

const JsonValue* InstanceKeyOf(std::string_view name, const JsonValue& value, const JsonValue* node,
                               const JsonValue* idMap) {
  const JsonValue* idKey = node != nullptr ? Keyword(node, "instanceId") : Keyword(idMap, name);
  if (idKey == nullptr || !idKey->IsString() || !value.IsArray()) return nullptr;
  const bool areAll = std::all_of(value.Begin(), value.End(),
                                  [idKey](const JsonValue& element) { return IsIdentified(element, TextOf(*idKey)); });
  return areAll ? idKey : nullptr;
}

const JsonValue* PropertyOf(const JsonValue* node, std::string_view name) {
  const JsonValue* properties = PropertiesOf(node);
  return properties == nullptr ? nullptr : FindValue(*properties, name);
}

std::vector<std::string_view> PropertyNames(const JsonValue* node) {
  std::vector<std::string_view> names;
  if (const JsonValue* properties = PropertiesOf(node)) {
    for (const auto& property : properties->GetObject()) names.push_back(TextOf(property.name));
  }
  return names;
}

bool HoldsSecret(const JsonValue* node) {
  if (IsSecret(node) || IsSecret(Keyword(node, "items"))) return true;
  const JsonValue* properties = PropertiesOf(node);
  return properties != nullptr && std::any_of(properties->MemberBegin(), properties->MemberEnd(),
                                              [](const auto& property) { return HoldsSecret(&property.value); });
}

}  // namespace OrvoConfigStore
