#include "validation/schema_node.h"

#include "configstore/logging.h"
#include "platform/failure.h"

namespace OrvoConfigStore {
namespace {

// Indexed by Keyword.
constexpr std::string_view kKeywordNames[] = {
    "type",       "properties",
    "required",   "additionalProperties",
    "items",      "instanceId",
    "instanceID", "minLength",
    "maxLength",  "enum",
    "pattern",    "minimum",
    "maximum",    "vital",
    "cached",     "storeSpecific",
    "reference",  "optionDependency",
};
static_assert(std::size(kKeywordNames) == kKeywordCount);

size_t IndexOf(Keyword keyword) {
  return static_cast<size_t>(keyword);
}

bool IsAbsent(const JsonValue& value, std::string_view key) {
  if (!value.IsNull()) return false;
  CSLogger::Log(CSLogger::LOG_PRIORITY_WARNING, "Value null for key: %s", std::string(key).c_str());
  return true;
}

TextSet TextsOf(const JsonValue& list) {
  TextSet texts;
  for (const JsonValue& text : list.GetArray()) texts.insert(TextOf(text));
  return texts;
}

// The name of a union tag, or null when `value` is none.
const JsonValue* TagName(const JsonValue* value) {
  const JsonValue* name = value != nullptr && value->IsObject() ? FindValue(*value, "name") : nullptr;
  return name != nullptr && name->IsString() ? name : nullptr;
}

void CollectTagNames(const JsonValue& value, OptionTagNames& names) {
  if (!value.IsObject()) return;
  if (const JsonValue* name = TagName(FindValue(value, "optionDependency"))) names.emplace(TextOf(*name));
  for (const auto& member : value.GetObject()) CollectTagNames(member.value, names);
}

}  // namespace

void SchemaNode::ReadKeywords() {
  for (const auto& member : node_.GetObject()) {
    for (size_t i = 0; i < kKeywordCount; ++i) {
      if (keywords_[i] == nullptr && TextOf(member.name) == kKeywordNames[i]) keywords_[i] = &member.value;
    }
  }
  keywordsRead_ = true;
}

const JsonValue* SchemaNode::Find(Keyword keyword) {
  if (!keywordsRead_) ReadKeywords();
  const JsonValue*& value = keywords_[IndexOf(keyword)];
  if (value != nullptr && IsAbsent(*value, kKeywordNames[IndexOf(keyword)])) value = nullptr;
  return value;
}

bool SchemaNode::IsTrue(Keyword keyword) {
  const JsonValue* value = Find(keyword);
  return value != nullptr && value->GetBool();
}

bool SchemaNode::IsMarked(Keyword keyword) {
  const JsonValue* value = Find(keyword);
  return value != nullptr && value->IsTrue();
}

SchemaNode* SchemaNode::Property(std::string_view name) {
  const JsonValue* properties = Find(Keyword::Properties);
  if (properties == nullptr) return nullptr;
  if (!properties_.has_value()) {
    properties_.emplace(*properties);
    children_.resize(properties->MemberCount());
  }
  const MemberIndex::Member* property = properties_->Find(name);
  if (property == nullptr || IsAbsent(property->value, name)) return nullptr;
  std::unique_ptr<SchemaNode>& child = children_[properties_->PositionOf(property)];
  if (child == nullptr) child = std::make_unique<SchemaNode>(property->value);
  return child.get();
}

SchemaNode* SchemaNode::Items() {
  const JsonValue* items = Find(Keyword::Items);
  if (items != nullptr && items_ == nullptr) items_ = std::make_unique<SchemaNode>(*items);
  return items_.get();
}

const std::vector<std::string_view>& SchemaNode::Required(RequiredRule rule) {
  std::optional<std::vector<std::string_view>>& enforced = required_[static_cast<size_t>(rule)];
  if (enforced.has_value()) return *enforced;
  std::vector<std::string_view> names;
  if (const JsonValue* required = Find(Keyword::Required)) {
    for (const JsonValue& name : required->GetArray()) {
      if (Enforces(rule, TextOf(name))) names.push_back(TextOf(name));
    }
  }
  return enforced.emplace(std::move(names));
}

bool SchemaNode::Enforces(RequiredRule rule, std::string_view name) {
  if (rule == RequiredRule::All) return true;
  SchemaNode* property = Property(name);
  if (rule == RequiredRule::VitalOnly) return property != nullptr && property->IsTrue(Keyword::Vital);
  return property == nullptr || !(property->IsTrue(Keyword::Vital) || property->IsTrue(Keyword::Cached) ||
                                  property->IsTrue(Keyword::StoreSpecific));
}

const TextSet& SchemaNode::EnumTexts() {
  if (!enumTexts_.has_value()) enumTexts_ = TextsOf(*Find(Keyword::Enum));
  return *enumTexts_;
}

const Pattern& SchemaNode::CompiledPattern() {
  if (pattern_ != nullptr) return *pattern_;
  std::string reason;
  pattern_ = Pattern::Get(std::string(TextOf(*Find(Keyword::Pattern))), &reason);
  if (pattern_ == nullptr) {
    CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "A pattern of the schema cannot be used: %s", reason.c_str());
    ThrowInvalidJson();
  }
  return *pattern_;
}

const UnionTag* SchemaNode::Union() {
  const JsonValue* dependency = Find(Keyword::OptionDependency);
  const JsonValue* name = TagName(dependency);
  if (name == nullptr) return nullptr;
  if (!union_.has_value()) {
    const JsonValue* allowed = FindValue(*dependency, "value");
    if (allowed == nullptr) ThrowInvalidJson();
    union_ = UnionTag{TextOf(*name), TextsOf(*allowed)};
  }
  return &*union_;
}

OptionTagNames CollectOptionTagNames(const JsonValue& schema) {
  OptionTagNames names;
  CollectTagNames(schema, names);
  return names;
}

}  // namespace OrvoConfigStore
