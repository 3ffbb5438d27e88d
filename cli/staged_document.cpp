#include "staged_document.h"

#include <configstore/errors.h>
#include <configstore/host.h>
#include <configstore/inspect.h>

#include <map>
#include <set>

#include "failure.h"
#include "json_text.h"
#include "object_input.h"
#include "object_name.h"

namespace csctl {

using OrvoConfigStore::ConfigStore;
using OrvoConfigStore::ConfigStoreObject;
using OrvoConfigStore::ConfigStoreObjectId;
using OrvoConfigStore::SchemaInfo;

namespace {

constexpr char kForm[] =
    "give {\"components\": {COMPONENT: {GROUP: {KEY: object, or array of instances}}}}; \"csctl types\" lists the "
    "types; nothing was changed";

[[noreturn]] void Refuse(const std::string& message) {
  throw CommandFailed({Exit::kInvalid, message, "", kForm});
}

/// A level of the document. Members are taken out of it by the names that are
/// known; what is left in the end is known to nobody.
class Level {
 public:
  Level(const std::string& text, const std::string& path);

  /// Returns the text of the member `name` and removes it; empty when it is absent.
  std::string Take(const std::string& name);
  /// Returns the member `name` as a level, null when it is absent.
  Level* Below(const std::string& name);
  /// Returns the path of something that nobody took; empty when there is nothing.
  std::string Left() const;

 private:
  std::string path_;
  std::shared_ptr<OrvoConfigStore::WritableObject> object_;
  std::map<std::string, std::unique_ptr<Level>> below_;
};

Level::Level(const std::string& text, const std::string& path)
    : path_(path),
      object_(std::make_shared<OrvoConfigStore::WritableObject>(ConfigStoreObjectId("staged", "document", "csctl"))) {
  object_->SetData(text.c_str());
  if (object_->GetData().front() != '{') Refuse((path.empty() ? "the document" : path) + " is no JSON object");
}

std::string Level::Take(const std::string& name) {
  const OrvoConfigStore::JsonValue* value = object_->GetValuePtr(name.c_str());
  if (value == nullptr) return {};
  std::string text;
  OrvoConfigStore::SerializeValue(*value, text);
  object_->Remove(name.c_str());
  return text;
}

Level* Level::Below(const std::string& name) {
  const auto known = below_.find(name);
  if (known != below_.end()) return known->second.get();
  const std::string text = Take(name);
  if (text.empty()) return nullptr;
  return below_.emplace(name, std::make_unique<Level>(text, path_ + "/" + name)).first->second.get();
}

std::string Level::Left() const {
  const std::string rest = object_->GetData();
  if (rest != "{}") return path_ + "/" + rest.substr(2, rest.find("\":") - 2);
  for (const auto& [name, level] : below_) {
    const std::string left = level->Left();
    if (!left.empty()) return left;
  }
  return {};
}

/// Adds what the document holds of a type.
void AddObjects(const SchemaInfo& type, const std::string& text, StagedObjects& objects) {
  const ConfigStoreObjectId id(type.key, type.group, type.component);
  if (text.front() != (type.singleton ? '{' : '[')) {
    Refuse(ObjectName(id) + (type.singleton ? " takes one object" : " takes an array of instances"));
  }
  try {
    if (type.singleton) return objects.push_back(ConfigStore::CreateObject(id, text));
    const StagedObjects instances = ConfigStore::CreateInstances(id, text);
    objects.insert(objects.end(), instances.begin(), instances.end());
  } catch (const OrvoConfigStore::ConfigStoreException& error) {
    Refuse(ObjectName(id) + ": " + error.what());
  }
}

/// Returns an object's text with the name that the store gave it, which its data
/// does not show: without it, reading the text would name the instance anew.
std::string NamedText(const ConfigStoreObject& object, const std::string& data, bool isGeneratedId) {
  if (!isGeneratedId) return data;
  const std::string name = "{\"cs_generated_id\":" + JsonString(object.GetId().instanceId);
  return data == "{}" ? name + "}" : name + "," + data.substr(1);
}

/// What is staged of one type.
struct StagedType {
  bool isSingleton = false;
  std::vector<std::string> texts;
};

template <class Value>
using ByName = std::map<std::string, Value>;

/// Returns the JSON object of `members`, each value written by `write`.
template <class Value, class Write>
std::string MapJson(const ByName<Value>& members, Write write) {
  std::vector<std::pair<std::string, std::string>> texts;
  for (const auto& [name, value] : members) texts.emplace_back(name, write(value));
  return JsonObject(texts);
}

std::string TypesJson(const ByName<StagedType>& types) {
  return MapJson(types,
                 [](const StagedType& type) { return type.isSingleton ? type.texts.front() : JsonArray(type.texts); });
}

std::string GroupsJson(const ByName<ByName<StagedType>>& groups) {
  return MapJson(groups, TypesJson);
}

/// The types whose instances the store names.
std::set<std::string> GeneratedTypes() {
  std::set<std::string> names;
  for (const SchemaInfo& type : OrvoConfigStore::ListSchemas()) {
    if (type.generatedId) names.insert(ObjectName({type.key, type.group, type.component}));
  }
  return names;
}

}  // namespace

StagedObjects ParseStagedDocument(const std::string& text) {
  Level document(text, "");
  Level* const components = document.Below("components");
  if (components == nullptr) Refuse("the document has no \"components\"");
  StagedObjects objects;
  for (const SchemaInfo& type : OrvoConfigStore::ListSchemas()) {
    Level* const component = components->Below(type.component);
    Level* const group = component == nullptr ? nullptr : component->Below(type.group);
    const std::string value = group == nullptr ? "" : group->Take(type.key);
    if (!value.empty()) AddObjects(type, value, objects);
  }
  const std::string left = document.Left();
  if (!left.empty()) Refuse(left + " is no registered type, or is there twice");
  if (objects.empty()) Refuse("the document holds no object");
  return objects;
}

std::string StagedDocument(const StagedObjects& objects, bool showSecrets) {
  const std::set<std::string> generated = GeneratedTypes();
  const ShowOptions options{"", showSecrets};
  ByName<ByName<ByName<StagedType>>> components;
  for (const auto& object : objects) {
    const ConfigStoreObjectId& id = object->GetId();
    const bool isGenerated = generated.count(ObjectName({id.key, id.group, id.component})) != 0;
    StagedType& type = components[id.component][id.group][id.key];
    type.isSingleton = id.instanceId.empty();
    type.texts.push_back(NamedText(*object, options.Mask(id, object->GetData()), isGenerated));
  }
  return JsonObject({{"components", MapJson(components, GroupsJson)}});
}

}  // namespace csctl
