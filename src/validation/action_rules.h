#pragma once

#include <memory>
#include <string>
#include <vector>

#include "configstore/config_store_object.h"
#include "configstore/context.h"
#include "configstore/errors.h"
#include "configstore/json_types.h"
#include "platform/schema_store.h"

/// Validation by kind of write: which checks each asks for, and how it fails.
///
/// The entry points that return nothing throw ValidationException with every
/// violation and the code of their kind, and InvalidTypeException(1030) when the
/// object's data is no JSON object. All throw ConfigStoreException(2000,
/// "Invalid JSON") when the schema is unusable. An object is validated against
/// the schema's node of one object. Pointers must not be empty.

namespace OrvoConfigStore {

using OrvoSchemaStore::SchemaObject;

class CheckSelection;

/// The kinds of write, each with its selection of checks.
enum class WriteKind {
  DefaultConfig,
  Cached,
  Vital,
  User,
  Partial,
  SetFromOutside,
  SetByHost,
  Update,
  ApplyFile,
  Auto,
  SingleObject,
  ImportDocument,
  Document,
};

/// Returns the checks of a kind of write.
const CheckSelection& ChecksOf(WriteKind kind);

/// Validates `data` as `kind` does and returns what is wrong. `allocator` is
/// that of the document that holds `data`, which kinds that assign generated
/// identifiers change.
std::vector<ErrorInfo> FindViolations(WriteKind kind, const JsonValue& schema, const JsonValue& data,
                                      JsonAllocator& allocator);

/// Returns the errors of a validation as records, in their order. Throws
/// ConfigStoreException(2000, "Invalid JSON") for an entry without the two texts.
std::vector<ErrorInfo> ErrorArrayToErrorInfos(const JsonValue& errors);

void ValidateCachedConfig(std::shared_ptr<SchemaObject> schema, std::shared_ptr<ConfigStoreObject> object);
void ValidateVitalConfig(std::shared_ptr<SchemaObject> schema, std::shared_ptr<ConfigStoreObject> object);
void ValidateUserConfig(std::shared_ptr<SchemaObject> schema, std::shared_ptr<ConfigStoreObject> object);
void ValidateAutoConfig(std::shared_ptr<SchemaObject> schema, std::shared_ptr<ConfigStoreObject> object);
void ValidateUpdate(std::shared_ptr<SchemaObject> schema, std::shared_ptr<ConfigStoreObject> object);
void ValidatePartialConfig(std::shared_ptr<SchemaObject> schema, std::shared_ptr<ConfigStoreObject> object);

/// A whole object with all its layers; an outside caller must bring the required
/// members and obey the union tags, the host need not.
void ValidateSetByContext(std::shared_ptr<SchemaObject> schema, std::shared_ptr<ConfigStoreObject> object,
                          const USERDATA_CONTEXT& context);

/// What the one above would throw for.
std::vector<ErrorInfo> ViolationsBySet(const std::shared_ptr<SchemaObject>& schema,
                                       const std::shared_ptr<ConfigStoreObject>& object,
                                       const USERDATA_CONTEXT& context);

/// One value of a default-configuration file. Gives objects the generated
/// identifier that they lack, from `allocator`, that of the document of `data`.
void ValidateDefaultConfig(const JsonValue& schema, const JsonValue& data, JsonAllocator& allocator);

/// Deliberate: the data comes first.
void ValidateApplyFile(const JsonDocument& data, const JsonValue& schema);

/// What is to happen to an object of a document.
enum ACTION {
  ACTION_NONE = 0,
  ACTION_SET = 1,
  ACTION_UPDATE = 2,
  ACTION_DELETE = 3,
};

/// Validates an object of a document with the schema of its type, appends what is
/// wrong to `errors` and returns whether nothing was; an unknown type is an
/// error, its field below `prefix`. Where nothing is written nothing is validated.
bool validateObject(std::shared_ptr<ConfigStoreObject> object, ACTION action, std::vector<ErrorInfo>& errors,
                    std::string prefix);

}  // namespace OrvoConfigStore
