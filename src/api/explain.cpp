#include <algorithm>
#include <map>
#include <utility>

#include "api/checks.h"
#include "configstore/errors.h"
#include "configstore/inspect.h"
#include "platform/json_pointer.h"
#include "platform/json_reader.h"
#include "platform/json_values.h"
#include "platform/sql_format.h"
#include "store/connection.h"
#include "store/fields.h"
#include "store/reading.h"
#include "store/statements.h"

/// The merge of layers once more, field by field, so that each value keeps the
/// name of its layer. It follows store/update_merge:
///
/// 1. A value takes the place of the field of its path and of all fields below.
/// 2. It takes the place of null, and of an empty object or array, above it.
/// 3. An empty object or array adds nothing to what is there.

namespace OrvoConfigStore {
namespace {

constexpr char kStagedValue[] = "StagedValue";
constexpr char kDefaultValue[] = "DefaultValue";
constexpr char kApplyBoot[] = "ApplyBoot";

// The texts of an object's values, in the order in which a read folds the first four.
struct Source {
  const char* layer;
  const char* column;
  std::optional<std::string> FieldOrigin::*alone;  // where a value goes that no read folds
};

const Source kSources[] = {
    {"vital", kVitalValue, nullptr},
    {"cached", kCachedValue, nullptr},
    {"auto", kAutoConfValue, nullptr},
    {"user", kUserValue, nullptr},
    {"desired", kDesiredValue, &FieldOrigin::desired},
    {"staged", kStagedValue, &FieldOrigin::staged},
    {"default", kDefaultValue, &FieldOrigin::packageDefault},
};

std::string Written(const JsonValue& value) {
  std::string text;
  WriteJson(value, text);
  return text;
}

class Explainer {
 public:
  explicit Explainer(const SchemaObject& schema)
      : node_(schema.GetObjectNode()), idMap_(schema.GetIdMap()->document), isNamedByStore_(schema.IsGeneratedId()) {}

  // Adds the values of one source.
  void Add(const Source& source, const JsonValue& data, bool isConfirmed) {
    const bool isUnread = source.column == kUserValue && !isConfirmed;
    const auto member = isUnread ? &FieldOrigin::unconfirmed : source.alone;
    const auto take = [&](const Field& field) {
      if (field.path == kStoreName && isNamedByStore_) return;
      if (member != nullptr) {
        OriginAt(field.path, field.node).*member = Written(field.value);
      } else {
        Fold(source.layer, field);
      }
    };
    const auto note = [this](const std::string& path, const JsonValue* node) {
      if (node != nullptr) objects_.emplace(path, node);
    };
    ForEachField(data, &node_, &idMap_, {take, note});
  }

  // Adds what the schema has for fields that are absent; call it last.
  void AddDefaults() {
    objects_.emplace("", &node_);
    for (const auto& [path, node] : objects_) AddDefaultsOf(path, *node);
  }

  std::vector<FieldOrigin> Take() {
    std::vector<Entry*> ordered;
    for (auto& [path, field] : fields_) ordered.push_back(&field);
    std::sort(ordered.begin(), ordered.end(), [](const Entry* a, const Entry* b) { return a->order < b->order; });
    std::vector<FieldOrigin> origins;
    for (Entry* field : ordered) origins.push_back(std::move(field->origin));
    return origins;
  }

 private:
  static constexpr char kStoreName[] = "/cs_generated_id";

  struct Entry {
    FieldOrigin origin;
    size_t order;
  };
  using Fields = std::map<std::string, Entry>;

  FieldOrigin& OriginAt(const std::string& path, const JsonValue* node) {
    const auto [found, isNew] = fields_.emplace(path, Entry());
    if (isNew) {
      found->second.order = ++lastOrder_;
      found->second.origin.path = path;
      found->second.origin.secret = HoldsSecret(node);
      const JsonValue* value = node == nullptr || !node->IsObject() ? nullptr : FindValue(*node, "default");
      if (value != nullptr && !value->IsNull()) found->second.origin.schemaDefault = Written(*value);
    }
    return found->second.origin;
  }

  void Fold(const char* layer, const Field& field) {
    if (field.isEmptyHolder && HasValue(field.path)) return;  // 3
    HideBelow(field.path);                                    // 1
    HideHoldersAbove(field.path);                             // 2
    FieldOrigin& origin = OriginAt(field.path, field.node);
    if (origin.effective) {
      Shadow(origin);
    } else {
      fields_[field.path].order = ++lastOrder_;  // an instance stands where it came in
    }
    origin.effective = Written(field.value);
    origin.layer = layer;
  }

  // The fields below `path` are those from "path/" to what follows "/", "path0".
  std::pair<Fields::iterator, Fields::iterator> Below(const std::string& path) {
    return {fields_.lower_bound(path + "/"), fields_.lower_bound(path + static_cast<char>('/' + 1))};
  }

  bool HasValue(const std::string& path) {
    const auto found = fields_.find(path);
    if (found != fields_.end() && found->second.origin.effective.value_or("null") != "null") return true;
    const auto [first, last] = Below(path);
    return std::any_of(first, last, [](const auto& entry) { return entry.second.origin.effective.has_value(); });
  }

  static void Shadow(FieldOrigin& field) {
    field.shadowed.insert(field.shadowed.begin(), LayerValue{field.layer, *field.effective});
  }

  static void Hide(FieldOrigin& field) {
    if (!field.effective) return;
    Shadow(field);
    field.effective.reset();
    field.layer.clear();
  }

  void HideBelow(const std::string& path) {
    const auto [first, last] = Below(path);
    for (auto entry = first; entry != last; ++entry) Hide(entry->second.origin);
  }

  void HideHoldersAbove(const std::string& path) {
    for (size_t end = path.rfind('/'); end != std::string::npos && end > 0; end = path.rfind('/', end - 1)) {
      const auto above = fields_.find(path.substr(0, end));
      if (above != fields_.end()) Hide(above->second.origin);
    }
  }

  // Objects of a union are left alone: which of them counts is not known here.
  void AddDefaultsOf(const std::string& path, const JsonValue& node) {
    const JsonValue* items = FindValue(node, "items");
    const JsonValue* properties = FindValue(items == nullptr ? node : *items, "properties");
    if (properties == nullptr || !properties->IsObject()) return;
    for (const auto& property : properties->GetObject()) {
      std::string below = path;
      AppendStep(below, TextOf(property.name));
      if (FindValue(property.value, "default") != nullptr) {
        OriginAt(below, &property.value);
      } else if (FindValue(property.value, "items") == nullptr &&
                 FindValue(property.value, "optionDependency") == nullptr) {
        AddDefaultsOf(below, property.value);
      }
    }
  }

  const JsonValue& node_;
  const JsonValue& idMap_;
  const bool isNamedByStore_;
  Fields fields_;
  std::map<std::string, const JsonValue*> objects_;  // of the data, with their schema nodes
  size_t lastOrder_ = 0;
};

RowMap ReadAll(const ConfigStoreObjectId& id) {
  RowMap all;
  const std::string sql = FormatSql(Sql::kExplain, {id.instanceId, id.key, id.group, id.component});
  if (ForEachRow(GetConn(), sql, [&all](RowMap&& row) { all = std::move(row); })) return all;
  const std::string cause = DBStore::LastFailure().message;
  throw ConfigStoreException(CS_GENERAL, ("Get failed: " + id.toString() + ": " + cause).c_str());
}

// Why ConfigStore::Get throws, empty when it does not.
std::string ReadFailureOf(const ConfigStoreObjectId& id, const RowMap& row,
                          const std::shared_ptr<SchemaObject>& schema) {
  try {
    MergeRow(id, row, schema);
    return {};
  } catch (const ConfigStoreException& failure) {
    return failure.what();
  }
}

void AddSource(const Source& source, const std::string& text, Explainer& explainer, ObjectExplanation& object) {
  JsonStorage storage(text.size());
  JsonReadFailure failure;
  if (!ReadJson(text, storage.document, &failure)) {
    object.damaged.push_back({source.layer, failure.reason});
  } else if (!storage.document.IsObject()) {
    object.damaged.push_back({source.layer, "not a JSON object"});
  } else {
    explainer.Add(source, storage.document, object.confirmed);
  }
}

}  // namespace

ObjectExplanation ExplainObject(const ConfigStoreObjectId& id) {
  const std::shared_ptr<SchemaObject> schema = LookUpSchema(id);
  ValidateCsoId(id, schema);
  const RowMap row = ReadAll(id);
  ObjectExplanation object;
  object.stored = row.Find(kIdentifier) != nullptr;
  object.confirmed = !object.stored || row.Text(kSuccess) == "1";
  object.staged = row.Find(kStagedValue) != nullptr;
  object.hasPackageDefault = row.Find(kDefaultValue) != nullptr;
  object.appliesStaged = row.Text(kApplyBoot) == "true";
  object.version = row.Text(kVersion);
  object.schemaVersion = schema->GetVersion();
  object.readFailure = ReadFailureOf(id, row, schema);
  Explainer explainer(*schema);
  for (const Source& source : kSources) {
    const std::string* text = row.Find(source.column);
    if (text != nullptr) AddSource(source, *text, explainer, object);
  }
  explainer.AddDefaults();
  object.fields = explainer.Take();
  return object;
}

}  // namespace OrvoConfigStore
