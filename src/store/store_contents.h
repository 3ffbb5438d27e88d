#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "configstore/config_store_object.h"
#include "platform/db_store.h"
#include "store/rows.h"

/// Whole tables, and one layer of all objects, for tools that look at everything.
/// All throw ConfigStoreException(2000) when a statement fails.

namespace OrvoConfigStore {

using Connection = std::shared_ptr<DBStore::StoreConnection>;
using ObjectList = std::vector<std::shared_ptr<ConfigStoreObject>>;

/// Runs any query and returns its rows.
std::vector<RowMap> GetStoreRows(const std::string& sql, const Connection& connection);

/// Returns the rows of a name/value table.
std::vector<RowMap> GetStoreContentsInternal(const char* table, bool confirmedOnly, const Connection& connection);

/// Returns the rows of table Config that have the layer `column`, as "Value".
std::vector<RowMap> GetStoreContentsInternalST(const char* column, bool confirmedOnly, const Connection& connection);

/// Turns rows that have a name, a component, a group and a "Value" into objects;
/// those without a value are left out. Throws as LayerFromRow does.
ObjectList ConfigMapToConfigStoreObjects(const std::vector<RowMap>& rows);

/// The same by the text form of the identifier.
std::map<std::string, std::shared_ptr<ConfigStoreObject>> ConfigMaptoCsoIdObjMap(const std::vector<RowMap>& rows);

/// Both steps in one.
ObjectList GetConfigStoreObjects(const char* table, bool confirmedOnly, const Connection& connection);
ObjectList GetConfigStoreObjectsST(const char* column, bool confirmedOnly, const Connection& connection);
/// The user layer of all confirmed objects.
ObjectList GetUserConfigObjects(const Connection& connection);

}  // namespace OrvoConfigStore
