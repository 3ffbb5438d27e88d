#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "configstore/base_object.h"
#include "configstore/export.h"

namespace OrvoSchemaStore {
class SchemaObject;
}

namespace OrvoConfigStore {

class FilterSpecObject;

/// What a row tells of an object besides its data; the texts are copied.
struct RowFacts {
  std::string_view version;
  std::string_view creationTime;
  std::string_view modifiedTime;
};

/// A time as a row has it, "2026-01-31 23:59:59". Kept in place, as long as it is no
/// longer than that: objects are held by the hundred thousand.
class RowTime {
 public:
  RowTime() = default;
  explicit RowTime(std::string_view text);

  std::string Text() const;

 private:
  char place_[23] = {};
  unsigned char size_ = 0;
  std::unique_ptr<const std::string> long_;  // null while the text has its place
};

/// A configuration object as read from and written to the store: identity, data,
/// the store's metadata, and what the schema says of identifiers and defaults.
///
/// Nested objects are handed out as objects of their own that share this one's
/// document: a change through one shows in the other, and none may be used from
/// two threads at once. A failed call leaves the data unchanged.
///
/// The member "cs_generated_id" belongs to the store; GetData does not show it.
class CONFIGSTORE_API ConfigStoreObject final : public WritableObject {
 public:
  /// An empty object with version, identifiers and defaults of its type's
  /// schema; of an unknown type (logged at priority 0) it has none of them.
  explicit ConfigStoreObject(const ConfigStoreObjectId& id);

  /// An object over `data`, shared. With `fromSchema` the identifiers and
  /// defaults are those of `schema` (looked up when null) and the last two
  /// arguments are ignored; without, the id map is `idMap` and the defaults are
  /// the member of `defaults` named by the id's key.
  ConfigStoreObject(const ConfigStoreObjectId& id, const std::shared_ptr<JsonDoc>& data,
                    const std::shared_ptr<OrvoSchemaStore::SchemaObject>& schema, const std::string& version,
                    const std::string& creationTime, const std::string& modifiedTime, bool fromSchema,
                    const std::shared_ptr<JsonDoc>& idMap, const std::shared_ptr<JsonDoc>& defaults);
  /// As above, of `schema` (looked up when null) and of what a row says.
  ConfigStoreObject(const ConfigStoreObjectId& id, std::shared_ptr<JsonDoc> data,
                    const std::shared_ptr<OrvoSchemaStore::SchemaObject>& schema, RowFacts row);
  ~ConfigStoreObject();

  const JsonValue* GetValuePtrDefault(const char* key, bool& isDefault) const override;

  /// Returns the version of the schema that the object was made or stored with.
  std::string GetVersion() const;
  /// Return the row's times as stored, "YYYY-MM-DD hh:mm:ss" in UTC; empty for
  /// an object that was not read from the store.
  std::string GetCreationTime() const;
  std::string GetModifiedTime() const;
  /// Returns which arrays hold instances and by which member, "{}" when none do.
  std::string GetIdMapStr() const;
  /// The same, shared; null for an object of an unknown type.
  std::shared_ptr<JsonDoc> GetIdMap() const;
  /// Returns the data as compact JSON text without "cs_generated_id" at its top.
  std::string GetData() const;

  /// Sets a member of any type from the JsonValue at `value` (copied). An equal
  /// value keeps its place; a different one moves the member to the end.
  void SetValueEx(const char* key, const void* value);

  /// Writes the id's instance into the member that identifies an instance of this type.
  void SetInstanceIdFromCsoId();

  /// Builds the handle of a nested object that is known to exist; `idKeyName` is
  /// the member that identifies it in its array, empty for a single one.
  std::shared_ptr<ConfigStoreObject> MakeSubObjectPtr(const SubObjectId& sid, const std::string& instanceId,
                                                      const std::string& idKeyName) const;
  /// Returns the nested object, or an empty pointer when there is none. Throws
  /// when `sid` names an instance of a single nested object or leaves one out.
  std::shared_ptr<ConfigStoreObject> GetSubObject(const SubObjectId& sid) const;
  /// Adds an empty nested object and returns it. Throws ConfigStoreException(2000)
  /// "Object already exists." when there is one.
  std::shared_ptr<ConfigStoreObject> CreateSubObject(const SubObjectId& sid);
  /// Removes the nested object, and an array that is then empty; a missing one is no error.
  void DeleteSubObject(const SubObjectId& sid);
  /// Returns the elements of an array that match `filter`, in order.
  std::vector<std::shared_ptr<ConfigStoreObject>> GetSubObjectInstances(
      const std::shared_ptr<FilterSpecObject>& filter) const;
  /// Removes the elements of an array that match `filter`.
  void DeleteSubObjectInstances(const std::shared_ptr<FilterSpecObject>& filter);

 private:
  const char* IdKeyOf(const std::string& key) const;
  void TakeIdMapAndDefaults(const std::shared_ptr<OrvoSchemaStore::SchemaObject>& schema);
  JsonValue& PlaceMember(const std::string& key, int type);
  std::shared_ptr<ConfigStoreObject> HandleOf(const SubObjectId& sid, const JsonNode& step) const;

  std::shared_ptr<JsonDoc> idMap_;
  [[maybe_unused]] bool fromSchema_;
  std::string version_;
  std::shared_ptr<JsonDoc> defaults_;
  RowTime creationTime_;
  RowTime modifiedTime_;
};

}  // namespace OrvoConfigStore
