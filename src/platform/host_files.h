#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <vector>

/// Files and directories of the host, found under the host root. Functions that
/// return an int give 0 or the errno.

namespace HaldenLib {

/// Removes the file, or the link, at `path`.
int RemoveFile(const std::string& path);

/// Removes what lies beside the database file at `path` and belongs to it: its
/// journal, its log and the log's index.
void RemoveSideFiles(const std::string& path);

/// Makes the file at `path` one that its owner alone may read and write.
int KeepToOwner(const std::string& path);

/// Creates what is missing of the directory `path` (0700 each).
int MakeDirectories(const std::string& path);

/// Whether there is a directory at `path`, or a link to one.
bool IsDirectory(const std::string& path);

/// Whether a file system is mounted at the directory `path`.
bool IsMountPoint(const std::string& path);

/// Reads the names in the directory `path`, sorted, without those that begin
/// with a dot.
int ListDirectory(const std::string& path, std::vector<std::string>* names);

/// Reads the regular file at `path`; EFBIG when it has more than `most` bytes.
int ReadFile(const std::string& path, size_t most, std::string* content);

/// As ReadFile, of what is at the real path `path`: a file, or a pipe to its end.
int ReadRealFile(const std::string& path, size_t most, std::string* content);

/// Appends `text` to the file at `path`, which is created with its directories.
int AppendToFile(const std::string& path, const std::string& text);

/// Copies the regular file `name`, a relative path, from the directory
/// `fromDirectory` to the same place below `toDirectory`; directories missing
/// there are created (0755). The old file is replaced in one step, once the new
/// one is on the disk; its mode is that of the copied one, and its owner where
/// that may be given. Below the two directories no link is followed or
/// replaced, and a name with a part ".." is refused (EINVAL).
int CopyBelow(const std::string& fromDirectory, const std::string& toDirectory, const std::string& name);

}  // namespace HaldenLib
