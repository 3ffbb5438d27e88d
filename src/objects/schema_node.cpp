#include "objects/schema_node.h"

#include <algorithm>
#include <utility>

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

// Indexed by SchemaType, up to Other.
constexpr std::string_view kTypeWords[] = {"object",  "array", "string", "secret",
                                           "integer", "long",  "double", "boolean"};

void LogNull(std::string_view key) {
  CSLogger::Log(CSLogger::LOG_PRIORITY_WARNING, "Value null for key: %s", std::string(key).c_str());
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

bool IsIdentifier(const JsonValue& node) {
  const JsonValue* mark = node.IsObject() ? FindValue(node, "instanceId") : nullptr;
  return mark != nullptr && mark->IsTrue();
}

// Whether data that the node describes can go to more layers than the user's.
bool IsLayered(const JsonValue& node) {
  if (!node.IsObject()) return false;
  if (FindValue(node, "vital") != nullptr || FindValue(node, "cached") != nullptr) return true;
  const JsonValue* items = FindValue(node, "items");
  if (items != nullptr && IsLayered(*items)) return true;
  const JsonValue* properties = FindValue(node, "properties");
  if (properties == nullptr || !properties->IsObject()) return false;
  int identifiers = 0;
  return std::any_of(properties->MemberBegin(), properties->MemberEnd(), [&](const auto& property) {
    return IsLayered(property.value) || (IsIdentifier(property.value) && ++identifiers > 1);
  });
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

const JsonValue* SchemaNode::Absent(Keyword keyword) {
  const size_t index = static_cast<size_t>(keyword);
  if (std::exchange(loggedValidation_, validation_) != validation_) nullsLogged_.reset();
  if (!nullsLogged_[index]) LogNull(kKeywordNames[index]);
  nullsLogged_.set(index);
  return nullptr;
}

bool SchemaNode::IsTrue(Keyword keyword) {
  const JsonValue* value = Find(keyword);
  return value != nullptr && value->GetBool();
}

SchemaType SchemaNode::Type() {
  if (!type_.has_value()) {
    const auto* const word = std::find(std::begin(kTypeWords), std::end(kTypeWords), TextOf(*Find(Keyword::Type)));
    type_ = static_cast<SchemaType>(word - std::begin(kTypeWords));
  }
  return *type_;
}

// Kept when all of it is there: memory may be short on the way.
void SchemaNode::ReadProperties(const JsonValue& properties) {
  MemberIndex index(properties);
  std::vector<PropertyNode> nodes;
  nodes.reserve(properties.MemberCount());
  for (const auto& property : properties.GetObject()) {
    hasNamesTwice_ = hasNamesTwice_ || index.Find(TextOf(property.name)) != &property;
    nodes.push_back({TextOf(property.name), property.value});
  }
  for (size_t i = 0; i < nodes.size(); ++i) nodes[i].next = &nodes[(i + 1) % nodes.size()];
  properties_ = std::move(nodes);
  propertyIndex_.emplace(std::move(index));
}

// Members mostly stand in the order of the schema: the place behind the one that
// was found last is looked at first, where no name stands there twice.
SchemaNode* SchemaNode::SearchProperty(std::string_view name) {
  if (!propertyIndex_.has_value()) {
    const JsonValue* properties = Find(Keyword::Properties);
    if (properties == nullptr) return nullptr;
    ReadProperties(*properties);
  }
  const MemberIndex::Member* member = propertyIndex_->Find(name);
  if (member == nullptr) return nullptr;
  PropertyNode& found = properties_[propertyIndex_->PositionOf(member)];
  if (!hasNamesTwice_) expected_ = found.next;
  return NodeOf(found);
}

SchemaNode* SchemaNode::AbsentProperty(std::string_view name) const {
  LogNull(name);
  return nullptr;
}

SchemaNode* SchemaNode::Items() {
  const JsonValue* items = Find(Keyword::Items);
  if (items != nullptr && items_ == nullptr) items_ = std::make_unique<SchemaNode>(*items, this);
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

const OptionTagNames& SchemaNode::TagNames() {
  if (tagNames_.has_value()) return *tagNames_;
  OptionTagNames names;
  CollectTagNames(node_, names);
  return tagNames_.emplace(std::move(names));
}

bool SchemaNode::IsUserDataAlone() {
  if (!isUserDataAlone_.has_value()) isUserDataAlone_ = !IsIdentifier(node_) && !IsLayered(node_);
  return *isUserDataAlone_;
}

SchemaNode& ObjectNodeOf(const OrvoSchemaStore::SchemaObject& schema) {
  std::shared_ptr<SchemaNode>& compiled = schema.Compiled();
  if (compiled == nullptr) compiled = std::make_shared<SchemaNode>(schema.GetObjectNode());
  return *compiled;
}

}  // namespace OrvoConfigStore
