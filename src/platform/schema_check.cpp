#include "platform/schema_check.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>

#include "platform/host_files.h"
#include "platform/json_pointer.h"
#include "platform/json_values.h"
#include "platform/pattern.h"

namespace OrvoSchemaStore {
namespace {

using OrvoConfigStore::FindValue;
using OrvoConfigStore::Pattern;
using OrvoConfigStore::PointerBelow;
using OrvoConfigStore::TextOf;

bool IsTrue(const JsonValue* value) {
  return value != nullptr && value->IsTrue();
}

bool IsText(const JsonValue* value, std::string_view text) {
  return value != nullptr && value->IsString() && TextOf(*value) == text;
}

bool IsTextList(const JsonValue& value) {
  return value.IsArray() && std::all_of(value.Begin(), value.End(), [](const JsonValue& v) { return v.IsString(); });
}

bool IsFlag(const JsonValue& value) {
  return value.IsBool();
}
bool IsWord(const JsonValue& value) {
  return value.IsString();
}
bool IsNode(const JsonValue& value) {
  return value.IsObject();
}
bool IsLength(const JsonValue& value) {
  return value.IsInt() && value.GetInt() >= 0;
}
bool IsIdentifierMark(const JsonValue& value) {
  return value.IsBool() || value.IsString();
}

bool IsUnionTag(const JsonValue& value) {
  if (!value.IsObject()) return false;
  const JsonValue* name = FindValue(value, "name");
  const JsonValue* allowed = FindValue(value, "value");
  return name != nullptr && name->IsString() && allowed != nullptr && IsTextList(*allowed);
}

// What a keyword's value must be wherever the keyword stands.
struct KeywordRule {
  const char* keyword;
  bool (*holds)(const JsonValue& value);
  const char* fault;
};

const KeywordRule kKeywordRules[] = {
    {"properties", IsNode, "\"properties\" must be an object."},
    {"required", IsTextList, "\"required\" must be a list of strings."},
    {"additionalProperties", IsFlag, "\"additionalProperties\" must be true or false."},
    {"instanceId", IsIdentifierMark, "\"instanceId\" must be a string on an array, or true or false."},
    {"instanceID", IsFlag, "\"instanceID\" must be true or false."},
    {"minLength", IsLength, "\"minLength\" must be an integer from 0."},
    {"maxLength", IsLength, "\"maxLength\" must be an integer from 0."},
    {"enum", IsTextList, "\"enum\" must be a list of strings."},
    {"pattern", IsWord, "\"pattern\" must be a string."},
    {"vital", IsFlag, "\"vital\" must be true or false."},
    {"cached", IsFlag, "\"cached\" must be true or false."},
    {"storeSpecific", IsFlag, "\"storeSpecific\" must be true or false."},
    {"reference", IsWord, "\"reference\" must be a string."},
    {"optionDependency", IsUnionTag,
     "\"optionDependency\" must hold a string \"name\" and a list of strings \"value\"."},
};

// The number that bounds a value must be stored as the value itself is.
struct BoundRule {
  const char* type;
  bool (JsonValue::*holds)() const;
  const char* fault;
};

const BoundRule kBoundRules[] = {
    {"integer", &JsonValue::IsInt, "A bound of an integer must be a 32-bit integer."},
    {"long", &JsonValue::IsInt64, "A bound of a long must be a 64-bit integer."},
    {"double", &JsonValue::IsDouble, "A bound of a double must be written with a fraction or an exponent."},
};

// One walk through a schema; the steps of a node are CheckNode's.
class Checker {
 public:
  Checker(std::vector<SchemaFault>& faults, std::string typeKey) : faults_(faults), typeKey_(std::move(typeKey)) {}

  void CheckRoot(const JsonValue& root, const std::string& path) {
    const JsonValue* type = Keyword(root, "type");
    const bool isArray = IsText(type, "array");
    if (!isArray && !IsText(type, "object")) {
      Report(path + "/type", "The root must be an \"object\" or an \"array\".");
      return;
    }
    if (isArray && !HasInstances(root)) Report(path, "A type with instances must name its \"instanceId\".");
    CheckNode(root, path, "");
  }

 private:
  static const JsonValue* Keyword(const JsonValue& node, const char* name) {
    const JsonValue* value = FindValue(node, name);
    return value == nullptr || value->IsNull() ? nullptr : value;
  }

  static bool HasInstances(const JsonValue& node) {
    const JsonValue* identifier = Keyword(node, "instanceId");
    return identifier != nullptr && identifier->IsString();
  }

  // Whether anything below an element's node goes to a layer of its own.
  static bool HasLayerMark(const JsonValue& node) {
    if (!node.IsObject()) return false;
    if (Keyword(node, "vital") != nullptr || Keyword(node, "cached") != nullptr) return true;
    const JsonValue* items = Keyword(node, "items");
    if (items != nullptr && HasLayerMark(*items)) return true;
    const JsonValue* properties = Keyword(node, "properties");
    return properties != nullptr && properties->IsObject() &&
           std::any_of(properties->MemberBegin(), properties->MemberEnd(),
                       [](const auto& property) { return HasLayerMark(property.value); });
  }

  void Report(std::string path, std::string text) { faults_.push_back({std::move(path), std::move(text)}); }

  // `name` is the property that the node describes; empty for the root and items.
  void CheckNode(const JsonValue& node, const std::string& path, const std::string& name) {
    if (!node.IsObject()) return Report(path, "A schema node must be an object.");
    // 1. Keywords have the shape that validation relies on.
    const size_t before = faults_.size();
    CheckKeywords(node, path);
    if (faults_.size() != before) return;
    const JsonValue* type = Keyword(node, "type");
    if (type == nullptr || !type->IsString()) return Report(path, "A schema node must name its \"type\".");
    // 2. What only some types have.
    CheckBounds(node, TextOf(*type), path);
    CheckPattern(node, path);
    // 3. Arrays: items, and the identifier of instances.
    if (TextOf(*type) == "array") {
      CheckArray(node, path, name);
    } else if (HasInstances(node)) {
      Report(path + "/instanceId", "Only an array names the identifier of its instances.");
    }
    // 4. The nodes below.
    if (const JsonValue* properties = Keyword(node, "properties")) {
      for (const auto& property : properties->GetObject()) {
        const std::string child(TextOf(property.name));
        CheckNode(property.value, PointerBelow(path + "/properties", child), child);
      }
    }
  }

  void CheckKeywords(const JsonValue& node, const std::string& path) {
    for (const KeywordRule& rule : kKeywordRules) {
      const JsonValue* value = Keyword(node, rule.keyword);
      if (value != nullptr && !rule.holds(*value)) Report(path + "/" + rule.keyword, rule.fault);
    }
  }

  void CheckBounds(const JsonValue& node, std::string_view type, const std::string& path) {
    for (const BoundRule& rule : kBoundRules) {
      if (type != rule.type) continue;
      for (const char* keyword : {"minimum", "maximum"}) {
        const JsonValue* bound = Keyword(node, keyword);
        if (bound != nullptr && !(bound->*rule.holds)()) Report(path + "/" + keyword, rule.fault);
      }
    }
  }

  void CheckPattern(const JsonValue& node, const std::string& path) {
    const JsonValue* pattern = Keyword(node, "pattern");
    std::string reason;
    if (pattern != nullptr && Pattern::Get(std::string(TextOf(*pattern)), &reason) == nullptr) {
      Report(path + "/pattern", "The pattern does not compile: " + reason);
    }
  }

  void CheckArray(const JsonValue& node, const std::string& path, const std::string& name) {
    const JsonValue* items = Keyword(node, "items");
    if (items == nullptr) return Report(path, "An array must describe its \"items\".");
    CheckNode(*items, path + "/items", "");
    if (!items->IsObject()) return;
    if (!HasInstances(node)) {
      if (HasLayerMark(*items)) Report(path, "Elements without an identifier cannot be split into layers and joined.");
      return;
    }
    const std::string idKey(TextOf(*Keyword(node, "instanceId")));
    CheckIdentifier(*items, idKey, path + "/items");
    if (name.empty()) return;
    if (name == typeKey_) Report(path, "A nested array of instances cannot be named like the type.");
    const auto [other, isFirst] = idKeys_.emplace(name, idKey);
    if (!isFirst && other->second != idKey) {
      Report(path + "/instanceId", "Another array of this name is identified by \"" + other->second + "\".");
    }
  }

  void CheckIdentifier(const JsonValue& items, const std::string& idKey, const std::string& path) {
    if (!IsText(Keyword(items, "type"), "object")) return Report(path + "/type", "Instances must be objects.");
    const JsonValue* properties = Keyword(items, "properties");
    const JsonValue* identifier =
        properties == nullptr || !properties->IsObject() ? nullptr : Keyword(*properties, idKey.c_str());
    const std::string where = PointerBelow(path + "/properties", idKey);
    if (identifier == nullptr || !identifier->IsObject()) return Report(where, "The identifier is not described.");
    if (!IsText(Keyword(*identifier, "type"), "string")) Report(where, "The identifier must be a string.");
    if (!IsTrue(Keyword(*identifier, "instanceId")) && !IsTrue(Keyword(*identifier, "instanceID"))) {
      Report(where, "The identifier must be marked with \"instanceId\": true.");
    }
    const JsonValue* required = Keyword(items, "required");
    const bool isRequired = required != nullptr && IsTextList(*required) &&
                            std::any_of(required->Begin(), required->End(),
                                        [&](const JsonValue& listed) { return TextOf(listed) == idKey; });
    if (!isRequired) Report(path + "/required", "The identifier \"" + idKey + "\" must be required.");
  }

  std::vector<SchemaFault>& faults_;
  std::string typeKey_;
  std::map<std::string, std::string> idKeys_;  // array name to identifier
};

// Reads a member of the file that names something.
void TakeText(const JsonValue& file, const char* member, std::string& out, std::vector<SchemaFault>& faults) {
  const std::string path = std::string("/") + member;
  const JsonValue* value = FindValue(file, member);
  if (value == nullptr || !value->IsString() || value->GetStringLength() == 0) {
    faults.push_back({path, "A schema file must name its \"" + std::string(member) + "\"."});
    return;
  }
  out = TextOf(*value);
  if (out.size() > kMaxIdentifierBytes) faults.push_back({path, "Longer than 255 bytes."});
  if (out.find('\0') != std::string::npos) faults.push_back({path, "Holds a NUL byte."});
}

}  // namespace

std::vector<SchemaFault> CheckSchemaText(const std::string& text, SchemaRecord& record) {
  OrvoConfigStore::JsonStorage storage(text.size());
  OrvoConfigStore::JsonReadFailure failure;
  if (!ReadJson(text, storage.document, &failure)) {
    return {{"", "Not JSON, at byte " + std::to_string(failure.offset) + ": " + failure.reason}};
  }
  const JsonValue& file = storage.document;
  if (!file.IsObject()) return {{"", "A schema file must be a JSON object."}};

  std::vector<SchemaFault> faults;
  TakeText(file, "component", record.component, faults);
  TakeText(file, "group", record.group, faults);
  TakeText(file, "key", record.key, faults);
  TakeText(file, "version", record.version, faults);
  const JsonValue* noRestore = FindValue(file, "noRestore");
  record.noRestore = IsTrue(noRestore);
  if (noRestore != nullptr && !noRestore->IsBool()) {
    faults.push_back({"/noRestore", "\"noRestore\" must be true or false."});
  }
  const JsonValue* schema = FindValue(file, "schema");
  if (schema == nullptr || !schema->IsObject()) {
    faults.push_back({"/schema", "A schema file must hold a \"schema\" object."});
    return faults;
  }
  Checker(faults, record.key).CheckRoot(*schema, "/schema");
  record.schema.clear();
  if (faults.empty() && !WriteJson(*schema, record.schema)) faults.push_back({"/schema", "Cannot be stored."});
  return faults;
}

bool ReadSchemaText(const std::string& path, std::string& text) {
  return HaldenLib::ReadRealFile(path, OrvoConfigStore::kMaxJsonBytes, &text) == 0;
}

}  // namespace OrvoSchemaStore
