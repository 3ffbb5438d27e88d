#pragma once

#include <array>
#include <cstddef>
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

/// Schemas as validation reads them: every node once, and only what is asked for.

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

/// One node of a schema. The JSON stays the owner's and must not change.
///
/// A keyword whose value is null is absent, with a log line at its first
/// look-up. Looking anything up in a node that is no object, or reading a keyword
/// of another JSON type than it must have, throws ConfigStoreException(2000,
/// "Invalid JSON"); what is never read may be anything.
class SchemaNode {
 public:
  explicit SchemaNode(const JsonValue& node) : node_(node) {}

  /// Returns the keyword's value, or null when it is absent.
  const JsonValue* Find(Keyword keyword);
  /// Whether the keyword is there and true.
  bool IsTrue(Keyword keyword);
  /// Whether the keyword is there and the boolean true; any other type is not.
  bool IsMarked(Keyword keyword);

  /// Returns the node of a member of the data, or null when none describes it.
  SchemaNode* Property(std::string_view name);
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

 private:
  void ReadKeywords();
  bool Enforces(RequiredRule rule, std::string_view name);

  const JsonValue& node_;
  bool keywordsRead_ = false;
  std::array<const JsonValue*, kKeywordCount> keywords_{};
  std::optional<MemberIndex> properties_;
  std::vector<std::unique_ptr<SchemaNode>> children_;  // by place in "properties"
  std::unique_ptr<SchemaNode> items_;
  std::array<std::optional<std::vector<std::string_view>>, kRequiredRuleCount> required_;
  std::optional<TextSet> enumTexts_;
  std::shared_ptr<const Pattern> pattern_;
  std::optional<UnionTag> union_;
};

/// Returns the name of every union tag anywhere in the schema. Members of all
/// names are looked into, lists are not.
OptionTagNames CollectOptionTagNames(const JsonValue& schema);

}  // namespace OrvoConfigStore
