#include "validation/walk.h"

#include "configstore/object_id.h"
#include "platform/failure.h"
#include "validation/duplicate_ids.h"
#include "validation/scalar_checks.h"

namespace OrvoConfigStore {
namespace {

// What marks a property as none of the user's, in the order of the reports.
const Keyword NonUserMarkers[] = {Keyword::Vital, Keyword::Cached};

// Deliberate: what is wrong beyond so many violations is not listed. A small text
// can hold millions, each with a line in the log.
constexpr rapidjson::SizeType kMaxErrors = 250'000;

const JsonValue& Null() {
  static const JsonValue null;
  return null;
}

}  // namespace

CheckSelection::CheckSelection(const std::unordered_set<int>& checks) : empty_(checks.empty()) {
  for (int check = 0; check <= CHECK_GENERATED_ID_DUPLICATES; ++check) {
    if (checks.count(check) != 0) selected_ |= Bit(static_cast<VALIDATION_CHECK>(check));
  }
}

bool CheckSelection::HasRequired() const {
  return HasDefault(CHECK_REQUIRED) || Has(CHECK_REQUIRED_NON_LAYERED);
}

RequiredRule CheckSelection::Rule() const {
  if (HasDefault(CHECK_REQUIRED_NON_LAYERED) || Has(CHECK_NON_USER_MARKERS)) return RequiredRule::NotLayered;
  return Has(CHECK_VITAL_ONLY) ? RequiredRule::VitalOnly : RequiredRule::All;
}

std::string Place::Text() const {
  return parent == nullptr ? std::string(name) : parent->Text().append("/").append(name);
}

bool Walk::Node(SchemaNode& schema, const JsonValue& data, const Place& place, bool inLayer) {
  if (data.IsNull()) return true;               // 1
  if (schema.Find(Keyword::Type) == nullptr) {  // 2
    return Fail(data, place, "Invalid schema:Type not specified.");
  }
  if (!TypeHolds(schema, data, place)) return false;                           // 3
  const bool nodeInLayer = IsInLayer(schema, inLayer);                         // 4
  if (checks.Has(CHECK_NON_USER_MARKERS)) ReportMarkers(schema, data, place);  // 5
  if (data.IsObject()) return Object(schema, data, place, nodeInLayer);        // 6
  if (data.IsArray()) return Array(schema, data, place, nodeInLayer);          // 7
  return Leaf(schema, data, place, nodeInLayer);                               // 8
}

bool Walk::TypeHolds(SchemaNode& schema, const JsonValue& data, const Place& place) {
  const SchemaType type = schema.Type();
  if (type == SchemaType::Object) return data.IsObject() || Fail(data, place, "INCORRECT TYPE: expected object.");
  if (type == SchemaType::Array) return data.IsArray() || Fail(data, place, "INCORRECT TYPE: expected array.");
  if (!checks.HasDefault(CHECK_SCALAR_TYPES)) return true;
  const std::string broken = BrokenScalarRule(type, schema, data);
  return broken.empty() || Fail(data, place, broken);
}

bool Walk::IsInLayer(SchemaNode& schema, bool inherited) const {
  if (schema.IsMarked(Keyword::InstanceId) || schema.IsMarked(Keyword::InstanceID)) return true;
  if (checks.Has(CHECK_VITAL_ONLY) && schema.IsTrue(Keyword::Vital)) return true;
  return inherited || (checks.Has(CHECK_CACHED_ONLY) && schema.IsTrue(Keyword::Cached));
}

void Walk::ReportMarkers(SchemaNode& schema, const JsonValue& data, const Place& place) {
  for (const Keyword marker : NonUserMarkers) {
    // Deliberate: the marker counts even when it is false.
    if (schema.Find(marker) != nullptr) Fail(data, place, "Non user property not allowed.");
  }
}

bool Walk::Object(SchemaNode& schema, const JsonValue& data, const Place& place, bool inLayer) {
  if (checks.Has(CHECK_ASSIGN_GENERATED_ID)) AssignGeneratedId(schema, data);
  MemberIndex members(data);
  bool valid = !checks.HasRequired() || RequiredArePresent(schema, data, members, place);
  if (!valid && !IsThorough()) return false;
  for (const auto& member : data.GetObject()) {
    SchemaNode* property = schema.Property(TextOf(member.name));
    if (property == nullptr) {
      ReportAdditional(schema, data, member.name, place);
      continue;
    }
    const Place memberPlace = {&place, TextOf(member.name)};
    const bool allowed = UnionTagHolds(*property, members) ||
                         Fail(member.value, memberPlace, "Object does not follow UnionTag condition");
    valid = allowed && Node(*property, member.value, memberPlace, inLayer) && valid;
    if (!allowed && !IsThorough()) break;
  }
  return valid;
}

void Walk::AssignGeneratedId(SchemaNode& schema, const JsonValue& data) {
  if (schema.Property(kGeneratedId) == nullptr || FindValue(data, kGeneratedId) != nullptr) return;
  CallersOwn(data).AddMember(TextValue(kGeneratedId, allocator), TextValue(GenerateInstanceId(), allocator), allocator);
}

bool Walk::RequiredArePresent(SchemaNode& schema, const JsonValue& data, MemberIndex& members, const Place& place) {
  bool present = true;
  for (const std::string_view name : schema.Required(checks.Rule())) {
    if (members.Find(name) != nullptr) continue;
    present = Fail(data, place, "Required property missing: " + std::string(name), data, name);
  }
  return present;
}

void Walk::ReportAdditional(SchemaNode& schema, const JsonValue& data, const JsonValue& name, const Place& place) {
  if (!checks.HasDefault(CHECK_ADDITIONAL_PROPERTIES)) return;
  const JsonValue* allowed = schema.Find(Keyword::AdditionalProperties);
  if (allowed == nullptr || allowed->GetBool()) return;
  Fail(data, place, "Additional property not allowed: " + std::string(TextOf(name)), name, TextOf(name));
}

bool Walk::UnionTagHolds(SchemaNode& property, MemberIndex& siblings) {
  if (!checks.Has(CHECK_OPTION_DEPENDENCY) || property.FindAny(Keyword::OptionDependency) == nullptr) return true;
  const UnionTag* tag = property.Union();
  if (tag == nullptr) return true;
  const bool known = tagNames.count(tag->name) != 0;
  const MemberIndex::Member* sibling = known ? siblings.Find(tag->name) : nullptr;
  return sibling != nullptr && sibling->value.IsString() && tag->allowed.count(TextOf(sibling->value)) != 0;
}

bool Walk::Array(SchemaNode& schema, const JsonValue& data, const Place& place, bool inLayer) {
  SchemaNode* items = schema.Items();
  if (items == nullptr) ThrowInvalidJson();
  bool valid = true;
  for (const JsonValue& element : data.GetArray()) valid = Node(*items, element, place, inLayer) && valid;
  if (!valid && !IsThorough()) return false;
  return IdentifiersAreUnique(schema, data, place) && valid;
}

bool Walk::IdentifiersAreUnique(SchemaNode& schema, const JsonValue& data, const Place& place) {
  const JsonValue* idKey = schema.Find(Keyword::InstanceId);
  if (idKey == nullptr || !idKey->IsString()) return true;
  if (TextOf(*idKey) == kGeneratedId && !checks.Has(CHECK_GENERATED_ID_DUPLICATES)) return true;
  SchemaNode* identifier = schema.Items()->Property(TextOf(*idKey));
  const JsonValue* type = identifier == nullptr ? nullptr : identifier->Find(Keyword::Type);
  if (type == nullptr) return true;
  const std::optional<DuplicateId> duplicate = FindDuplicateId(data, TextOf(*idKey), TextOf(*type));
  if (!duplicate.has_value()) return true;
  return Fail(*duplicate->element, place, "Duplicate instanceIds: " + duplicate->identifier);
}

bool Walk::Leaf(SchemaNode& schema, const JsonValue& data, const Place& place, bool inLayer) {
  // Deliberate: the values are collected only when the check is selected by
  // name, so under an empty selection every reference is an error.
  const JsonValue* reference = checks.HasDefault(CHECK_REFERENCES) ? schema.Find(Keyword::Reference) : nullptr;
  if (reference != nullptr && !ReferenceHolds(*reference, data)) {
    return Fail(data, place, "REFERENCE ERROR: " + place.Text() + "->" + std::string(TextOf(*reference)));
  }
  if (inLayer) return true;
  if (checks.Has(CHECK_VITAL_ONLY)) return Fail(data, place, "property is not vital");
  if (checks.Has(CHECK_CACHED_ONLY)) return Fail(data, place, "property is not cached");
  return true;
}

bool Walk::ReferenceHolds(const JsonValue& reference, const JsonValue& data) const {
  const auto texts = references.find(TextOf(reference));
  return texts != references.end() && data.IsString() && texts->second.count(TextOf(data)) != 0;
}

bool Walk::Fail(const JsonValue& value, const Place& place, const std::string& message) {
  return Fail(value, place, message, value, {});
}

bool Walk::Fail(const JsonValue& value, const Place& place, const std::string& message, const JsonValue& foundAt,
                std::string_view member) {
  if (listener != nullptr) {
    (*listener)({foundAt, member, place.Text(), message});
    return false;
  }
  if (errors.Size() == kMaxErrors) return false;
  ReportValidationError(copies.Take(value) ? value : Null(), place.Text(), message, errors);
  return false;
}

void Validate(SchemaNode& schema, const JsonValue& data, const CheckSelection& checks, JsonAllocator& allocator,
              JsonDocument& errors, const FindingListener* listener) {
  schema.BeginValidation();
  ReferenceValues references;
  if (checks.Has(CHECK_REFERENCES)) references = CollectReferenceValues(schema, data);
  errors.SetArray();
  Walk{checks, allocator, references, schema.TagNames(), errors, {}, listener}.Node(schema, data, {nullptr, ""}, false);
}

}  // namespace OrvoConfigStore
