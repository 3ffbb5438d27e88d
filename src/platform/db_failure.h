#pragma once

#include <string>
#include <string_view>

/// How the database functions fail: the thread's record of what went wrong
/// (DBStore::LastFailure) and one line in the log.

namespace DBStore {

/// Records that nothing failed.
void ClearFailure();

/// Records a failure that is no event of its own, such as a missing file.
/// `code` is SQLite's; `file` the host's path.
void RecordFailure(int code, const std::string& words, const std::string& file);

/// Records a failure and logs it; returns 1, the result of a failed call.
/// Neither holds a value: the statement is cut before its first literal, and
/// words that quote a piece of the statement give way to the code's own.
int ReportFailure(int code, const std::string& words, const std::string& file, std::string_view statement = {});

/// Keeps the failure on record as why the thread's last connection could not be had.
void KeepOpenFailure();

/// Records what was kept again; false when nothing was.
bool RecallOpenFailure();

}  // namespace DBStore
