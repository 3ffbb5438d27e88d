#include "validation/document_rules.h"

#include <map>
#include <string_view>
#include <utility>

#include "configstore/json_document.h"
#include "validation/action_rules.h"
#include "validation/walk.h"

namespace OrvoConfigStore {
namespace {

constexpr char kBaseSchema[] =
    R"({"type":"object","additionalProperties":false,"required": ["components"],)"
    R"("properties":{"components":{"type":"object","additionalProperties":false,"properties":{}}}})";

// Indexed by whether the type has a single object.
constexpr const char* kShapes[] = {R"({"type":"array","items":{"type":"object"}})", R"({"type":"object"})"};

std::shared_ptr<JsonStorage> Parsed(const char* schema) {
  auto storage = std::make_shared<JsonStorage>();
  ReadJson(schema, storage->document, nullptr);
  return storage;
}

// What a document names, sorted: a name that comes twice has one node.
using Types = std::map<std::string_view, const JsonValue*>;  // each with its schema
using Groups = std::map<std::string_view, Types>;
using Components = std::map<std::string_view, Groups>;

Components ListNames(const JsonValue& document) {
  Components names;
  for (const auto& component : ComponentsOf(document).GetObject()) {
    Groups& groups = names[TextOf(component.name)];
    if (!component.value.IsObject()) continue;
    for (const auto& group : component.value.GetObject()) groups[TextOf(group.name)];
  }
  return names;
}

JsonValue SchemaOf(const JsonValue* const& schema, JsonAllocator& allocator) {
  return JsonValue(*schema, allocator);
}

// An object that holds the names of `level` and nothing else.
template <class Level>
JsonValue SchemaOf(const Level& level, JsonAllocator& allocator) {
  JsonValue properties(rapidjson::kObjectType);
  for (const auto& [name, below] : level) {
    properties.AddMember(TextValue(name, allocator), SchemaOf(below, allocator), allocator);
  }
  JsonValue node(rapidjson::kObjectType);
  node.AddMember("type", "object", allocator);
  node.AddMember("additionalProperties", false, allocator);
  node.AddMember("properties", properties, allocator);
  return node;
}

bool Append(const std::vector<ErrorInfo>& found, std::vector<ErrorInfo>& errors) {
  errors.insert(errors.end(), found.begin(), found.end());
  return found.empty();
}

bool ValidateWhole(WriteKind kind, const JsonValue& document, JsonAllocator& allocator, const SchemaMap& schemas,
                   std::vector<ErrorInfo>& errors) {
  const std::shared_ptr<JsonStorage> schema = AssembleDocumentSchema(document, schemas);
  return Append(FindViolations(kind, schema->document, document, allocator), errors);
}

}  // namespace

const JsonValue& ComponentsOf(const JsonValue& document) {
  const JsonValue* components = FindValue(document, "components");
  if (components == nullptr || !components->IsObject()) ThrowInvalidJson();
  return *components;
}

SchemaMap LookUpSchemas(const JsonValue& document) {
  const auto store = OrvoSchemaStore::SchemaStore::GetStore();
  // Listed once: each look-up of a type that is not known would ask the database.
  SchemaMap known;
  for (const auto& record : store->ListSchemas()) {
    known.emplace(ConfigStoreObjectId(record.key, record.group, record.component), nullptr);
  }
  SchemaMap schemas;
  ForEachType(document, [&](const ConfigStoreObjectId& type, const JsonValue&) {
    if (known.count(type) == 0) return;
    if (auto schema = store->GetSchema(type.component, type.group, type.key)) schemas[type] = std::move(schema);
  });
  return schemas;
}

std::shared_ptr<JsonStorage> AssembleDocumentSchema(const JsonValue& document, const SchemaMap& schemas,
                                                    TypeNodes nodes) {
  const std::shared_ptr<JsonStorage> shapes[] = {Parsed(kShapes[false]), Parsed(kShapes[true])};
  Components names = ListNames(document);
  for (const auto& [type, schema] : schemas) {
    const auto component = names.find(type.component);
    if (schema == nullptr || component == names.end()) continue;
    const auto group = component->second.find(type.group);
    if (group == component->second.end()) continue;
    group->second[type.key] = nodes == TypeNodes::Whole ? &schema->GetJson() : &shapes[schema->IsSingleton()]->document;
  }
  std::shared_ptr<JsonStorage> assembled = Parsed(kBaseSchema);
  assembled->document["properties"]["components"] = SchemaOf(names, assembled->allocator);
  return assembled;
}

bool ValidateImportDocument(const JsonDocument& document, const SchemaMap& schemas, std::vector<ErrorInfo>& errors) {
  return ValidateWhole(WriteKind::ImportDocument, document, CallersOwn(document).GetAllocator(), schemas, errors);
}

bool ValidateDocument(std::shared_ptr<ConfigStoreObject> document, std::vector<ErrorInfo>& errors) {
  const std::shared_ptr<JsonDoc> doc = document->GetJsonDocPtr();
  const JsonValue& data = *doc->GetJsonValuePtr();
  return ValidateWhole(WriteKind::Document, data, *doc->allocator, LookUpSchemas(data), errors);
}

}  // namespace OrvoConfigStore
