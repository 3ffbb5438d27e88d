#include "validation/scalar_checks.h"

namespace OrvoConfigStore {
namespace {

std::string BrokenTextRule(SchemaNode& schema, const JsonValue& value) {
  const int64_t bytes = value.GetStringLength();
  const JsonValue* shortest = schema.Find(Keyword::MinLength);
  if (shortest != nullptr && bytes < shortest->GetInt()) {
    return "String length shorter than minimum: " + std::to_string(shortest->GetInt());
  }
  const JsonValue* longest = schema.Find(Keyword::MaxLength);
  if (longest != nullptr && bytes > longest->GetInt()) {
    return "String length longer than maximum: " + std::to_string(longest->GetInt());
  }
  if (schema.Find(Keyword::Enum) != nullptr && schema.EnumTexts().count(TextOf(value)) == 0) {
    return "String value not one of the enum options";
  }
  const JsonValue* pattern = schema.Find(Keyword::Pattern);
  if (pattern != nullptr && !schema.CompiledPattern().Matches(value.GetString(), value.GetStringLength())) {
    return "String does not match pattern: " + std::string(TextOf(*pattern));
  }
  return "";
}

template <class Number>
std::string BrokenBound(const char* kind, SchemaNode& schema, const JsonValue& value) {
  const JsonValue* least = schema.Find(Keyword::Minimum);
  if (least != nullptr && value.Get<Number>() < least->Get<Number>()) {
    return kind + (" value below minimum: " + std::to_string(least->Get<Number>()));
  }
  const JsonValue* most = schema.Find(Keyword::Maximum);
  if (most != nullptr && value.Get<Number>() > most->Get<Number>()) {
    return kind + (" value above maximum: " + std::to_string(most->Get<Number>()));
  }
  return "";
}

std::string BrokenIntegerRule(SchemaNode& schema, const JsonValue& value) {
  return BrokenBound<int>("Integer", schema, value);
}
std::string BrokenLongRule(SchemaNode& schema, const JsonValue& value) {
  return BrokenBound<int64_t>("Long", schema, value);
}
std::string BrokenDoubleRule(SchemaNode& schema, const JsonValue& value) {
  return BrokenBound<double>("Double", schema, value);
}
std::string NoFurtherRule(SchemaNode&, const JsonValue&) {
  return "";
}

struct ScalarType {
  SchemaType type;
  bool (JsonValue::*isType)() const;
  const char* expected;
  std::string (*brokenRule)(SchemaNode& schema, const JsonValue& value);
};

// Deliberate: the tests are of how a number was written, not of what it is: 5 is
// no double, and 5.0 is no integer.
const ScalarType kScalarTypes[] = {
    {SchemaType::String, &JsonValue::IsString, "string", BrokenTextRule},
    {SchemaType::Secret, &JsonValue::IsString, "string", BrokenTextRule},
    {SchemaType::Integer, &JsonValue::IsInt, "integer", BrokenIntegerRule},
    {SchemaType::Long, &JsonValue::IsInt64, "long", BrokenLongRule},
    {SchemaType::Double, &JsonValue::IsDouble, "double", BrokenDoubleRule},
    {SchemaType::Boolean, &JsonValue::IsBool, "boolean", NoFurtherRule},
};

}  // namespace

std::string BrokenScalarRule(SchemaType type, SchemaNode& schema, const JsonValue& value) {
  for (const ScalarType& scalar : kScalarTypes) {
    if (scalar.type != type) continue;
    if (!(value.*scalar.isType)()) return std::string("INCORRECT TYPE: expected ") + scalar.expected + ".";
    return scalar.brokenRule(schema, value);
  }
  return "";
}

}  // namespace OrvoConfigStore
