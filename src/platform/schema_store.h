#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/json_reader.h"

/// The schema store: which types exist and what their schemas say.

namespace OrvoConfigStore {
class SchemaNode;
}

namespace OrvoSchemaStore {

using OrvoConfigStore::JsonStorage;
using OrvoConfigStore::JsonValue;

/// One registered type, as a schema file brings it and a row keeps it.
struct SchemaRecord {
  std::string package;  ///< that shipped it; empty for one registered by hand
  std::string component;
  std::string group;
  std::string key;
  std::string version;
  std::string schema;  ///< compact JSON text
  bool noRestore = false;
};

/// The schema of one type, parsed once and never changed; shared by all objects
/// of the type.
class SchemaObject {
 public:
  /// Throws ConfigStoreException(2000, "Invalid JSON") when the record's schema
  /// is no JSON object.
  explicit SchemaObject(const SchemaRecord& record);

  /// Whether the type has a single object; else each has an instance identifier.
  bool IsSingleton() const;
  const std::string& GetVersion() const;
  /// Whether staged values of the type are left alone at boot.
  bool IsNoRestore() const;

  /// The schema as registered.
  const JsonValue& GetJson() const;
  /// The node that describes one object: "items" of a type with instances.
  const JsonValue& GetObjectNode() const;
  /// Whether the store names the instances of the type ("cs_generated_id").
  bool IsGeneratedId() const;
  /// Whether any value of the type is a secret.
  bool HasSecrets() const;
  /// Whether the store identifies the elements of any array within an object.
  bool HasGeneratedIds() const;

  /// Which member identifies an instance: name of the array to name of the
  /// member in its elements; that of the type itself under the type's key.
  const std::shared_ptr<JsonStorage>& GetIdMap() const;
  /// The default data under the type's key; an empty object when there is none.
  const std::shared_ptr<JsonStorage>& GetDefaults() const;

  /// What the layers above have made of the schema (see ObjectNodeOf): it lasts as
  /// long as the schema, and is made anew with it when the store has changed.
  std::shared_ptr<OrvoConfigStore::SchemaNode>& Compiled() const { return compiled_; }

  /// What the layer of objects derives from the schema, kept with it; empty until
  /// that is done. Used by the thread of the schema store alone.
  std::shared_ptr<const void>& Companion() const { return companion_; }

 private:
  std::string version_;
  bool noRestore_;
  std::shared_ptr<JsonStorage> schema_;
  std::shared_ptr<JsonStorage> idMap_;
  std::shared_ptr<JsonStorage> defaults_;
  bool isSingleton_;
  bool hasSecrets_;
  bool hasGeneratedIds_;
  mutable std::shared_ptr<OrvoConfigStore::SchemaNode> compiled_;
  mutable std::shared_ptr<const void> companion_;
};

/// The thread's view of the schema store. Schemas are kept parsed until the
/// store's file changes, which every look-up checks with one stat.
class SchemaStore {
 public:
  /// Returns the calling thread's schema store.
  static std::shared_ptr<SchemaStore> GetStore();

  SchemaStore();
  ~SchemaStore();
  SchemaStore(const SchemaStore&) = delete;
  SchemaStore& operator=(const SchemaStore&) = delete;

  /// Returns the schema of a type, or an empty pointer when the type is unknown
  /// or there is no schema store. Throws ConfigStoreException(2000) when the
  /// store cannot be read.
  std::shared_ptr<SchemaObject> GetSchema(const std::string& component, const std::string& group,
                                          const std::string& key);

  /// Registers types, all or none, replacing those that are registered already;
  /// other types of the packages `processed` are no longer registered afterwards.
  /// The records have passed CheckSchemaText. Throws ConfigStoreException(2000)
  /// when the store cannot be written.
  void SetSchema(const std::vector<SchemaRecord>& records, const std::vector<std::string>& processed = {});

  /// Returns every registered type, sorted by component, group and key. Throws
  /// as GetSchema does; without a schema store there is none.
  std::vector<SchemaRecord> ListSchemas();

 private:
  class Cache;
  std::unique_ptr<Cache> cache_;
};

}  // namespace OrvoSchemaStore
