#include "api/compare_fields.h"

#include <map>
#include <string_view>

#include "api/checks.h"
#include "platform/json_reader.h"
#include "store/fields.h"

namespace OrvoConfigStore {
namespace {

// A field of one side.
struct SideField {
  std::string path;
  const JsonValue* value;
  bool isSecret;
};

// The fields of one side, in order and by path; their values are in the data.
struct Side {
  std::vector<SideField> fields;
  std::map<std::string_view, const SideField*> byPath;

  Side(const JsonValue& data, const SchemaObject* schema) {
    const JsonValue* node = schema == nullptr ? nullptr : &schema->GetObjectNode();
    const JsonValue* idMap = schema == nullptr ? nullptr : &schema->GetIdMap()->document;
    const auto take = [&](const Field& field) {
      fields.push_back({field.path, &field.value, schema == nullptr || HoldsSecret(field.node)});
    };
    ForEachField(data, node, idMap, {take, {}});
    for (const SideField& field : fields) byPath.emplace(field.path, &field);
  }

  const SideField* Find(const std::string& path) const {
    const auto found = byPath.find(path);
    return found == byPath.end() ? nullptr : found->second;
  }
};

std::optional<std::string> Written(const SideField* field) {
  if (field == nullptr) return {};
  std::string text;
  WriteJson(*field->value, text);
  return text;
}

// 1 and 1.0 are of different types and differ; the order of members does not count.
bool IsSame(const SideField& a, const SideField& b) {
  const bool isHolder = a.value->IsObject() || a.value->IsArray();
  return isHolder ? *a.value == *b.value : Written(&a) == Written(&b);
}

bool ReadObject(const std::string& text, JsonStorage& storage) {
  return ReadJson(text, storage.document, nullptr) && storage.document.IsObject();
}

}  // namespace

std::vector<FieldChange> CompareFieldsOf(const SchemaObject* schema, const JsonValue& before, const JsonValue& after) {
  const Side old(before, schema), now(after, schema);
  std::vector<FieldChange> changes;
  for (const SideField& field : old.fields) {
    const SideField* other = now.Find(field.path);
    if (other != nullptr && IsSame(field, *other)) continue;
    changes.push_back({field.path, Written(&field), Written(other), field.isSecret});
  }
  for (const SideField& field : now.fields) {
    if (old.Find(field.path) == nullptr) changes.push_back({field.path, {}, Written(&field), field.isSecret});
  }
  return changes;
}

std::vector<FieldChange> CompareFields(const ConfigStoreObjectId& id, const std::string& before,
                                       const std::string& after) {
  if (before == after) return {};
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(id);
  JsonStorage old(before.size()), now(after.size());
  if (ReadObject(before, old) && ReadObject(after, now)) {
    return CompareFieldsOf(schema.get(), old.document, now.document);
  }
  return {{"", before, after, schema == nullptr || schema->HasSecrets()}};
}

}  // namespace OrvoConfigStore
