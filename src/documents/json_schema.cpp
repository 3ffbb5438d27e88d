#include <cstdint>
#include <limits>
#include <string_view>

#include "api/checks.h"
#include "configstore/schema_tools.h"
#include "platform/json_reader.h"
#include "platform/json_values.h"

namespace OrvoConfigStore {
namespace {

constexpr char kDraft[] = "http://json-schema.org/draft-07/schema#";

struct TypeWord {
  const char* word;
  const char* standard;
};

// A word that is none of these checks nothing.
const TypeWord kTypeWords[] = {
    {"object", "object"},   {"array", "array"},  {"string", "string"}, {"secret", "string"},
    {"integer", "integer"}, {"long", "integer"}, {"double", "number"}, {"boolean", "boolean"},
};

// Keywords that mean the same in both.
constexpr const char* kSameKeywords[] = {"title",     "description", "default", "additionalProperties",
                                         "minLength", "maxLength",   "minimum", "maximum"};

const JsonValue* Find(const JsonValue& node, std::string_view keyword) {
  const JsonValue* value = FindValue(node, keyword);
  return value == nullptr || value->IsNull() ? nullptr : value;
}

std::string_view Word(const JsonValue& node, std::string_view keyword) {
  const JsonValue* value = Find(node, keyword);
  return value == nullptr || !value->IsString() ? std::string_view() : TextOf(*value);
}

bool IsTrue(const JsonValue& node, std::string_view keyword) {
  const JsonValue* value = Find(node, keyword);
  return value != nullptr && value->IsTrue();
}

/// Whether a value may be null in place of what the node describes: everywhere
/// but where an object itself stands.
enum class Null { Allowed, Refused };

class Exporter {
 public:
  explicit Exporter(JsonAllocator& allocator) : allocator_(allocator) {}

  JsonValue Export(const JsonValue& node, Null null) {
    JsonValue out(rapidjson::kObjectType);
    AddType(out, node, null);
    for (const char* keyword : kSameKeywords) {
      if (const JsonValue* value = Find(node, keyword)) Add(out, keyword, JsonValue(*value, allocator_));
    }
    AddWidth(out, node);
    AddTextRules(out, node, null);
    AddMembers(out, node);
    // An array of instances is null only as a member, and never are its elements.
    if (const JsonValue* items = Find(node, "items")) Add(out, "items", Export(*items, null));
    AddMarks(out, node);
    return out;
  }

 private:
  JsonValue Text(std::string_view text) { return TextValue(text, allocator_); }

  void Add(JsonValue& out, std::string_view name, JsonValue value) { out.AddMember(Text(name), value, allocator_); }

  void AddType(JsonValue& out, const JsonValue& node, Null null) {
    for (const TypeWord& type : kTypeWords) {
      if (Word(node, "type") != type.word) continue;
      if (null == Null::Refused) return Add(out, "type", Text(type.standard));
      JsonValue types(rapidjson::kArrayType);
      types.PushBack(Text(type.standard), allocator_).PushBack(Text("null"), allocator_);
      return Add(out, "type", std::move(types));
    }
  }

  // The bounds of the type itself, where the node has no narrower ones.
  void AddWidth(JsonValue& out, const JsonValue& node) {
    const bool isLong = Word(node, "type") == "long";
    if (!isLong && Word(node, "type") != "integer") return;
    using Int = std::numeric_limits<int32_t>;
    using Long = std::numeric_limits<int64_t>;
    if (Find(node, "minimum") == nullptr) Add(out, "minimum", JsonValue(isLong ? Long::min() : int64_t{Int::min()}));
    if (Find(node, "maximum") == nullptr) Add(out, "maximum", JsonValue(isLong ? Long::max() : int64_t{Int::max()}));
  }

  void AddTextRules(JsonValue& out, const JsonValue& node, Null null) {
    if (const JsonValue* allowed = Find(node, "enum")) {
      JsonValue values(*allowed, allocator_);
      if (null == Null::Allowed) values.PushBack(JsonValue(), allocator_);
      Add(out, "enum", std::move(values));
    }
    const std::string pattern(Word(node, "pattern"));
    if (!pattern.empty()) Add(out, "pattern", Text("^(?:" + pattern + ")$"));
  }

  // What an outside caller need not set is not required: other categories, and
  // what the store fills.
  static bool IsEnforced(const JsonValue* property) {
    return property == nullptr ||
           !(IsTrue(*property, "vital") || IsTrue(*property, "cached") || IsTrue(*property, "storeSpecific"));
  }

  void AddMembers(JsonValue& out, const JsonValue& node) {
    JsonValue properties(rapidjson::kObjectType), dependencies(rapidjson::kObjectType);
    const JsonValue* described = Find(node, "properties");
    if (described != nullptr) {
      for (const auto& property : described->GetObject()) {
        const std::string_view name = TextOf(property.name);
        Add(properties, name, Export(property.value, Null::Allowed));
        if (const JsonValue* tag = Find(property.value, "optionDependency")) Add(dependencies, name, Dependency(*tag));
      }
      Add(out, "properties", std::move(properties));
    }
    if (!dependencies.ObjectEmpty()) Add(out, "dependencies", std::move(dependencies));

    JsonValue required(rapidjson::kArrayType);
    if (const JsonValue* names = Find(node, "required")) {
      for (const JsonValue& name : names->GetArray()) {
        const JsonValue* property = described == nullptr ? nullptr : Find(*described, TextOf(name));
        if (IsEnforced(property)) required.PushBack(JsonValue(name, allocator_), allocator_);
      }
    }
    if (!required.Empty()) Add(out, "required", std::move(required));
  }

  // The sibling must be there and have one of the values.
  JsonValue Dependency(const JsonValue& tag) {
    const std::string_view name = Word(tag, "name");
    JsonValue sibling(rapidjson::kObjectType), properties(rapidjson::kObjectType), out(rapidjson::kObjectType);
    JsonValue required(rapidjson::kArrayType);
    Add(sibling, "enum", JsonValue(*Find(tag, "value"), allocator_));
    Add(properties, name, std::move(sibling));
    Add(out, "properties", std::move(properties));
    Add(out, "required", std::move(required.PushBack(Text(name), allocator_)));
    return out;
  }

  void AddMarks(JsonValue& out, const JsonValue& node) {
    if (Word(node, "type") == "secret") Add(out, "writeOnly", JsonValue(true));
    if (IsTrue(node, "storeSpecific")) Add(out, "readOnly", JsonValue(true));
    const std::string reference(Word(node, "reference"));
    if (!reference.empty()) Add(out, "$comment", Text("names a value of " + reference));
    const std::string idKey(Word(node, "instanceId"));
    if (!idKey.empty()) Add(out, "$comment", Text("no two elements have the same \"" + idKey + "\""));
  }

  JsonAllocator& allocator_;
};

}  // namespace

std::string ExportJsonSchema(const ConfigStoreObjectId& type, ExportedPart part) {
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(type);
  CheckSchema(type, schema);
  JsonStorage storage;
  JsonAllocator& allocator = storage.allocator;
  const JsonValue& node = part == ExportedPart::WHOLE ? schema->GetJson() : schema->GetObjectNode();
  JsonValue exported = Exporter(allocator).Export(node, Null::Refused);
  JsonValue out(rapidjson::kObjectType);
  out.AddMember("$schema", TextValue(kDraft, allocator), allocator);
  if (Find(node, "title") == nullptr) {
    const std::string title = type.component + "/" + type.group + "/" + type.key;
    out.AddMember("title", TextValue(title, allocator), allocator);
  }
  for (auto& member : exported.GetObject()) out.AddMember(member.name, member.value, allocator);
  std::string text;
  if (!WriteJson(out, text)) ThrowInvalidJson();
  return text;
}

}  // namespace OrvoConfigStore
