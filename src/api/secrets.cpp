#include "api/secrets.h"

#include <map>
#include <string_view>

#include "api/nearest_name.h"
#include "configstore/inspect.h"
#include "platform/json_members.h"
#include "store/fields.h"

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

// Finds the stored elements that elements are another state of: by identifier
// where the array has one, else by position. Identifiers that are texts go through
// an index, so that n elements never take n * n steps.
class Counterparts {
 public:
  /// `stored` may be null or no array: then there is none.
  Counterparts(const JsonValue* stored, const JsonValue* idKey)
      : stored_(stored != nullptr && stored->IsArray() ? stored : nullptr),
        idKey_(idKey != nullptr && idKey->IsString() ? idKey : nullptr) {
    if (stored_ == nullptr || idKey_ == nullptr) return;
    for (const JsonValue& candidate : stored_->GetArray()) {
      const JsonValue* id = MemberOf(&candidate, TextOf(*idKey_));
      if (id != nullptr && id->IsString()) byText_.emplace(TextOf(*id), &candidate);
    }
  }

  const JsonValue* Find(const JsonValue& element, rapidjson::SizeType position) const {
    if (stored_ == nullptr) return nullptr;
    if (idKey_ == nullptr) return position < stored_->Size() ? &(*stored_)[position] : nullptr;
    const JsonValue* id = MemberOf(&element, TextOf(*idKey_));
    if (id == nullptr) return nullptr;
    if (!id->IsString()) return FindEqual(*id);
    const auto found = byText_.find(TextOf(*id));
    return found == byText_.end() ? nullptr : found->second;
  }

 private:
  const JsonValue* FindEqual(const JsonValue& id) const {
    for (const JsonValue& candidate : stored_->GetArray()) {
      const JsonValue* other = MemberOf(&candidate, TextOf(*idKey_));
      if (other != nullptr && *other == id) return &candidate;
    }
    return nullptr;
  }

  const JsonValue* stored_;
  const JsonValue* idKey_;
  std::map<std::string_view, const JsonValue*> byText_;  // the first of each
};

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
    const Counterparts counterparts(stored, FindValue(node, "instanceId"));
    for (rapidjson::SizeType i = 0; i < data.Size(); ++i) {
      ForEachSecret(data[i], *items, counterparts.Find(data[i], i), path, visit);
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

void Mask(JsonValue& value) {
  value.SetString(rapidjson::StringRef(kSecretMask));
}

// Whether `name`, which the node does not describe, is a slip of one without secrets.
bool IsPlainSlip(std::string_view name, const JsonValue& node) {
  const std::string nearest = NearestName(name, PropertyNames(&node));
  return !nearest.empty() && !HoldsSecret(PropertyOf(&node, nearest));
}

}  // namespace

void MaskSecretValues(JsonValue& data, const JsonValue& node) {
  auto mask = [](JsonValue& value, const JsonValue*, const std::string&) { Mask(value); };
  ForEachSecret(data, node, nullptr, "", mask);
}

void MaskUndescribedValues(JsonValue& data, const JsonValue& node) {
  if (data.IsArray()) {
    const JsonValue* items = MemberOf(&node, "items");
    if (items == nullptr) return;
    for (JsonValue& element : data.GetArray()) MaskUndescribedValues(element, *items);
  }
  if (!data.IsObject()) return;
  for (auto& member : data.GetObject()) {
    const std::string_view name = TextOf(member.name);
    if (const JsonValue* property = PropertyOf(&node, name)) {
      MaskUndescribedValues(member.value, *property);
    } else if (!member.value.IsBool() && !member.value.IsNull() && !IsPlainSlip(name, node)) {
      Mask(member.value);
    }
  }
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
