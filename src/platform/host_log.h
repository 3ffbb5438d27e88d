#pragma once

#include <cstdarg>
#include <map>
#include <string>

/// The host's log service: outputs, levels, and the writing of lines.
///
/// Levels are numbers; the lower, the more severe. An output takes a line whose
/// level is at most its minimum level. A line is written with one write; what
/// cannot be written or allocated is dropped. Safe to call from any thread and
/// across a fork: an output goes on in the child.

namespace HaldenLib {

/// The program that logs: the name in a line's prefix and in syslog.
constexpr char kLogProgram[] = "ConfigStore";

enum LogLevel : int {
  LOG_LEVEL_ERROR = 110,
  LOG_LEVEL_WARNING = 115,
  LOG_LEVEL_INFO = 125,
  LOG_LEVEL_TRACE = 130,
};

/// Settings by name: "log.syslogID", "log.fileName", "log.suffix", "log.append",
/// "log.logMinLevel".
using Dictionary = std::map<std::string, std::string>;

class LogOutput;

/// Sets the service up with one output: to syslog as `identity`, or to the file
/// that `settings` name. A minimum level comes from the settings, else from the
/// preferences, else every line is taken. Replaces the output of an earlier
/// call. Returns false, and changes nothing, when the output cannot be opened.
bool Log_InitWithSyslogInt(const std::string& identity, const Dictionary& settings);
bool Log_InitWithFileInt(const std::string& identity, const Dictionary& settings);

/// Makes a file output; null when the file cannot be opened. It is opened for
/// appending, never through a link, 0600, and must be a regular file of our own
/// with no second name.
LogOutput* Log_NewFileOutput(const std::string& name, const Dictionary& settings);
/// Hands `output` to the service, which owns it from then on; false for null.
bool Log_AddOutput(LogOutput* output);
/// Puts `replacement` (may be null) in the place of `output` and destroys that
/// one; an output that the service does not have is left alone.
void Log_ReplaceOutput(LogOutput* output, LogOutput* replacement, int flags);

/// Lines up to `level` go to standard error as well; -1 for none.
void Log_SetStderrLevel(int level);
/// Tells a log service that heads its files with it which product logs. This
/// one writes no such line: every line begins with its prefix.
void Log_SetProductInfo(const std::string& name, const std::string& version, const std::string& build,
                        const std::string& option);
/// Removes and destroys every output.
void Log_Exit();

/// Whether any output takes lines of `level`.
bool Log_WouldWrite(int level);
/// Returns what a line of the calling thread begins with:
/// "[ConfigStore:PID:THREAD:] ". The thread is 1 in a process that has no other.
std::string Log_Prefix();
/// Formats and writes one line, printf style. Control bytes show as "?", but for
/// a newline at the format's end, which is left out. Keeps errno.
void LogV(int level, const char* format, va_list arguments);
/// As LogV, with the prefix.
void LogLine(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));

/// Writes a line with the prefix straight to syslog, whatever the outputs; for
/// failures of the log itself.
void Log_ToSyslog(int level, const std::string& text);

}  // namespace HaldenLib
