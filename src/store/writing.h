#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "configstore/config_store_object.h"
#include "configstore/context.h"
#include "platform/db_store.h"
#include "platform/schema_store.h"
#include "store/layer_split.h"

/// Writing and deleting: objects become rows of the store.
///
/// The functions use the connection they are given, open and end no transaction
/// and check neither context nor schema: the operations above do that first.
/// They throw ConfigStoreException(2000) when a statement fails, and what was
/// written before then stays for the caller's transaction to undo.

namespace OrvoConfigStore {

using Connection = std::shared_ptr<DBStore::StoreConnection>;
using ObjectList = std::vector<std::shared_ptr<ConfigStoreObject>>;
/// The schemas of types, by identifiers without an instance.
using SchemaMap = std::unordered_map<ConfigStoreObjectId, std::shared_ptr<SchemaObject>>;

/// Writes one object with all its layers.
void SetInternal(const std::shared_ptr<ConfigStoreObject>& object, const std::shared_ptr<SchemaObject>& schema,
                 const USERDATA_CONTEXT& context, const Connection& connection);

/// Writes objects with all their layers; of two with one identifier the later
/// counts. Throws std::out_of_range("_Map_base::at") for a type that is not in `schemas`.
void SetInstancesInternal(const ObjectList& objects, const USERDATA_CONTEXT& context, const SchemaMap& schemas,
                          const Connection& connection);

/// Writes all layers of each object, a statement an object, with the version of
/// its schema. Deliberate: the row's desired value is discarded and its success
/// flag returns to 1, also when the row exists.
void WriteCompleteConfigInstances(const std::unordered_map<ConfigStoreObjectId, LayerValues>& objects,
                                  const Connection& connection);

/// Write one layer of each object, its data as it is, and keep the others.
/// Deliberate: only the user layer drops the desired value; outside an upgrade it
/// also confirms the row, within one it starts a new row unconfirmed.
void WriteUserConfigInstances(const ObjectList& objects, const Connection& connection);
void WriteAutoConfConfigInstances(const ObjectList& objects, const Connection& connection);
void WriteVitalConfigInstances(const ObjectList& objects, const Connection& connection);
void WriteCachedConfigInstances(const ObjectList& objects, const Connection& connection);

/// Clear one layer in every instance of a type; rows stay, also when nothing is
/// left in them.
void DeleteUserConfigInstances(const ConfigStoreObjectId& type, const Connection& connection);
void DeleteAutoConfConfigInstances(const ConfigStoreObjectId& type, const Connection& connection);
void DeleteVitalConfigInstances(const ConfigStoreObjectId& type, const Connection& connection);
void DeleteCachedConfigInstances(const ConfigStoreObjectId& type, const Connection& connection);

/// The statement behind the four above; `column` is one of the value layers.
void DeletePartialConfigInstances(const char* column, const ConfigStoreObjectId& type, const Connection& connection);

/// Deletes one object's row; a missing one is no error.
void DeleteInternal(const ConfigStoreObjectId& id, const Connection& connection);

/// Deletes every row of a type.
void DeleteInstancesInternal(const ConfigStoreObjectId& type, const Connection& connection);

/// Who writes by context, and what becomes of the desired value.
struct UPDATE_CONTEXT {
  enum Kind : uint32_t {
    USER_DROPPING_DESIRED = 0,
    USER = 1,  ///< and any value but 0 and 2
    AUTOCONFIGURATION = 2,
  };
  uint32_t kind = USER_DROPPING_DESIRED;
};

/// Write the user, vital and cached parts of an object into the columns that the
/// context selects. The first creates the row when it is missing; the second
/// changes one that exists, and does nothing otherwise.
void SetByContextInternal(const std::shared_ptr<ConfigStoreObject>& object, const std::shared_ptr<SchemaObject>& schema,
                          const UPDATE_CONTEXT& context, const Connection& connection);
void UpdateByContextInternal(const std::shared_ptr<ConfigStoreObject>& object,
                             const std::shared_ptr<SchemaObject>& schema, const UPDATE_CONTEXT& context,
                             const Connection& connection);

/// Writes an object's data into a name/value table. Table ConfigSchema has no
/// instances: an identifier with one fails there.
void Write(const char* table, const BaseObject& object, const Connection& connection);

}  // namespace OrvoConfigStore
