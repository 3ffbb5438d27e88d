#pragma once

#include <sqlite3.h>
#include <sys/types.h>

#include <memory>
#include <string>

/// Opening the host's databases. Names are the host's own paths and never URIs.

namespace DBStore {

struct DatabaseCloser {
  void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
};
using Database = std::unique_ptr<sqlite3, DatabaseCloser>;

/// Which file a path names.
struct FileIdentity {
  dev_t device = 0;
  ino_t inode = 0;
  bool operator==(const FileIdentity& other) const { return device == other.device && inode == other.inode; }
};

/// Looks at the last component of `path` itself. Returns SQLITE_OK and the
/// identity of a regular file, SQLITE_NOTFOUND when nothing is there, and
/// otherwise the code that says why the path cannot be a database.
int IdentifyFile(const std::string& path, FileIdentity* identity);

enum class Access {
  ReadWrite,  ///< falls back to reading where writing is not allowed
  ReadOnly,   ///< may leave the side files of a write-ahead log behind
  ReadAlone,  ///< of a file that nobody writes: no lock is taken, no side file looked at
};

/// What becomes of a missing file: it is recorded, or also logged as a failure.
enum class WhenMissing { Record, Report };

/// Opens the file at `path` with the settings that every connection has: the
/// schema is not trusted, and no extension, memory mapping, recursive trigger
/// or temporary file is used. Returns an empty pointer, the reason recorded,
/// when that fails. `identity` (may be null) gets which file was opened.
Database OpenDatabase(const std::string& path, Access access, WhenMissing whenMissing, FileIdentity* identity);

/// Opens an empty database in memory, with the same settings.
Database OpenInMemory();

/// Copies all pages of a database over those of one in memory, which has no log and
/// takes those of one that has. Returns SQLite's code.
int CopyIntoMemory(sqlite3* from, sqlite3* memory);

}  // namespace DBStore
