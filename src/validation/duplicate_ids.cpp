#include "validation/duplicate_ids.h"

#include <set>

#include "platform/json_values.h"

namespace OrvoConfigStore {
namespace {

std::string Formatted(std::string_view text) {
  return std::string(text);
}
template <class Number>
std::string Formatted(Number number) {
  return std::to_string(number);
}

template <class Id>
Id Read(const JsonValue& value) {
  return value.Get<Id>();
}
template <>
std::string_view Read(const JsonValue& value) {
  return TextOf(value);
}

template <class Id, bool (JsonValue::*IsKind)() const>
std::optional<DuplicateId> FindAmong(const JsonValue& array, std::string_view idKey) {
  std::set<Id> seen;
  for (const JsonValue& element : array.GetArray()) {
    const JsonValue* id = element.IsObject() ? FindValue(element, idKey) : nullptr;
    if (id == nullptr || !(id->*IsKind)()) continue;
    if (!seen.insert(Read<Id>(*id)).second) return DuplicateId{&element, Formatted(Read<Id>(*id))};
  }
  return std::nullopt;
}

struct IdKind {
  std::string_view type;
  std::optional<DuplicateId> (*find)(const JsonValue& array, std::string_view idKey);
};

const IdKind kIdKinds[] = {
    {"string", FindAmong<std::string_view, &JsonValue::IsString>},
    {"long", FindAmong<int64_t, &JsonValue::IsInt64>},
    {"integer", FindAmong<int, &JsonValue::IsInt>},
    {"double", FindAmong<double, &JsonValue::IsDouble>},
};

}  // namespace

std::optional<DuplicateId> FindDuplicateId(const JsonValue& array, std::string_view idKey, std::string_view type) {
  for (const IdKind& kind : kIdKinds) {
    if (kind.type == type) return kind.find(array, idKey);
  }
  return std::nullopt;
}

}  // namespace OrvoConfigStore
