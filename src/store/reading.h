#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "configstore/config_store_object.h"
#include "configstore/context.h"
#include "platform/db_store.h"
#include "platform/schema_store.h"
#include "store/rows.h"

/// Reading: rows of the store become configuration objects.
///
/// The functions use the connection they are given, open and end no
/// transaction, and throw ConfigStoreException(2000) when a statement fails.
/// A missing row is not an error: it has no layers and reads as an empty pointer.

namespace OrvoConfigStore {

using OrvoSchemaStore::SchemaObject;
using Connection = std::shared_ptr<DBStore::StoreConnection>;
using InstanceVisitor = std::function<void(std::shared_ptr<ConfigStoreObject>&&)>;
using ObjectList = std::vector<std::shared_ptr<ConfigStoreObject>>;

/// Returns the merged object of one instance.
std::shared_ptr<ConfigStoreObject> GetInternal(const ConfigStoreObjectId& id, const Connection& connection,
                                               const std::shared_ptr<SchemaObject>& schema);

/// The same; `state` gets the state of the database that was read, and stays as it
/// is when that cannot be told.
std::shared_ptr<ConfigStoreObject> GetWithState(const ConfigStoreObjectId& id, const Connection& connection,
                                                const std::shared_ptr<SchemaObject>& schema, uint64_t* state);

/// As GetInternal, without the layer that the other kind of caller writes: an
/// outside caller (kind 0) does not see automatic values, any other no user ones.
std::shared_ptr<ConfigStoreObject> GetConfigByContext(const ConfigStoreObjectId& id, const Connection& connection,
                                                      const USERDATA_CONTEXT& context,
                                                      const std::shared_ptr<SchemaObject>& schema);

/// Returns what the user layer will be once it is confirmed: the desired value
/// or, while the row is unconfirmed, its user value.
std::shared_ptr<ConfigStoreObject> GetDesiredInternal(const ConfigStoreObjectId& id, const Connection& connection,
                                                      const std::shared_ptr<SchemaObject>& schema);

/// Returns the type's default object, confirmed or not.
std::shared_ptr<ConfigStoreObject> GetDefaultConfigInternal(const ConfigStoreObjectId& id, const Connection& connection,
                                                            const std::shared_ptr<SchemaObject>& schema);

/// Return the instances of the filter's type that match it: merged, default and
/// desired ones. An instance without an effective layer is left out.
ObjectList GetConfigInstancesInternal(const std::shared_ptr<FilterSpecObject>& filter, const Connection& connection,
                                      const std::shared_ptr<SchemaObject>& schema);
ObjectList GetDefaultConfigInstancesInternal(const std::shared_ptr<FilterSpecObject>& filter,
                                             const Connection& connection, const std::shared_ptr<SchemaObject>& schema);
ObjectList GetDesiredUserConfigInstancesInternal(const std::shared_ptr<FilterSpecObject>& filter,
                                                 const Connection& connection,
                                                 const std::shared_ptr<SchemaObject>& schema);

/// Hands the merged instances that match to `visit`, one after the other.
void VisitConfigInstancesInternal(const FilterSpecObject& filter, const Connection& connection,
                                  const std::shared_ptr<SchemaObject>& schema, const InstanceVisitor& visit);

/// Returns the row of `id` in a name/value table as an object: the confirmed one,
/// or any. Throws ConfigStoreException(2000) "Get failed: ..." when that fails.
std::shared_ptr<ConfigStoreObject> Read(const char* table, const ConfigStoreObjectId& id, bool confirmedOnly,
                                        const Connection& connection, const std::shared_ptr<SchemaObject>& schema);

/// Runs one of the queries for one object (name, group, component, identifier) and
/// returns its row, without columns when there is none. Throws
/// ConfigStoreException(2000) "Get failed: ..." when that fails.
RowMap ReadObjectRow(const char* sql, const ConfigStoreObjectId& id, const Connection& connection);

/// Returns one layer of a row as an object, or an empty pointer when the column
/// is absent. A text that is no JSON throws InvalidArgumentException(1080), one
/// that is no JSON object ConfigStoreException(2000); a log line at priority 0
/// names the object and the column just before.
std::shared_ptr<ConfigStoreObject> LayerFromRow(const ConfigStoreObjectId& id, const Row& row, const char* column,
                                                const std::shared_ptr<SchemaObject>& schema);

/// Returns the user layer of a row, which counts only once the row is confirmed
/// (Success 1).
std::shared_ptr<ConfigStoreObject> UserLayerFromRow(const ConfigStoreObjectId& id, const Row& row,
                                                    const std::shared_ptr<SchemaObject>& schema);

/// Folds three layers over `base`, in this order; any may be an empty pointer. With
/// `schema`, that of their type, arrays are merged as it describes them.
std::shared_ptr<ConfigStoreObject> MergeConfig(std::shared_ptr<ConfigStoreObject> base,
                                               std::shared_ptr<ConfigStoreObject> first,
                                               std::shared_ptr<ConfigStoreObject> second,
                                               std::shared_ptr<ConfigStoreObject> third,
                                               const SchemaObject* schema = nullptr);

/// Folds the layers of `row` into one object. A layer whose column is absent is
/// skipped, so that rows of any read statement can be passed.
std::shared_ptr<ConfigStoreObject> MergeRow(const ConfigStoreObjectId& id, const Row& row,
                                            const std::shared_ptr<SchemaObject>& schema);

}  // namespace OrvoConfigStore
