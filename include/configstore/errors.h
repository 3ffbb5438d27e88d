#pragma once

#include <cstdarg>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "configstore/export.h"

namespace HostCtl::Lib {

/// An observation that host-control code may attach to a failure.
class CONFIGSTORE_API ZebMessage {
 public:
  explicit ZebMessage(std::string text);
  const std::string& GetText() const;
  /// Puts `text` in front of what the observation says.
  void Prepend(const std::string& text);

 private:
  std::string text_;
};

/// The root of all exceptions that cross a host-control interface.
class CONFIGSTORE_API HostCtlException : public std::exception {
 public:
  explicit HostCtlException(const char* message);
  ~HostCtlException() override;
  HostCtlException(const HostCtlException&) = default;
  HostCtlException& operator=(const HostCtlException&) = default;

  /// Returns the message; it lives as long as the exception.
  const char* what() const noexcept override;

  /// Returns the observation's text with the message in front of it, or the
  /// message alone when there is no observation.
  std::string GetDetailedMessage() const;

 protected:
  std::string message_;
  std::shared_ptr<ZebMessage> observation_;
};

}  // namespace HostCtl::Lib

namespace OrvoConfigStore {

/// The numbered failures. Each code below CS_GENERAL, but for
/// CS_CACHED_CONFIG_INVALID, has a printf format in the message table.
enum CSErrorCodes : int {
  CS_DB_OPEN_FAILED = 1001,
  CS_DB_CONNECT_FAILED = 1002,
  CS_DB_DISCONNECT_FAILED = 1003,
  CS_DB_READ_FAILED = 1004,
  CS_DB_WRITE_FAILED = 1005,
  CS_DB_UPDATE_FAILED = 1006,
  CS_DB_DELETE_FAILED = 1007,
  CS_DB_PREPARE_FAILED = 1008,
  CS_DB_STEP_FAILED = 1009,
  CS_DB_INTEGRITY_FAILED = 1010,
  CS_DB_BEGIN_FAILED = 1011,
  CS_DB_COMMIT_FAILED = 1012,
  CS_DB_ROLLBACK_FAILED = 1013,
  CS_DB_CANCEL_FAILED = 1014,
  CS_DB_TABLE_FAILED = 1015,
  CS_DB_TRIGGER_FAILED = 1016,
  CS_DB_BIND_FAILED = 1017,
  CS_DB_TYPE_INVALID = 1018,
  CS_TYPE_INVALID = 1030,
  CS_KEY_NOT_FOUND = 1031,
  CS_KEY_VALUE_INVALID = 1032,
  CS_GET_VALUE_FAILED = 1033,
  CS_SET_VALUE_FAILED = 1034,
  CS_CODING_FAILED = 1035,
  CS_OBJECT_NOT_FOUND = 1036,
  CS_SCHEMA_NOT_FOUND = 1037,
  CS_FILTER_NOT_FOUND = 1038,
  CS_SUBOBJECT_FILTER_NOT_FOUND = 1039,
  CS_OBJECT_EMPTY = 1040,
  CS_FILTER_EMPTY = 1041,
  CS_OBJECT_EXISTS = 1042,
  CS_FILTER_EXISTS = 1043,
  CS_SUBOBJECT_FILTER_UNSUPPORTED = 1044,
  CS_NOT_SINGLETON = 1045,
  CS_NOT_NON_SINGLETON = 1046,
  CS_SINGLETON_IN_INSTANCE_CALL = 1047,
  CS_INSTANCE_ID_MISSING = 1048,
  CS_INSTANCE_ID_UNEXPECTED = 1049,
  CS_EXTERNAL_DURING_BOOT = 1050,
  CS_SET_FAILED = 1051,
  CS_GET_FAILED = 1052,
  CS_UPDATE_FAILED = 1053,
  CS_DELETE_FAILED = 1054,
  CS_IMPORT_FAILED = 1055,
  CS_EXPORT_FAILED = 1056,
  CS_UPGRADE_FAILED = 1057,
  CS_SET_DESIRED_FAILED = 1058,
  CS_BOOT_STATUS_FAILED = 1059,
  CS_PARTIAL_BOOT_STATUS_FAILED = 1060,
  CS_JSON_STRING_INVALID = 1080,
  CS_JSON_FILE_INVALID = 1081,
  CS_JSON_INVALID = 1082,
  CS_VALIDATION_ERROR = 1083,
  CS_DEFAULT_CONFIG_INVALID = 1084,
  CS_CACHED_CONFIG_INVALID = 1085,
  CS_VITAL_CONFIG_INVALID = 1086,
  CS_USER_CONFIG_INVALID = 1087,
  CS_PARTIAL_CONFIG_INVALID = 1088,
  CS_SET_INVALID = 1089,
  CS_UPDATE_INVALID = 1090,
  CS_APPLY_FILE_INVALID = 1091,
  CS_AUTO_CONFIG_INVALID = 1092,
  CS_ARGUMENT_INVALID = 1100,
  CS_MEMORY_FAILED = 1101,
  CS_FORK_EXEC_FAILED = 1102,
  CS_CHILD_WAIT_FAILED = 1103,
  CS_CHILD_EXIT_STATUS = 1104,
  CS_INTERNAL_ERROR = 1105,
  /// Failures whose text is composed where they occur; never looked up.
  CS_GENERAL = 2000,
};

/// Every failure of the library. Constructing one logs it at priority 0 with
/// its code, then a backtrace; copying one logs nothing.
class CONFIGSTORE_API ConfigStoreException : public HostCtl::Lib::HostCtlException {
 public:
  ConfigStoreException(int code, const char* message);
  ~ConfigStoreException() override;
  ConfigStoreException(const ConfigStoreException&) = default;
  ConfigStoreException& operator=(const ConfigStoreException&) = default;

  /// Returns one of CSErrorCodes.
  int GetErrorCode() const;

  /// Returns "Error Code: N" and "Message: TEXT", a line each.
  std::string toString() const;

 private:
  int code_;
};

/// A bad argument: an empty key, a null value, a text that is not JSON.
class CONFIGSTORE_API InvalidArgumentException : public ConfigStoreException {
 public:
  using ConfigStoreException::ConfigStoreException;
  ~InvalidArgumentException() override;
  InvalidArgumentException(const InvalidArgumentException&) = default;
  InvalidArgumentException& operator=(const InvalidArgumentException&) = default;
};

/// A value whose JSON type is not the one asked for.
class CONFIGSTORE_API InvalidTypeException : public ConfigStoreException {
 public:
  using ConfigStoreException::ConfigStoreException;
  ~InvalidTypeException() override;
  InvalidTypeException(const InvalidTypeException&) = default;
  InvalidTypeException& operator=(const InvalidTypeException&) = default;
};

/// One violation: where in the object, and what is wrong.
struct ErrorInfo {
  std::string field;  ///< path of the value, "/network/mtu"; empty for the root
  std::string error;  ///< the rule that it breaks; never holds the value itself
};

/// An object or identifier that its type's schema does not allow. Nothing has
/// been written when one is thrown.
class CONFIGSTORE_API ValidationException : public ConfigStoreException {
 public:
  ValidationException(int code, const char* message, const std::vector<ErrorInfo>& errors);
  ~ValidationException() override;
  ValidationException(const ValidationException&) = default;
  ValidationException& operator=(const ValidationException&) = default;

  /// Returns every violation, in the order found; may be empty.
  const std::vector<ErrorInfo>& GetErrors() const;

  /// Returns the base text, then "Details: " and a line per violation when
  /// there are any.
  std::string toString() const;

 private:
  std::vector<ErrorInfo> errors_;
};

/// Throws a T with the message of `code`, its format filled from the arguments.
/// T is ConfigStoreException, InvalidArgumentException or InvalidTypeException.
/// A code without a format throws std::out_of_range("_Map_base::at") instead.
template <class T>
[[noreturn]] void ThrowException(CSErrorCodes code, ...);

extern template CONFIGSTORE_API void ThrowException<ConfigStoreException>(CSErrorCodes code, ...);
extern template CONFIGSTORE_API void ThrowException<InvalidArgumentException>(CSErrorCodes code, ...);
extern template CONFIGSTORE_API void ThrowException<InvalidTypeException>(CSErrorCodes code, ...);

/// As ThrowException, with a ValidationException that carries `errors`.
[[noreturn]] CONFIGSTORE_API void ThrowValidation(CSErrorCodes code, std::vector<ErrorInfo> errors, ...);

}  // namespace OrvoConfigStore
