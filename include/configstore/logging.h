#pragma once

#include <string>

#include "configstore/errors.h"
#include "configstore/export.h"

/// The library's log. Every line begins "[ConfigStore:PID:THREAD:] ".
///
/// Before LogInit and after LogExit a line goes only to the files that
/// AddFileLogger has added. A line that cannot be written is dropped: no
/// function here throws for a failed output.
namespace CSLogger {

/// How much a line matters, most first.
enum log_priority {
  LOG_PRIORITY_ERROR = 0,
  LOG_PRIORITY_WARNING = 1,
  LOG_PRIORITY_INFO = 2,
  LOG_PRIORITY_TRACE = 3,
};

/// Sets logging up for the process: to syslog as "ConfigStore" when `name` is
/// empty, else appending to the file NAME.log in the host's log directory.
/// A name that holds "/" is refused with a line in syslog, and nothing is set up.
CONFIGSTORE_API void LogInit(std::string name);

/// Adds a file that takes priorities 0 and 1 and returns its handle, valid until
/// RemoveFileLogger or LogExit. Returns null for an empty name, for one that
/// holds "/", or when the file cannot be opened (reported to syslog).
CONFIGSTORE_API void* AddFileLogger(std::string name);

/// Removes a file that AddFileLogger added; null does nothing.
CONFIGSTORE_API void RemoveFileLogger(void* output);

/// Ends logging and closes every output.
CONFIGSTORE_API void LogExit();

/// Whether any output takes lines of `priority`: a caller whose arguments are
/// costly to build asks first.
CONFIGSTORE_API bool WouldLog(log_priority priority);

/// Logs a line, printf style.
CONFIGSTORE_API void Log(log_priority priority, const char* format, ...) __attribute__((format(printf, 2, 3)));

/// As Log, tagged with the name of a database.
CONFIGSTORE_API void DBLog(std::string& dbName, log_priority priority, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

/// Logs the message of `code`, tagged "[CODE]", its format filled from the
/// arguments. A code without a format throws std::out_of_range("_Map_base::at").
CONFIGSTORE_API void LogErrCode(log_priority priority, OrvoConfigStore::CSErrorCodes code, ...);

/// Logs the calling thread's backtrace, base64 coded, at priority 2.
CONFIGSTORE_API void LogBacktrace();

}  // namespace CSLogger
