#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <unordered_set>

#include "configstore/validation.h"
#include "objects/schema_node.h"
#include "validation/error_report.h"
#include "validation/references.h"

namespace OrvoConfigStore {

/// The checks that a validation runs.
class CheckSelection {
 public:
  constexpr CheckSelection(std::initializer_list<VALIDATION_CHECK> checks) : empty_(checks.size() == 0) {
    for (const VALIDATION_CHECK check : checks) selected_ |= Bit(check);
  }
  /// The selection of a caller; numbers that stand for no check select nothing.
  explicit CheckSelection(const std::unordered_set<int>& checks);

  bool Has(VALIDATION_CHECK check) const { return (selected_ & Bit(check)) != 0; }
  /// As Has, for a check that an empty selection includes.
  bool HasDefault(VALIDATION_CHECK check) const { return empty_ || Has(check); }
  /// Whether required members are looked for, and by which rule.
  bool HasRequired() const;
  RequiredRule Rule() const;

 private:
  static constexpr uint32_t Bit(VALIDATION_CHECK check) { return uint32_t{1} << check; }

  bool empty_;
  uint32_t selected_ = 0;
};

/// The data as its owner may change it. Signatures take it as constant, but it is
/// the caller's own document, and selecting the check that assigns generated
/// identifiers asks for the change.
template <class Json>
Json& CallersOwn(const Json& data) {
  return const_cast<Json&>(data);
}

/// Where a value lies in the data: a member of what its parent names. Only an
/// error asks for the text.
struct Place {
  const Place* parent;    ///< null for the place at which a validation begins
  std::string_view name;  ///< of the member; the whole text where it begins

  std::string Text() const;
};

/// A violation where it was found, for a report that says more than the errors do.
struct Finding {
  const JsonValue& place;   ///< in the data: the value at fault, or the name of a member that is
  std::string_view member;  ///< the name that is missing or not allowed; else empty
  const std::string& path;
  const std::string& message;
};
using FindingListener = std::function<void(const Finding&)>;

/// One validation: a walk through schema and data together that reports what it
/// finds. The steps of a node:
///   1. A null is valid.
///   2. A schema without a type ends the node.
///   3. So does a value of another type, or one that breaks a scalar's bounds.
///   4. The node is in the layer that is written, by its own marks or by its
///      parent's.
///   5. Marks that user data may not have are reported; the node goes on.
///   6. An object: its generated identifier, its required members, then each
///      member, with its union tag. A missing member ends the object.
///   7. An array: its elements, then their identifiers.
///   8. A leaf: its reference, then its layer.
/// With a listener that gets what is found, nothing is reported otherwise, and the
/// walk is thorough: what is missing or not allowed in an object, or wrong in an
/// array, ends neither.
/// The result of a node says whether it and all below it hold, which only an
/// array's identifiers ask for; what is valid is decided by the errors alone.
struct Walk {
  CheckSelection checks;
  JsonAllocator& allocator;  ///< of the data
  const ReferenceValues& references;
  const OptionTagNames& tagNames;
  JsonDocument& errors;
  CopyAllowance copies = {};
  const FindingListener* listener = nullptr;

  bool Node(SchemaNode& schema, const JsonValue& data, const Place& place, bool inLayer);

 private:
  bool Object(SchemaNode& schema, const JsonValue& data, const Place& place, bool inLayer);
  bool Array(SchemaNode& schema, const JsonValue& data, const Place& place, bool inLayer);
  bool Leaf(SchemaNode& schema, const JsonValue& data, const Place& place, bool inLayer);

  bool TypeHolds(SchemaNode& schema, const JsonValue& data, const Place& place);
  bool IsInLayer(SchemaNode& schema, bool inherited) const;
  void ReportMarkers(SchemaNode& schema, const JsonValue& data, const Place& place);
  void AssignGeneratedId(SchemaNode& schema, const JsonValue& data);
  bool RequiredArePresent(SchemaNode& schema, const JsonValue& data, MemberIndex& members, const Place& place);
  void ReportAdditional(SchemaNode& schema, const JsonValue& data, const JsonValue& name, const Place& place);
  bool UnionTagHolds(SchemaNode& property, MemberIndex& siblings);
  bool IdentifiersAreUnique(SchemaNode& schema, const JsonValue& data, const Place& place);
  bool ReferenceHolds(const JsonValue& reference, const JsonValue& data) const;

  bool IsThorough() const { return listener != nullptr; }
  /// Report and return false; the second a violation that a member's name tells.
  bool Fail(const JsonValue& value, const Place& place, const std::string& message);
  bool Fail(const JsonValue& value, const Place& place, const std::string& message, const JsonValue& foundAt,
            std::string_view member);
};

/// Validates the whole of `data` and sets `errors` to an array of what is wrong,
/// empty with a `listener`, which may be null.
void Validate(SchemaNode& schema, const JsonValue& data, const CheckSelection& checks, JsonAllocator& allocator,
              JsonDocument& errors, const FindingListener* listener = nullptr);

}  // namespace OrvoConfigStore
