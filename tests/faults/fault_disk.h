#pragma once

#include <sqlite3.h>

#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

/// The disk as SQLite sees it, and what can be wrong with it. Passes everything
/// on to the real one until it is told otherwise. It becomes the default VFS, and
/// must be installed before the library, whose own VFS wraps the default, is used.
class FaultDisk {
 public:
  /// Installs the disk at the first call.
  static FaultDisk& Instance();

  enum Kind { IO_ERROR, FULL };
  /// Has the `at`th operation from now fail, and with `forGood` all after it. A
  /// full disk fails those operations alone that take space.
  void FailAt(long at, Kind kind, bool forGood);
  /// Ends the failing; returns whether any operation has failed.
  bool Heal();

  /// Notes from now on what has been changed and not been synced.
  void StartRecord();
  /// Leaves on the real disk what a loss of power at this moment would: what was
  /// synced, and of the rest a random part, writes torn into sectors. Names that
  /// were created or deleted survive in order. No database may be open.
  void LosePower(std::mt19937& random);

 private:
  struct Change {
    enum Kind { WRITE, TRUNCATE, CREATE, REMOVE } kind;
    sqlite3_int64 at;  // where it is written; the new size
    std::string bytes;
  };
  struct Record {
    std::optional<std::string> synced;
    std::vector<Change> pending;
  };
  struct File;
  struct Calls;

  FaultDisk();
  int Strike(int ioError, bool takesSpace);
  Record* Find(const char* path);
  static void Apply(const Change& change, std::optional<std::string>* content);
  static std::optional<std::string> Remains(const Record& record, std::mt19937& random);

  sqlite3_vfs* real_;
  sqlite3_vfs vfs_;
  bool isFailing_ = false;
  bool isRecording_ = false;
  bool forGood_ = false;
  bool hasStruck_ = false;
  Kind kind_ = IO_ERROR;
  long at_ = 0;
  long count_ = 0;
  std::map<std::string, Record> records_;
};
