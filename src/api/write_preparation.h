#pragma once

#include <functional>
#include <memory>

#include "configstore/config_store_object.h"
#include "configstore/errors.h"
#include "platform/db_store.h"
#include "platform/schema_store.h"

namespace OrvoConfigStore {

/// Makes a caller's object ready to be validated and written: nested elements
/// get the generated identifier that they lack, and a masked secret becomes the
/// one that is stored. Throws ValidationException(`code`) for a mask with
/// nothing stored behind it.
void PrepareForWrite(ConfigStoreObject& object, const std::shared_ptr<OrvoSchemaStore::SchemaObject>& schema,
                     CSErrorCodes code, const std::shared_ptr<DBStore::StoreConnection>& connection);

/// The same; a masked secret becomes the one in what `readStored` returns (may be
/// an empty pointer), which is asked only when there is a mask.
void PrepareForWrite(ConfigStoreObject& object, const std::shared_ptr<OrvoSchemaStore::SchemaObject>& schema,
                     CSErrorCodes code, const std::function<std::shared_ptr<ConfigStoreObject>()>& readStored);

}  // namespace OrvoConfigStore
