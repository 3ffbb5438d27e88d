#pragma once

#include <sqlite3.h>

#include <array>
#include <cstddef>
#include <vector>

namespace DBStore {

/// Where columns are among those of a statement, as far as they were asked for. Asked for
/// by constants, which are known by their address.
struct KnownColumns {
  struct Known {
    const char* column;
    int index;  // -1 for one that the statement does not have
  };
  std::array<Known, 12> known;
  size_t count = 0;
  size_t next = 0;  // probably asked for next: each row is asked for the same, in the same order
};

/// A row of a result as SQLite has it, valid until the callback that gets it returns.
struct RowCells {
  int columns;
  char** texts;  // null for NULL
  char** names;
  KnownColumns* known;  // the statement's
};

/// What a prepared statement knows of its columns. SQLite gives the names out one by one
/// and keeps them until it prepares the statement anew.
class Columns {
 public:
  /// To be called after the first step of a run: the names as they are now.
  std::vector<char*>& Names(sqlite3_stmt* statement);
  KnownColumns* Known() { return &known_; }

 private:
  std::vector<char*> names_;
  KnownColumns known_;
  int preparations_ = -1;  // as of the names
};

}  // namespace DBStore
