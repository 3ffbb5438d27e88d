#include "errors/error_codes.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

#include "configstore/errors.h"

namespace OrvoConfigStore {

namespace {

struct ErrorMessage {
  int code;
  const char* format;
};

// Deliberate: two codes stand here twice, and the first row counts. There is no
// row for CS_CACHED_CONFIG_INVALID, because a failed cached write reports
// CS_DEFAULT_CONFIG_INVALID, and none for CS_GENERAL.
constexpr ErrorMessage kMessages[] = {
    {CS_DB_OPEN_FAILED, "Failed to open database %s"},
    {CS_DB_CONNECT_FAILED, "Failed to connect to database %s"},
    {CS_DB_DISCONNECT_FAILED, "Failed to disconnect from database %s"},
    {CS_DB_READ_FAILED, "Failed to read"},
    {CS_DB_WRITE_FAILED, "Failed to write"},
    {CS_DB_UPDATE_FAILED, "Failed to update"},
    {CS_DB_DELETE_FAILED, "Failed to delete from database"},
    {CS_DB_PREPARE_FAILED, "Failed to execute prepare call"},
    {CS_DB_STEP_FAILED, "Failed to execute step call"},
    {CS_DB_INTEGRITY_FAILED, "Failed integrity check on the database"},
    {CS_DB_BEGIN_FAILED, "Failed to start transaction"},
    {CS_DB_COMMIT_FAILED, "Failed to commit transaction"},
    {CS_DB_ROLLBACK_FAILED, "Failed to rollback transaction"},
    {CS_DB_CANCEL_FAILED, "Failed to cancel transaction"},
    {CS_DB_TABLE_FAILED, "Failed to create table"},
    {CS_DB_TRIGGER_FAILED, "Failed to create trigger"},
    {CS_DB_BIND_FAILED, "Failed to bind"},
    {CS_DB_TYPE_INVALID, "Invalid database type"},
    {CS_TYPE_INVALID, "Invalid type, %s"},
    {CS_TYPE_INVALID, "Invalid key %s"},  // never used
    {CS_KEY_NOT_FOUND, "Key not found"},
    {CS_KEY_VALUE_INVALID, "Invalid value for key %s"},
    {CS_GET_VALUE_FAILED, "Failed to get value for key %s"},
    {CS_SET_VALUE_FAILED, "Failed to set value for key %s"},
    {CS_CODING_FAILED, "Failed to encode/decode value for key %s"},
    {CS_OBJECT_NOT_FOUND, "Configuration object not found: %s"},
    {CS_SCHEMA_NOT_FOUND, "Schema object not found: %s"},
    {CS_FILTER_NOT_FOUND, "FilterSpec object not found: %s"},
    {CS_SUBOBJECT_FILTER_NOT_FOUND, "Failed to find subobject filter: %s"},
    {CS_OBJECT_EMPTY, "%s: Configuration object is empty"},
    {CS_FILTER_EMPTY, "%s: FilterSpec object is empty"},
    {CS_OBJECT_EXISTS, "Configuration object already exists: %s"},
    {CS_FILTER_EXISTS, "FilterSpec object already exists: %s"},
    {CS_SUBOBJECT_FILTER_UNSUPPORTED, "Non-Singleton SubObject filtering is not supported"},
    {CS_NOT_SINGLETON, "Not a Singleton object: %s"},
    {CS_NOT_NON_SINGLETON, "Not a Non-Singleton object: %s"},
    {CS_SINGLETON_IN_INSTANCE_CALL, "Non-Singleton API called for singleton object: %s"},
    {CS_INSTANCE_ID_MISSING, "Non-Singleton object should contain instanceId: %s"},
    {CS_INSTANCE_ID_UNEXPECTED, "Singleton object cannot contain instanceId: %s"},
    {CS_EXTERNAL_DURING_BOOT, "API cannot be invoked with EXTERNAL context during boot"},
    {CS_SET_FAILED, "Set operation failed: %s"},
    {CS_GET_FAILED, "Get operation failed: %s"},
    {CS_UPDATE_FAILED, "Update operation failed: %s"},
    {CS_DELETE_FAILED, "Delete operation failed: %s"},
    {CS_IMPORT_FAILED, "Import operation failed"},
    {CS_EXPORT_FAILED, "Export operation failed"},
    {CS_UPGRADE_FAILED, "Upgrade operation failed"},
    {CS_SET_DESIRED_FAILED, "Set Desired operation failed"},
    {CS_BOOT_STATUS_FAILED, "Set Boot Status operation failed"},
    {CS_PARTIAL_BOOT_STATUS_FAILED, "Set Partial Boot Status operation failed"},
    {CS_JSON_STRING_INVALID, "Failed to parse JSON String"},
    {CS_JSON_FILE_INVALID, "Failed to parse JSON file %s"},
    {CS_JSON_INVALID, "Invalid JSON"},
    {CS_VALIDATION_ERROR, "Validation Error: '%s' %s"},
    {CS_DEFAULT_CONFIG_INVALID, "Failed to validate Default config"},
    {CS_DEFAULT_CONFIG_INVALID, "Failed to validate Cached config"},  // never used
    {CS_VITAL_CONFIG_INVALID, "Failed to validate Vital config"},
    {CS_USER_CONFIG_INVALID, "Failed to validate User config"},
    {CS_PARTIAL_CONFIG_INVALID, "Failed to validate Partial config"},
    {CS_SET_INVALID, "Failed to validate Set"},
    {CS_UPDATE_INVALID, "Failed to validate Update"},
    {CS_APPLY_FILE_INVALID, "Failed to validate Apply JSON file"},
    {CS_AUTO_CONFIG_INVALID, "Failed to validate Auto config"},
    {CS_ARGUMENT_INVALID, "Invalid Argument"},
    {CS_MEMORY_FAILED, "Failed to reserve memory"},
    {CS_FORK_EXEC_FAILED, "HaldenKernel_ForkExec failed, errno: %s"},
    {CS_CHILD_WAIT_FAILED, "Failed to wait for child process: %d, errno: %s"},
    {CS_CHILD_EXIT_STATUS, "Child process terminated with exit value: %d"},
    {CS_INTERNAL_ERROR, "ConfigStore internal error"},
};

}  // namespace

const char* MessageFormat(int code) {
  const auto row = std::find_if(std::begin(kMessages), std::end(kMessages),
                                [code](const ErrorMessage& message) { return message.code == code; });
  // The text that callers compare with, whatever the standard library's maps say.
  if (row == std::end(kMessages)) throw std::out_of_range("_Map_base::at");
  return row->format;
}

}  // namespace OrvoConfigStore
