#include "validation/action_rules.h"

#include <utility>

#include "configstore/json_document.h"
#include "configstore/logging.h"
#include "configstore/validation.h"
#include "platform/json_reader.h"
#include "platform/json_values.h"
#include "validation/walk.h"

namespace OrvoConfigStore {
namespace {

// One rule per kind of write: the checks are the whole difference between them.
struct ActionRule {
  CSErrorCodes code;
  CheckSelection checks;
};

// For kinds that return what is wrong instead of throwing it.
constexpr CSErrorCodes kNeverThrown = CS_GENERAL;

// Indexed by WriteKind. Deliberate: a failed cached write reports the code of the
// default configuration.
constexpr ActionRule kActionRules[] = {
    // DefaultConfig
    {CS_DEFAULT_CONFIG_INVALID,
     {CHECK_ADDITIONAL_PROPERTIES, CHECK_SCALAR_TYPES, CHECK_REQUIRED, CHECK_OPTION_DEPENDENCY,
      CHECK_ASSIGN_GENERATED_ID}},
    // Cached
    {CS_DEFAULT_CONFIG_INVALID,
     {CHECK_ADDITIONAL_PROPERTIES, CHECK_SCALAR_TYPES, CHECK_CACHED_ONLY, CHECK_GENERATED_ID_DUPLICATES}},
    // Vital
    {CS_VITAL_CONFIG_INVALID,
     {CHECK_ADDITIONAL_PROPERTIES, CHECK_SCALAR_TYPES, CHECK_VITAL_ONLY, CHECK_GENERATED_ID_DUPLICATES}},
    // User
    {CS_USER_CONFIG_INVALID,
     {CHECK_ADDITIONAL_PROPERTIES, CHECK_NON_USER_MARKERS, CHECK_REQUIRED, CHECK_SCALAR_TYPES, CHECK_OPTION_DEPENDENCY,
      CHECK_GENERATED_ID_DUPLICATES}},
    // Partial
    {CS_PARTIAL_CONFIG_INVALID, {CHECK_ADDITIONAL_PROPERTIES, CHECK_SCALAR_TYPES, CHECK_REQUIRED_NON_LAYERED}},
    // SetFromOutside
    {CS_SET_INVALID,
     {CHECK_ADDITIONAL_PROPERTIES, CHECK_SCALAR_TYPES, CHECK_GENERATED_ID_DUPLICATES, CHECK_REQUIRED_NON_LAYERED,
      CHECK_OPTION_DEPENDENCY}},
    // SetByHost
    {CS_SET_INVALID, {CHECK_ADDITIONAL_PROPERTIES, CHECK_SCALAR_TYPES, CHECK_GENERATED_ID_DUPLICATES}},
    // Update
    {CS_UPDATE_INVALID, {CHECK_ADDITIONAL_PROPERTIES, CHECK_SCALAR_TYPES}},
    // ApplyFile
    {CS_APPLY_FILE_INVALID, {CHECK_ADDITIONAL_PROPERTIES, CHECK_SCALAR_TYPES}},
    // Auto
    {CS_AUTO_CONFIG_INVALID,
     {CHECK_ADDITIONAL_PROPERTIES, CHECK_NON_USER_MARKERS, CHECK_SCALAR_TYPES, CHECK_GENERATED_ID_DUPLICATES}},
    // SingleObject
    {kNeverThrown,
     {CHECK_ADDITIONAL_PROPERTIES, CHECK_SCALAR_TYPES, CHECK_NON_USER_MARKERS, CHECK_REQUIRED, CHECK_OPTION_DEPENDENCY,
      CHECK_GENERATED_ID_DUPLICATES}},
    // ImportDocument
    {kNeverThrown,
     {CHECK_ADDITIONAL_PROPERTIES, CHECK_SCALAR_TYPES, CHECK_REQUIRED_NON_LAYERED, CHECK_ASSIGN_GENERATED_ID,
      CHECK_OPTION_DEPENDENCY}},
    // Document
    {kNeverThrown,
     {CHECK_ADDITIONAL_PROPERTIES, CHECK_SCALAR_TYPES, CHECK_NON_USER_MARKERS, CHECK_REQUIRED,
      CHECK_ASSIGN_GENERATED_ID, CHECK_OPTION_DEPENDENCY}},
};

const ActionRule& RuleOf(WriteKind kind) {
  return kActionRules[static_cast<size_t>(kind)];
}

std::string TextMember(const JsonValue& entry, const char* name) {
  const JsonValue* text = FindValue(entry, name);
  if (text == nullptr) ThrowInvalidJson();
  return std::string(TextOf(*text));
}

void ThrowIfAny(WriteKind kind, std::vector<ErrorInfo> violations) {
  if (!violations.empty()) ThrowValidation(RuleOf(kind).code, std::move(violations));
}

std::vector<ErrorInfo> FindViolations(WriteKind kind, SchemaNode& schema, const JsonValue& data,
                                      JsonAllocator& allocator) {
  JsonStorage errors;
  Validate(schema, data, RuleOf(kind).checks, allocator, errors.document);
  return ErrorArrayToErrorInfos(errors.document);
}

// What the object holds: the value that its handle leads to, and its document's allocator.
std::vector<ErrorInfo> FindViolations(WriteKind kind, const SchemaObject& schema, const JsonDoc& data) {
  return FindViolations(kind, ObjectNodeOf(schema), *data.GetJsonValuePtr(), data.document->GetAllocator());
}

std::vector<ErrorInfo> ViolationsOf(WriteKind kind, const SchemaObject& schema, ConfigStoreObject& object) {
  const std::shared_ptr<const JsonDoc> data = GetJsonDocPtrEx(&object);
  if (!data->GetJsonValuePtr()->IsObject()) {
    ThrowException<InvalidTypeException>(CS_TYPE_INVALID, "Expected Object.");
  }
  return FindViolations(kind, schema, *data);
}

void Enforce(WriteKind kind, const SchemaObject& schema, ConfigStoreObject& object) {
  ThrowIfAny(kind, ViolationsOf(kind, schema, object));
}

WriteKind SetBy(const USERDATA_CONTEXT& context) {
  return context.kind == USERDATA_CONTEXT::EXTERNAL ? WriteKind::SetFromOutside : WriteKind::SetByHost;
}

}  // namespace

const CheckSelection& ChecksOf(WriteKind kind) {
  return RuleOf(kind).checks;
}

std::vector<ErrorInfo> FindViolations(WriteKind kind, const JsonValue& schema, const JsonValue& data,
                                      JsonAllocator& allocator) {
  SchemaNode node(schema);
  return FindViolations(kind, node, data, allocator);
}

std::vector<ErrorInfo> ErrorArrayToErrorInfos(const JsonValue& errors) {
  std::vector<ErrorInfo> infos;
  for (const JsonValue& entry : errors.GetArray()) {
    infos.push_back({TextMember(entry, "field"), TextMember(entry, "error")});
  }
  return infos;
}

void ValidateCachedConfig(std::shared_ptr<SchemaObject> schema, std::shared_ptr<ConfigStoreObject> object) {
  Enforce(WriteKind::Cached, *schema, *object);
}

void ValidateVitalConfig(std::shared_ptr<SchemaObject> schema, std::shared_ptr<ConfigStoreObject> object) {
  Enforce(WriteKind::Vital, *schema, *object);
}

void ValidateUserConfig(std::shared_ptr<SchemaObject> schema, std::shared_ptr<ConfigStoreObject> object) {
  Enforce(WriteKind::User, *schema, *object);
}

void ValidateAutoConfig(std::shared_ptr<SchemaObject> schema, std::shared_ptr<ConfigStoreObject> object) {
  Enforce(WriteKind::Auto, *schema, *object);
}

void ValidateUpdate(std::shared_ptr<SchemaObject> schema, std::shared_ptr<ConfigStoreObject> object) {
  Enforce(WriteKind::Update, *schema, *object);
}

void ValidatePartialConfig(std::shared_ptr<SchemaObject> schema, std::shared_ptr<ConfigStoreObject> object) {
  Enforce(WriteKind::Partial, *schema, *object);
}

void ValidateSetByContext(std::shared_ptr<SchemaObject> schema, std::shared_ptr<ConfigStoreObject> object,
                          const USERDATA_CONTEXT& context) {
  Enforce(SetBy(context), *schema, *object);
}

std::vector<ErrorInfo> ViolationsBySet(const std::shared_ptr<SchemaObject>& schema,
                                       const std::shared_ptr<ConfigStoreObject>& object,
                                       const USERDATA_CONTEXT& context) {
  return ViolationsOf(SetBy(context), *schema, *object);
}

void ValidateDefaultConfig(const JsonValue& schema, const JsonValue& data, JsonAllocator& allocator) {
  ThrowIfAny(WriteKind::DefaultConfig, FindViolations(WriteKind::DefaultConfig, schema, data, allocator));
}

void ValidateApplyFile(const JsonDocument& data, const JsonValue& schema) {
  ThrowIfAny(WriteKind::ApplyFile, FindViolations(WriteKind::ApplyFile, schema, data, CallersOwn(data).GetAllocator()));
}

bool validateObject(std::shared_ptr<ConfigStoreObject> object, ACTION action, std::vector<ErrorInfo>& errors,
                    std::string prefix) {
  const ConfigStoreObjectId& id = object->GetId();
  const auto schema = OrvoSchemaStore::SchemaStore::GetStore()->GetSchema(id.component, id.group, id.key);
  if (schema == nullptr) {
    CSLogger::LogErrCode(CSLogger::LOG_PRIORITY_ERROR, CS_SCHEMA_NOT_FOUND, id.toString().c_str());
    errors.push_back({prefix + "/" + id.toString(), "Schema not found."});
    return false;
  }
  if (action == ACTION_NONE || action == ACTION_DELETE) return true;
  const std::vector<ErrorInfo> found = FindViolations(WriteKind::SingleObject, *schema, *object->GetJsonDocPtr());
  errors.insert(errors.end(), found.begin(), found.end());
  if (found.empty()) {
    CSLogger::Log(CSLogger::LOG_PRIORITY_INFO, "validate completed successfully");
  } else {
    CSLogger::Log(CSLogger::LOG_PRIORITY_ERROR, "validate completed with errors");
  }
  return found.empty();
}

}  // namespace OrvoConfigStore
