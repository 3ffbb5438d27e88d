#pragma once

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

}  // namespace OrvoConfigStore
