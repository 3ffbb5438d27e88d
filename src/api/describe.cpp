#include "api/describe.h"

#include <algorithm>
#include <string_view>

#include "api/checks.h"
#include "configstore/inspect.h"
#include "platform/json_reader.h"
#include "platform/json_values.h"

namespace OrvoConfigStore {
namespace {

// A keyword of a schema node, null when it is absent or null.
const JsonValue* Find(const JsonValue& node, std::string_view keyword) {
  const JsonValue* value = FindValue(node, keyword);
  return value == nullptr || value->IsNull() ? nullptr : value;
}

bool IsTrue(const JsonValue* value) {
  return value != nullptr && value->IsTrue();
}

std::string Word(const JsonValue& node, std::string_view keyword) {
  const JsonValue* value = Find(node, keyword);
  return value == nullptr || !value->IsString() ? std::string() : std::string(TextOf(*value));
}

std::string Written(const JsonValue* value) {
  std::string text;
  if (value != nullptr) WriteJson(*value, text);
  return text;
}

// "from A to B", or the side that there is; empty when there is none.
std::string Range(const JsonValue& node, const char* least, const char* most, const std::string& unit) {
  const std::string from = Written(Find(node, least));
  const std::string to = Written(Find(node, most));
  if (from.empty() && to.empty()) return {};
  if (to.empty()) return "at least " + from + unit;
  return from.empty() ? "at most " + to + unit : "from " + from + " to " + to + unit;
}

std::string Joined(const JsonValue& texts) {
  std::string joined;
  for (const JsonValue& text : texts.GetArray()) joined += (joined.empty() ? "" : ", ") + std::string(TextOf(text));
  return joined;
}

std::vector<std::string> RulesOf(const JsonValue& node) {
  std::vector<std::string> rules;
  const auto add = [&](const std::string& lead, const std::string& text) {
    if (!text.empty()) rules.push_back(lead + text);
  };
  add("", Range(node, "minimum", "maximum", ""));
  add("", Range(node, "minLength", "maxLength", " bytes"));
  if (const JsonValue* allowed = Find(node, "enum")) add("one of ", Joined(*allowed));
  add("matches ", Word(node, "pattern"));
  add("names a value of ", Word(node, "reference"));
  add("instances identified by ", Word(node, "instanceId"));
  if (const JsonValue* tag = Find(node, "optionDependency")) {
    add("only while " + Word(*tag, "name") + " is ", Joined(*Find(*tag, "value")));
  }
  if (IsTrue(Find(node, "storeSpecific"))) add("", "filled by the store");
  return rules;
}

// An identifier belongs to every layer; a mark holds for all below it.
std::string CategoryOf(const JsonValue& node, const std::string& inherited) {
  if (IsTrue(Find(node, "instanceId")) || IsTrue(Find(node, "instanceID"))) return "identifier";
  if (Find(node, "vital") != nullptr) return "vital";
  return Find(node, "cached") != nullptr ? "cached" : inherited;
}

bool IsRequired(const JsonValue& parent, std::string_view name) {
  const JsonValue* required = Find(parent, "required");
  return required != nullptr && std::any_of(required->Begin(), required->End(),
                                            [name](const JsonValue& listed) { return TextOf(listed) == name; });
}

FieldDescription FieldOf(const JsonValue& node, const std::string& path, const std::string& category) {
  FieldDescription field;
  field.path = path;
  field.type = Word(node, "type");
  field.title = Word(node, "title");
  field.description = Word(node, "description");
  field.category = category;
  field.rules = RulesOf(node);
  if (const JsonValue* items = Find(node, "items")) {
    field.type += " of " + Word(*items, "type") + "s";
    for (const std::string& rule : RulesOf(*items)) field.rules.push_back("each " + rule);
  }
  if (const JsonValue* value = Find(node, "default")) field.defaultValue = Written(value);
  return field;
}

void Describe(const JsonValue& node, const std::string& path, const std::string& category, bool required,
              std::vector<FieldDescription>& fields) {
  fields.push_back(FieldOf(node, path, category));
  fields.back().required = required;
  const JsonValue* items = Find(node, "items");
  const JsonValue& object = items == nullptr ? node : *items;
  const JsonValue* properties = Find(object, "properties");
  if (properties == nullptr) return;
  for (const auto& property : properties->GetObject()) {
    const std::string_view name = TextOf(property.name);
    Describe(property.value, path + "/" + std::string(name), CategoryOf(property.value, category),
             IsRequired(object, name), fields);
  }
}

}  // namespace

std::string DescribeRules(const JsonValue& node) {
  const FieldDescription field = FieldOf(node, "", "");
  std::string text = field.type;
  for (const std::string& rule : field.rules) text += ", " + rule;
  return text;
}

std::vector<FieldDescription> DescribeType(const ConfigStoreObjectId& id) {
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(id);
  CheckSchema(id, schema);
  std::vector<FieldDescription> fields;
  Describe(schema->GetJson(), "", "user", false, fields);
  return fields;
}

}  // namespace OrvoConfigStore
