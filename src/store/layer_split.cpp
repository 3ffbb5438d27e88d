#include "store/layer_split.h"

#include <string_view>
#include <utility>

#include "configstore/errors.h"
#include "platform/json_members.h"
#include "platform/json_values.h"

namespace OrvoConfigStore {
namespace {

const char* MarkOf(Category category) {
  return category == Category::Vital ? "vital" : "cached";
}

bool IsTrue(const JsonValue* value) {
  return value != nullptr && value->IsTrue();
}

bool IsIdentifier(const JsonValue& node) {
  return IsTrue(FindValue(node, "instanceId"));
}

bool IsText(const JsonValue* value, std::string_view text) {
  return value != nullptr && value->IsString() && TextOf(*value) == text;
}

const JsonValue& PropertyOf(MemberIndex& properties, std::string_view name) {
  const MemberIndex::Member* property = properties.Find(name);
  if (property == nullptr) {
    throw ConfigStoreException(CS_GENERAL, ("Invalid field in schema: " + std::string(name)).c_str());
  }
  return property->value;
}

bool KeepObject(JsonValue& object, const JsonValue& node, Category category) {
  const JsonValue* described = FindValue(node, "properties");
  if (described == nullptr || !described->IsObject()) ThrowInvalidJson();
  if (object.ObjectEmpty()) return false;
  MemberIndex properties(*described);
  auto kept = object.MemberBegin();
  for (auto member = object.MemberBegin(); member != object.MemberEnd(); ++member) {
    if (!KeepForCategory(member->value, PropertyOf(properties, TextOf(member->name)), category)) continue;
    if (kept != member) {
      kept->name = member->name;  // these assignments move
      kept->value = member->value;
    }
    ++kept;
  }
  object.EraseMember(kept, object.MemberEnd());

  if (object.ObjectEmpty()) return false;
  if (category == Category::User || object.MemberCount() > 1) return true;
  const JsonValue& only = PropertyOf(properties, TextOf(object.MemberBegin()->name));
  return IsTrue(FindValue(only, MarkOf(category))) || !IsIdentifier(only);
}

bool KeepElements(JsonValue& elements, const JsonValue& node, const JsonValue& items, Category category) {
  if (!IsText(FindValue(node, "type"), "array")) {
    throw ConfigStoreException(CS_GENERAL, "Schema error:Expected array type");
  }
  if (elements.Empty()) return false;
  auto kept = elements.Begin();
  for (auto element = elements.Begin(); element != elements.End(); ++element) {
    if (!KeepForCategory(*element, items, category)) continue;
    if (kept != element) *kept = *element;  // moves
    ++kept;
  }
  elements.Erase(kept, elements.End());
  return !elements.Empty();
}

std::string GetDataIfNotNull(const std::shared_ptr<JsonStorage>& part) {
  std::string text;
  if (part != nullptr && !WriteJson(part->document, text)) ThrowInvalidJson();
  return text;
}

const JsonValue& DataOf(const ConfigStoreObject& object) {
  return *std::as_const(*object.GetJsonDocPtr()).GetJsonValuePtr();
}

}  // namespace

bool KeepForCategory(JsonValue& value, const JsonValue& node, Category category) {
  if (IsIdentifier(node)) return true;
  if (category != Category::User) {
    if (FindValue(node, MarkOf(category)) != nullptr) return true;
  } else if (FindValue(node, "vital") != nullptr || FindValue(node, "cached") != nullptr) {
    return false;
  }
  if (value.IsObject()) return KeepObject(value, node, category);
  if (value.IsArray()) {
    const JsonValue* items = FindValue(node, "items");
    const bool ofObjects = items != nullptr && items->IsObject() && IsText(FindValue(*items, "type"), "object");
    if (ofObjects) return KeepElements(value, node, *items, category);
  }
  return category == Category::User;
}

std::shared_ptr<JsonStorage> ExtractCategory(const JsonValue& data, const JsonValue& node, Category category) {
  std::shared_ptr<JsonStorage> part = CopyToStorage(data);
  return KeepForCategory(part->document, node, category) ? part : nullptr;
}

LayerValues BuildContextValues(const ConfigStoreObject& object, const SchemaObject& schema) {
  const JsonValue& data = DataOf(object);
  const JsonValue& node = schema.GetObjectNode();
  LayerValues values;
  values.user = GetDataIfNotNull(ExtractCategory(data, node, Category::User));
  values.vital = GetDataIfNotNull(ExtractCategory(data, node, Category::Vital));
  values.cached = GetDataIfNotNull(ExtractCategory(data, node, Category::Cached));
  return values;
}

LayerValues BuildLayerValues(const ConfigStoreObject& object, const SchemaObject& schema, uint32_t context) {
  LayerValues values = BuildContextValues(object, schema);
  const std::string user = std::exchange(values.user, {});
  if (context == 0) values.user = user;
  if (context == 1) values.autoConf = user;
  return values;
}

bool isUserType(const ConfigStoreObject& object, const SchemaObject& schema) {
  return ExtractCategory(DataOf(object), schema.GetObjectNode(), Category::User) != nullptr;
}

}  // namespace OrvoConfigStore
