#pragma once

#include <memory>
#include <vector>

#include "configstore/config_store_object.h"
#include "configstore/context.h"
#include "configstore/filter_spec.h"
#include "platform/db_store.h"
#include "platform/schema_store.h"

/// The checks that every operation makes before it touches the store. They throw
/// ValidationException(2000) with an empty list of violations.

namespace OrvoConfigStore {

using OrvoSchemaStore::SchemaObject;

/// Returns the schema of the type of `id`, or an empty pointer.
std::shared_ptr<SchemaObject> LookUpSchema(const ConfigStoreObjectId& id);

/// The type is known.
void CheckSchema(const ConfigStoreObjectId& id, const std::shared_ptr<SchemaObject>& schema);

/// A singleton names no instance, another type does; no part is over 255 bytes.
void validateSingletonNonSingleton(const ConfigStoreObjectId& id, const std::shared_ptr<SchemaObject>& schema);
void validateSingletonNonSingleton(const std::shared_ptr<ConfigStoreObject>& object,
                                   const std::shared_ptr<SchemaObject>& schema);

/// Both of these.
void ValidateCsoId(const ConfigStoreObjectId& id, const std::shared_ptr<SchemaObject>& schema);
void ValidateCsoId(const std::shared_ptr<ConfigStoreObject>& object, const std::shared_ptr<SchemaObject>& schema);

/// The type is known and has instances.
void ValidateCsoIdInstances(const ConfigStoreObjectId& id, const std::shared_ptr<SchemaObject>& schema);
void ValidateCsoIdInstances(const std::shared_ptr<FilterSpecObject>& filter,
                            const std::shared_ptr<SchemaObject>& schema);

/// An outside caller writes no user data while the host boots, unless an upgrade
/// runner is registered.
void checkUserContext(bool isBoot, const USERDATA_CONTEXT& context);

/// The same, asked only when `object` holds user data.
void CheckBootContext(const std::shared_ptr<ConfigStoreObject>& object, const std::shared_ptr<SchemaObject>& schema,
                      const USERDATA_CONTEXT& context, const std::shared_ptr<DBStore::StoreConnection>& connection);

/// Whether a list can be written. An empty one throws
/// InvalidArgumentException(2000); an empty element is logged: the operation
/// then returns without doing anything.
bool CheckList(const std::vector<std::shared_ptr<ConfigStoreObject>>& objects, const char* operation);

/// An object of a list names an instance and is of the type of the first. Throws
/// InvalidArgumentException(2000) for another type.
void CheckListedObject(const ConfigStoreObject& object, const ConfigStoreObjectId& first);

/// Logs the call of an operation.
/// Deliberate: the number printed is 1 for context 0 and 0 for any other.
void LogCall(const char* operation, const ConfigStoreObjectId& id, const USERDATA_CONTEXT& context = {});

}  // namespace OrvoConfigStore
