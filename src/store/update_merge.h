#pragma once

#include <memory>

#include "configstore/config_store_object.h"
#include "platform/schema_store.h"

/// Merging a partial object into a complete one, the update winning.
///
/// For each member of the update, in document order:
/// 1. an object is merged into the target's nested object, which is created when
///    it is missing; members that the update does not mention are kept;
/// 2. an array of instances: each is merged into the target's instance of the same
///    identifier, created when it is missing; instances that the update does not
///    mention are kept;
/// 3. any other value, other arrays included, replaces what was there. An equal
///    value keeps its place, a different one moves to the end of the object.
/// Nothing is ever removed, and null counts as absent where 1 and 2 create.

namespace OrvoConfigStore {

/// Merges `update` into `target` in place. An empty update changes nothing; an
/// empty target becomes the update itself, shared and not copied. What is added
/// is allocated in `document`, the target's own when that is empty.
///
/// Which arrays hold instances is what the `schema` of their type says at their place;
/// what it does not describe, and all without it, goes by the name alone, as the
/// target's id map has it, and an object of such a name is refused.
///
/// Throws ConfigStoreException(2000) "Invalid JSON" where the data is no object
/// or an array of instances holds something else, 1032 for an identifier that is
/// no string; the target is then partly merged.
void UpdateConfigInternal(const std::shared_ptr<ConfigStoreObject>& update, std::shared_ptr<ConfigStoreObject>& target,
                          std::shared_ptr<JsonDoc> document, const OrvoSchemaStore::SchemaObject* schema = nullptr);

}  // namespace OrvoConfigStore
