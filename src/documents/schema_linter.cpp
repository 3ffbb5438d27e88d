// What is checked here beyond CheckSchemaText never stops a registration: schemas
// that are in use must stay usable.

#include "documents/schema_linter.h"

#include <algorithm>
#include <map>
#include <set>
#include <string_view>

#include "configstore/json_document.h"
#include "configstore/validation.h"
#include "documents/schema_words.h"
#include "platform/json_pointer.h"
#include "platform/json_reader.h"
#include "platform/json_values.h"
#include "platform/schema_check.h"
#include "validation/action_rules.h"

namespace OrvoConfigStore {
namespace {

struct Range {
  const char* least;
  const char* most;
};
const Range kRanges[] = {{"minLength", "maxLength"}, {"minimum", "maximum"}};

// --- looking into a schema that may be malformed -----------------------------

const JsonValue* Find(const JsonValue& node, std::string_view name) {
  const JsonValue* value = node.IsObject() ? FindValue(node, name) : nullptr;
  return value == nullptr || value->IsNull() ? nullptr : value;
}

const JsonValue* FindObject(const JsonValue& node, std::string_view name) {
  const JsonValue* value = Find(node, name);
  return value != nullptr && value->IsObject() ? value : nullptr;
}

std::string_view Word(const JsonValue* node, std::string_view name) {
  const JsonValue* value = node == nullptr ? nullptr : Find(*node, name);
  return value != nullptr && value->IsString() ? TextOf(*value) : std::string_view();
}

std::vector<std::string_view> Words(const JsonValue* list) {
  std::vector<std::string_view> words;
  if (list == nullptr || !list->IsArray()) return words;
  for (const JsonValue& word : list->GetArray()) {
    if (word.IsString()) words.push_back(TextOf(word));
  }
  return words;
}

bool Contains(const std::vector<std::string_view>& words, std::string_view word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

bool IsObjects(const JsonValue& node) {
  return Word(&node, "type") == "object";
}

std::string Quoted(std::string_view word) {
  return "\"" + std::string(word) + "\"";
}

// --- the walk ----------------------------------------------------------------

class Linter {
 public:
  Linter(std::vector<SchemaFinding>& findings, bool isSound) : findings_(findings), isSound_(isSound) {}

  void LintFile(const JsonValue& file) {
    ReportRepeated(file, "");
    for (const auto& member : file.GetObject()) {
      const std::string_view name = TextOf(member.name);
      if (!IsFileMember(name))
        Warn(PointerBelow("", name), Quoted(name) + " is no member of a schema file: it is ignored.");
    }
    const JsonValue* schema = FindObject(file, "schema");
    if (schema == nullptr) return;
    if (Word(schema, "type") == "array") arrayNames_.insert(Word(&file, "key"));
    LintNode(*schema, nullptr, "/schema", "", true);
    for (const Reference& reference : references_) CheckReference(reference);
    for (const NamedObject& object : objects_) CheckName(object);
  }

 private:
  struct Reference {
    std::string pointer;
    std::string path;
  };
  struct NamedObject {
    std::string pointer;
    std::string_view name;
  };

  void Warn(std::string pointer, std::string text) {
    findings_.push_back({SchemaFinding::WARNING, "", std::move(pointer), std::move(text)});
  }
  void Fail(std::string pointer, std::string text) {
    findings_.push_back({SchemaFinding::ERROR, "", std::move(pointer), std::move(text)});
  }

  // `siblings` are the properties that the node is among, `path` is where its
  // values stand in a document, and `isSplit` whether these are taken apart into
  // layers; elements that are lists themselves are not.
  void LintNode(const JsonValue& node, const JsonValue* siblings, const std::string& pointer, const std::string& path,
                bool isSplit) {
    if (!node.IsObject()) return;
    const std::string_view type = Word(&node, "type");
    // 1. The words.
    CheckWords(node, type, pointer);
    // 2. Rules that no value can satisfy, and marks that mark whatever they say.
    CheckRanges(node, pointer);
    CheckMarks(node, pointer);
    CheckDependency(node, siblings, pointer);
    // 3. A default is a value of its node.
    CheckDefault(node, type, pointer);
    // 4. What the node is, for references.
    paths_[path] = KindOf(type);
    if (const std::string_view reference = Word(&node, "reference"); !reference.empty()) {
      references_.push_back({pointer + "/reference", std::string(reference)});
    }
    // 5. The nodes below.
    if (type == "object") CheckMembers(node, pointer, isSplit);
    LintProperties(node, pointer, path, isSplit);
    if (const JsonValue* items = Find(node, "items")) {
      LintNode(*items, nullptr, pointer + "/items", path, isSplit && IsObjects(*items));
    }
  }

  void LintProperties(const JsonValue& node, const std::string& pointer, const std::string& path, bool isSplit) {
    const JsonValue* properties = FindObject(node, "properties");
    if (properties == nullptr) return;
    for (const auto& property : properties->GetObject()) {
      const std::string_view name = TextOf(property.name);
      const std::string where = PointerBelow(pointer + "/properties", name);
      if (IsObjects(property.value)) objects_.push_back({where, name});
      if (!Word(&property.value, "instanceId").empty()) arrayNames_.insert(name);
      LintNode(property.value, properties, where, path + "/" + std::string(name), isSplit);
    }
  }

  // A name alone tells the handles which arrays hold instances.
  void CheckName(const NamedObject& object) {
    if (arrayNames_.count(object.name) == 0) return;
    Warn(object.pointer, "Named as an array of instances is: programs get no handle of the nested object.");
  }

  void CheckWords(const JsonValue& node, std::string_view type, const std::string& pointer) {
    const unsigned kind = KindOf(type);
    if (kind == 0 && !type.empty()) {
      Warn(pointer + "/type", Quoted(type) + " is no type of the dialect: it checks nothing.");
    }
    for (const auto& member : node.GetObject()) {
      const std::string_view name = TextOf(member.name);
      const unsigned kinds = KindsWithKeyword(name);
      if (kinds == 0) {
        Warn(PointerBelow(pointer, name), Quoted(name) + " is no keyword of the dialect: it is ignored.");
      } else if (kind != 0 && (kinds & kind) == 0) {
        Warn(PointerBelow(pointer, name), Quoted(name) + " has no effect on the type " + Quoted(type) + ".");
      }
    }
  }

  void CheckRanges(const JsonValue& node, const std::string& pointer) {
    for (const Range& range : kRanges) {
      const JsonValue* least = Find(node, range.least);
      const JsonValue* most = Find(node, range.most);
      if (least == nullptr || most == nullptr || !least->IsNumber() || !most->IsNumber()) continue;
      const bool isCrossed = least->IsInt64() && most->IsInt64() ? least->GetInt64() > most->GetInt64()
                                                                 : least->GetDouble() > most->GetDouble();
      if (isCrossed)
        Fail(pointer + "/" + range.most, Quoted(range.most) + " is less than " + Quoted(range.least) + ".");
    }
    const JsonValue* allowed = Find(node, "enum");
    if (allowed != nullptr && allowed->IsArray() && allowed->Empty()) Fail(pointer + "/enum", "No value is allowed.");
  }

  void CheckMarks(const JsonValue& node, const std::string& pointer) {
    for (const char* mark : {"vital", "cached"}) {
      const JsonValue* value = Find(node, mark);
      if (value == nullptr || !value->IsFalse()) continue;
      Warn(pointer + "/" + mark, "Writing splits the property off whatever the value; leave the mark out.");
    }
  }

  void CheckDependency(const JsonValue& node, const JsonValue* siblings, const std::string& pointer) {
    const JsonValue* tag = FindObject(node, "optionDependency");
    if (tag == nullptr) return;
    const std::string_view name = Word(tag, "name");
    const JsonValue* sibling = siblings == nullptr ? nullptr : Find(*siblings, name);
    const std::string where = pointer + "/optionDependency";
    if (KindOf(Word(sibling, "type")) != kTexts) {
      return Fail(where + "/name", "No sibling named " + Quoted(name) + " is a string: the member can never be there.");
    }
    const JsonValue* allowed = Find(*sibling, "enum");
    for (const std::string_view value : Words(Find(*tag, "value"))) {
      if (allowed == nullptr || Contains(Words(allowed), value)) continue;
      Warn(where + "/value", Quoted(name) + " cannot be " + Quoted(value) + ".");
    }
  }

  void CheckDefault(const JsonValue& node, std::string_view type, const std::string& pointer) {
    const JsonValue* value = Find(node, "default");
    if (value == nullptr || !isSound_) return;
    const std::string where = pointer + "/default";
    if (type == "double" && value->IsInt64()) {
      return Fail(where, "The default of a double must be written with a fraction or an exponent.");
    }
    for (const ErrorInfo& violation : ViolationsOf(node, *value)) {
      const std::string at = violation.field.empty() ? "" : violation.field + ": ";
      Fail(where, "The default is not valid: " + at + violation.error);
    }
  }

  static std::vector<ErrorInfo> ViolationsOf(const JsonValue& node, const JsonValue& value) {
    JsonStorage errors;
    const std::shared_ptr<JsonStorage> copy = CopyToStorage(value);
    ValidateJsonInternal(node, copy->document, errors.document, {CHECK_ADDITIONAL_PROPERTIES, CHECK_SCALAR_TYPES});
    return ErrorArrayToErrorInfos(errors.document);
  }

  void CheckMembers(const JsonValue& node, const std::string& pointer, bool isSplit) {
    const JsonValue* properties = FindObject(node, "properties");
    if (isSplit && properties == nullptr) {
      return Fail(pointer, "An object without \"properties\" can hold nothing: it could not be split into layers.");
    }
    const JsonValue* additional = Find(node, "additionalProperties");
    if (isSplit && (additional == nullptr || !additional->IsFalse())) {
      Warn(pointer,
           "A member that is not described passes validation and is then refused, since it belongs to no layer; "
           "add \"additionalProperties\": false.");
    }
    for (const std::string_view name : Words(Find(node, "required"))) {
      if (properties != nullptr && Find(*properties, name) != nullptr) continue;
      Fail(pointer + "/required", Quoted(name) + " is required and not described.");
    }
  }

  void CheckReference(const Reference& reference) {
    const auto found = paths_.find(reference.path);
    if (found == paths_.end()) {
      Fail(reference.pointer, "No field has the path " + Quoted(reference.path) + ".");
    } else if (found->second != kTexts) {
      Fail(reference.pointer, "The field " + Quoted(reference.path) + " is no string.");
    }
  }

  // Members of one name: reading takes the first.
  void ReportRepeated(const JsonValue& value, const std::string& pointer) {
    if (value.IsArray()) {
      for (rapidjson::SizeType i = 0; i < value.Size(); ++i) {
        ReportRepeated(value[i], pointer + "/" + std::to_string(i));
      }
    }
    if (!value.IsObject()) return;
    std::set<std::string_view> names;
    for (const auto& member : value.GetObject()) {
      const std::string_view name = TextOf(member.name);
      const std::string where = PointerBelow(pointer, name);
      if (!names.insert(name).second) Warn(where, "Given more than once; the first counts.");
      ReportRepeated(member.value, where);
    }
  }

  std::vector<SchemaFinding>& findings_;
  const bool isSound_;
  std::map<std::string, unsigned> paths_;  // of a field to its kind; elements have the path of their array
  std::vector<Reference> references_;
  std::set<std::string_view> arrayNames_;  // of arrays of instances, the type's own among them
  std::vector<NamedObject> objects_;
};

}  // namespace

void LintSchemaFile(const JsonValue& file, bool isSound, std::vector<SchemaFinding>& findings) {
  Linter(findings, isSound).LintFile(file);
}

}  // namespace OrvoConfigStore
