#include "configstore/edit_fields.h"

#include <utility>

#include "api/checks.h"
#include "api/describe.h"
#include "api/field_words.h"
#include "api/nearest_name.h"
#include "api/secrets.h"
#include "configstore/errors.h"
#include "platform/json_reader.h"
#include "platform/json_repeats.h"
#include "platform/json_values.h"
#include "store/fields.h"

namespace OrvoConfigStore {
namespace {

using Steps = std::vector<std::string>;

// The steps of a path; empty when it has an empty one or a "~" of no meaning.
Steps StepsOf(const std::string& path) {
  Steps steps;
  for (size_t at = path.compare(0, 1, "/") == 0 ? 1 : 0; at <= path.size();) {
    const size_t end = std::min(path.find('/', at), path.size());
    std::string step;
    for (; at < end; ++at) {
      const char code = path[at] == '~' && at + 1 < end ? path[at + 1] : '\0';
      if (path[at] == '~' && code != '0' && code != '1') return {};
      step += path[at] != '~' ? path[at] : code == '0' ? '~' : '/';
      if (path[at] == '~') ++at;
    }
    if (step.empty()) return {};
    steps.push_back(step);
    at = end + 1;
  }
  return steps;
}

// Why an edit cannot be made.
struct Refusal {
  std::string reason;
};

// What a name may have been meant to be, for a message.
std::string Suggestion(const JsonValue& node, const std::string& name) {
  const std::string nearest = NearestName(name, PropertyNames(&node));
  return nearest.empty() ? nearest : "; did you mean \"" + nearest + "\"?";
}

// An absent field that is to be unset.
struct Absent {};

class Editor {
 public:
  Editor(JsonDocument& document, JsonAllocator& allocator, const SchemaObject& schema)
      : document_(document),
        allocator_(allocator),
        idMap_(schema.GetIdMap()->document),
        root_(schema.GetObjectNode()) {}

  // Throws Refusal or Absent.
  void Apply(const FieldEdit& edit) {
    const Steps steps = StepsOf(edit.path);
    if (steps.empty()) throw Refusal{"This is no path of a field"};
    InObject(edit, steps, 0, document_, root_);
  }

 private:
  // Makes the edit below `object`, from the step `at` on.
  void InObject(const FieldEdit& edit, const Steps& steps, size_t at, JsonValue& object, const JsonValue& node) {
    const JsonValue* property = PropertyOf(&node, steps[at]);
    JsonValue* member = FindValue(object, steps[at]);
    if (property == nullptr && (edit.kind != FieldEdit::UNSET || member == nullptr)) {
      throw Refusal{"The type has no such field" + Suggestion(node, steps[at])};
    }
    const bool isLast = at + 1 == steps.size();
    if (edit.kind == FieldEdit::UNSET) {
      if (member == nullptr) throw Absent{};
      if (isLast) return Remove(object, steps[at], node);
    } else if (isLast) {
      return Put(object, steps[at], member, ValueOf(edit, *property), node);
    } else if (member == nullptr || member->IsNull()) {
      member = &Make(object, steps[at], member, *property);
    }
    static const JsonValue kUnknown(rapidjson::kObjectType);
    const JsonValue& below = property == nullptr ? kUnknown : *property;
    if (const JsonValue* idKey = InstanceKeyOf(steps[at], *member, property, &idMap_)) {
      InInstances(edit, steps, at + 1, *member, *idKey, below);
    } else {
      if (!member->IsObject()) throw Refusal{"A field on the way holds no further ones"};
      InObject(edit, steps, at + 1, *member, below);
    }
    if (edit.kind == FieldEdit::UNSET && member->IsArray() && member->Empty()) object.EraseMember(NameRef(steps[at]));
  }

  // As InObject; the step `at` is an instance's identifier.
  void InInstances(const FieldEdit& edit, const Steps& steps, size_t at, JsonValue& elements, const JsonValue& idKey,
                   const JsonValue& node) {
    JsonValue* element = FindInstance(elements, TextOf(idKey), steps[at]);
    const bool isLast = at + 1 == steps.size();
    if (edit.kind == FieldEdit::UNSET) {
      if (element == nullptr) throw Absent{};
      if (isLast) {
        elements.Erase(element);
        return;
      }
    } else if (element == nullptr) {
      JsonValue made(rapidjson::kObjectType);
      made.AddMember(JsonValue(idKey, allocator_), TextValue(steps[at], allocator_), allocator_);
      elements.PushBack(made, allocator_);
      element = elements.End() - 1;
    }
    if (!isLast) return InObject(edit, steps, at + 1, *element, node);
    ReplaceInstance(*element, ValueOf(edit, node), idKey, steps[at]);
  }

  void ReplaceInstance(JsonValue& element, JsonValue value, const JsonValue& idKey, const std::string& id) {
    if (!value.IsObject()) throw Refusal{"An instance is a JSON object"};
    const JsonValue* named = FindValue(value, TextOf(idKey));
    if (named == nullptr) {
      value.AddMember(JsonValue(idKey, allocator_), TextValue(id, allocator_), allocator_);
    } else if (!named->IsString() || TextOf(*named) != id) {
      throw Refusal{"The instance names itself differently"};
    }
    element = value;
  }

  JsonValue ValueOf(const FieldEdit& edit, const JsonValue& node) {
    JsonValue value;
    if (edit.kind == FieldEdit::SET_WORD) {
      const std::string reason = ReadWord(edit.value, node, value, allocator_);
      if (!reason.empty()) throw Refusal{reason + "; allowed: " + DescribeRules(node)};
      return value;
    }
    JsonStorage parsed(edit.value.size());
    JsonReadFailure failure;
    if (!ReadJson(edit.value, parsed.document, &failure)) throw Refusal{std::string("No JSON: ") + failure.reason};
    if (FindRepeatedName(parsed.document) != nullptr) throw Refusal{"No JSON: a member is there twice"};
    value.CopyFrom(parsed.document, allocator_);
    return value;
  }

  void Put(JsonValue& object, const std::string& name, JsonValue* member, JsonValue value, const JsonValue& node) {
    if (member == nullptr) {
      object.AddMember(TextValue(name, allocator_), value, allocator_);
    } else if (*member != value) {
      RefuseIdentifier(name, node);
      *member = value;
    }
  }

  void Remove(JsonValue& object, const std::string& name, const JsonValue& node) {
    RefuseIdentifier(name, node);
    object.EraseMember(NameRef(name));
  }

  static void RefuseIdentifier(const std::string& name, const JsonValue& node) {
    const JsonValue* property = PropertyOf(&node, name);
    const JsonValue* mark = property == nullptr ? nullptr : FindValue(*property, "instanceId");
    if (mark == nullptr || !mark->IsTrue()) return;
    throw Refusal{"An identifier cannot be changed; unset the instance and set another"};
  }

  JsonValue& Make(JsonValue& object, const std::string& name, JsonValue* member, const JsonValue& property) {
    JsonValue made(FindValue(property, "items") == nullptr ? rapidjson::kObjectType : rapidjson::kArrayType);
    if (member != nullptr) return *member = made;
    object.AddMember(TextValue(name, allocator_), made, allocator_);
    return *FindValue(object, name);
  }

  static JsonValue* FindInstance(JsonValue& elements, std::string_view idKey, const std::string& id) {
    for (JsonValue& element : elements.GetArray()) {
      if (TextOf(*FindValue(element, idKey)) == id) return &element;
    }
    return nullptr;
  }

  JsonDocument& document_;
  JsonAllocator& allocator_;
  const JsonValue& idMap_;
  const JsonValue& root_;
};

void ReadObjectText(const std::string& json, JsonStorage& storage) {
  if (ReadJson(json, storage.document, nullptr) && storage.document.IsObject()) return;
  ThrowException<InvalidArgumentException>(CS_JSON_STRING_INVALID);
}

std::string Written(const JsonStorage& storage) {
  std::string text;
  if (!WriteJson(storage.document, text)) ThrowInvalidJson();
  return text;
}

}  // namespace

std::string EditFields(const ConfigStoreObjectId& id, const std::string& json, const std::vector<FieldEdit>& edits) {
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(id);
  CheckSchema(id, schema);
  JsonStorage storage(json.size());
  ReadObjectText(json, storage);
  Editor editor(storage.document, storage.document.GetAllocator(), *schema);
  std::vector<ErrorInfo> refused;
  for (const FieldEdit& edit : edits) {
    try {
      editor.Apply(edit);
    } catch (const Refusal& refusal) {
      refused.push_back({edit.path, refusal.reason});
    } catch (const Absent&) {
      throw InvalidArgumentException(CS_KEY_NOT_FOUND, ("There is no such field: " + edit.path).c_str());
    }
  }
  if (!refused.empty()) throw ValidationException(CS_GENERAL, "Fields cannot be changed", refused);
  return Written(storage);
}

std::string UnmaskSecrets(const ConfigStoreObjectId& id, const std::string& json, const std::string& stored) {
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(id);
  CheckSchema(id, schema);
  JsonStorage storage(json.size()), kept(stored.size());
  ReadObjectText(json, storage);
  ReadObjectText(stored, kept);
  RestoreMaskedSecrets(storage.document, schema->GetObjectNode(), &kept.document, storage.document.GetAllocator());
  return Written(storage);
}

}  // namespace OrvoConfigStore
