#include "api/secrets.h"

#include <string_view>

#include "configstore/inspect.h"
#include "platform/json_members.h"

namespace OrvoConfigStore {

const char kSecretMask[] = "\u2022\u2022\u2022";

namespace {

bool IsSecret(const JsonValue& node) {
  const JsonValue* type = FindValue(node, "type");
  return type != nullptr && type->IsString() && TextOf(*type) == "secret";
}

bool IsMask(const JsonValue& value) {
  return value.IsString() && TextOf(value) == kSecretMask;
}

const JsonValue* MemberOf(const JsonValue* object, std::string_view name) {
  return object == nullptr || !object->IsObject() ? nullptr : FindValue(*object, name);
}

// The stored element that `element` is another state of.
const JsonValue* Counterpart(const JsonValue* stored, const JsonValue& element, rapidjson::SizeType position,
                             const JsonValue* idKey) {
  if (stored == nullptr || !stored->IsArray()) return nullptr;
  if (idKey == nullptr || !idKey->IsString()) return position < stored->Size() ? &(*stored)[position] : nullptr;
  const JsonValue* id = MemberOf(&element, TextOf(*idKey));
  if (id == nullptr) return nullptr;
  for (const JsonValue& candidate : stored->GetArray()) {
    const JsonValue* other = MemberOf(&candidate, TextOf(*idKey));
    if (other != nullptr && *other == *id) return &candidate;
  }
  return nullptr;
}

// Calls visit(value, stored, path) for each value in a secret's place; `stored`
// is walked along and null where it has nothing.
template <class Visit>
void ForEachSecret(JsonValue& data, const JsonValue& node, const JsonValue* stored, const std::string& path,
                   Visit& visit) {
  if (!node.IsObject() || data.IsNull()) return;
  if (IsSecret(node)) return visit(data, stored, path);
  if (data.IsArray()) {
    const JsonValue* items = FindValue(node, "items");
    if (items == nullptr) return;
    const JsonValue* idKey = FindValue(node, "instanceId");
    for (rapidjson::SizeType i = 0; i < data.Size(); ++i) {
      ForEachSecret(data[i], *items, Counterpart(stored, data[i], i, idKey), path, visit);
    }
    return;
  }
  const JsonValue* described = FindValue(node, "properties");
  if (!data.IsObject() || described == nullptr || !described->IsObject()) return;
  MemberIndex properties(*described);
  for (auto& member : data.GetObject()) {
    const std::string_view name = TextOf(member.name);
    const MemberIndex::Member* property = properties.Find(name);
    if (property == nullptr) continue;
    ForEachSecret(member.value, property->value, MemberOf(stored, name), path + "/" + std::string(name), visit);
  }
}

}  // namespace

void MaskSecretValues(JsonValue& data, const JsonValue& node) {
  auto mask = [](JsonValue& value, const JsonValue*, const std::string&) {
    value.SetString(rapidjson::StringRef(kSecretMask));
  };
  ForEachSecret(data, node, nullptr, "", mask);
}

void OmitSecretValues(JsonValue& data, const JsonValue& node) {
  const JsonValue* items = data.IsArray() ? FindValue(node, "items") : nullptr;
  if (items != nullptr) {
    if (IsSecret(*items)) return data.Clear();
    for (JsonValue& element : data.GetArray()) OmitSecretValues(element, *items);
  }
  const JsonValue* properties = data.IsObject() ? FindValue(node, "properties") : nullptr;
  if (properties == nullptr) return;
  for (auto member = data.MemberBegin(); member != data.MemberEnd();) {
    const JsonValue* property = MemberOf(properties, TextOf(member->name));
    if (property != nullptr && IsSecret(*property)) {
      member = data.EraseMember(member);
    } else {
      if (property != nullptr) OmitSecretValues(member->value, *property);
      ++member;
    }
  }
}

bool HasMaskedSecret(const JsonValue& data, const JsonValue& node) {
  bool found = false;
  auto look = [&](const JsonValue& value, const JsonValue*, const std::string&) { found = found || IsMask(value); };
  ForEachSecret(const_cast<JsonValue&>(data), node, nullptr, "", look);  // only looks
  return found;
}

std::vector<ErrorInfo> RestoreMaskedSecrets(JsonValue& data, const JsonValue& node, const JsonValue* stored,
                                            JsonAllocator& allocator) {
  std::vector<ErrorInfo> violations;
  auto restore = [&](JsonValue& value, const JsonValue* kept, const std::string& path) {
    if (!IsMask(value)) return;
    if (kept != nullptr && kept->IsString()) {
      value.CopyFrom(*kept, allocator);
    } else {
      violations.push_back({path, "Secret is masked, and nothing is stored that the mask could stand for"});
    }
  };
  ForEachSecret(data, node, stored, "", restore);
  return violations;
}

}  // namespace OrvoConfigStore
