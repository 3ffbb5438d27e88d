#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "configstore/json_types.h"
#include "platform/json_members.h"
#include "platform/pattern.h"
#include "platform/schema_store.h"

/// Schemas as they are used: every node once, and only what is asked for.

namespace OrvoConfigStore {

/// The keywords of a schema node; every other member of one is ignored.
enum class Keyword {
  Type,
  Properties,
  Required,
  AdditionalProperties,
  Items,
  InstanceId,
  InstanceID,
  MinLength,
  MaxLength,
  Enum,
  Pattern,
  Minimum,
  Maximum,
  Vital,
  Cached,
  StoreSpecific,
  Reference,
  OptionDependency,
};
constexpr size_t kKeywordCount = 18;

/// The words that "type" can be; Other for any that is none of them.
enum class SchemaType { Object, Array, String, Secret, Integer, Long, Double, Boolean, Other };

/// Which required names a validation enforces.
enum class RequiredRule {
  NotLayered,  ///< all but those whose property is vital, cached or store-specific
  All,
  VitalOnly,  ///< those whose property is vital
};
constexpr size_t kRequiredRuleCount = 3;

/// The texts that a list of the schema holds, in it as long as it.
using TextSet = std::set<std::string_view>;

/// The names of all union tags of a schema.
using OptionTagNames = std::set<std::string, std::less<>>;

/// A union tag: the property is allowed while its sibling `name` is one of `allowed`.
struct UnionTag {
  std::string_view name;
  TextSet allowed;
};

/// One node of a schema. The JSON stays the owner's and must not change. What has
/// been looked up is kept, so a node is used from one thread at a time.
///
/// A keyword whose value is null is absent, and a validation that looks it up logs
/// a line, once. Looking anything up in a node that is no object, or reading a keyword of another JSON
/// type than it must have, throws ConfigStoreException(2000, "Invalid JSON"); what
/// is never read may be anything.
class SchemaNode {
 public:
  /// A root, or a node that counts validations with one.
  explicit SchemaNode(const JsonValue& node, const SchemaNode* root = nullptr)
      : node_(node), validation_(root == nullptr ? ownValidation_ : root->validation_) {}
  SchemaNode(const SchemaNode&) = delete;
  SchemaNode& operator=(const SchemaNode&) = delete;

  /// For a root: what is logged once is logged again from here on.
  void BeginValidation() { ++ownValidation_; }

  /// Returns the keyword's value, or null when it is absent.
  const JsonValue* Find(Keyword keyword) {
    const JsonValue* value = FindAny(keyword);
    return value != nullptr && value->IsNull() ? Absent(keyword) : value;
  }
  /// As Find, a JSON null included.
  const JsonValue* FindAny(Keyword keyword) {
    if (!keywordsRead_) ReadKeywords();
    return keywords_[static_cast<size_t>(keyword)];
  }
  /// Whether the keyword is there and true.
  bool IsTrue(Keyword keyword);
  /// Whether the keyword is there and the boolean true; any other type is not.
  bool IsMarked(Keyword keyword) {
    const JsonValue* value = Find(keyword);
    return value != nullptr && value->IsTrue();
  }

  /// Returns what "type" says, which must be there.
  SchemaType Type();
  /// Returns the node of a member of the data, or null when none describes it.
  SchemaNode* Property(std::string_view name) {
    SchemaNode* property = AnyProperty(name);
    return property == nullptr || !property->node_.IsNull() ? property : AbsentProperty(name);
  }
  /// As Property, a node that is null in the schema included.
  SchemaNode* AnyProperty(std::string_view name) {
    PropertyNode* property = expected_;
    if (property == nullptr || property->name != name) return SearchProperty(name);
    expected_ = property->next;
    return NodeOf(*property);
  }
  /// Returns the node of an array's elements, or null.
  SchemaNode* Items();

  /// Returns the required names that `rule` enforces, in the schema's order. A
  /// name that no property describes is not layered, and not vital.
  const std::vector<std::string_view>& Required(RequiredRule rule);
  /// Returns the texts of "enum", which must be there.
  const TextSet& EnumTexts();
  /// Returns the compiled "pattern", which must be there. One that cannot be
  /// compiled makes the schema unusable; the reason is logged.
  const Pattern& CompiledPattern();
  /// Returns the "optionDependency", or null. Only an object with a string
  /// "name" counts as one; its "value" must be a list of texts.
  const UnionTag* Union();
  /// Whether all data that the node describes is the user's: nothing is marked vital
  /// or cached, and no object has two identifiers, which every layer would keep.
  bool IsUserDataAlone();
  /// Returns the name of every union tag in this node and below. Members of all
  /// names are looked into, lists are not.
  const OptionTagNames& TagNames();

 private:
  struct PropertyNode {
    std::string_view name;
    const JsonValue& json;
    PropertyNode* next = nullptr;  // in the schema, the first behind the last
    std::unique_ptr<SchemaNode> node = nullptr;
  };

  void ReadKeywords();
  void ReadProperties(const JsonValue& properties);
  const JsonValue* Absent(Keyword keyword);
  SchemaNode* AbsentProperty(std::string_view name) const;
  SchemaNode* SearchProperty(std::string_view name);
  SchemaNode* NodeOf(PropertyNode& property) {
    if (property.node == nullptr) property.node = std::make_unique<SchemaNode>(property.json, this);
    return property.node.get();
  }
  bool Enforces(RequiredRule rule, std::string_view name);

  const JsonValue& node_;
  uint64_t ownValidation_ = 0;
  const uint64_t& validation_;     // the root's
  uint64_t loggedValidation_ = 0;  // the one that nullsLogged_ tells of
  std::bitset<kKeywordCount> nullsLogged_;
  bool keywordsRead_ = false;
  std::array<const JsonValue*, kKeywordCount> keywords_{};
  std::optional<SchemaType> type_;
  std::optional<MemberIndex> propertyIndex_;
  std::vector<PropertyNode> properties_;  // by place in "properties"
  bool hasNamesTwice_ = false;
  PropertyNode* expected_ = nullptr;  // probably asked for next; null when that cannot be said
  std::unique_ptr<SchemaNode> items_;
  std::array<std::optional<std::vector<std::string_view>>, kRequiredRuleCount> required_;
  std::optional<TextSet> enumTexts_;
  std::shared_ptr<const Pattern> pattern_;
  std::optional<UnionTag> union_;
  std::optional<OptionTagNames> tagNames_;
  std::optional<bool> isUserDataAlone_;
};

/// Returns the node that describes one object of the type. It is made at the first
/// call and kept with the schema, so that all validations share it.
SchemaNode& ObjectNodeOf(const OrvoSchemaStore::SchemaObject& schema);

}  // namespace OrvoConfigStore
