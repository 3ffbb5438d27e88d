#pragma once

#include <sqlite3.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// What the same work costs at least: the same rows in a file of the same
/// tables, read and written through prepared statements with bound values, in
/// the same journal mode (write-ahead log, synchronous=FULL).

namespace bench {

struct FloorRow {
  std::string instance;
  std::string text;
};

/// A second store, a page by page copy of the library's, used through SQLite alone.
/// Failures throw std::runtime_error.
class Floor {
 public:
  /// Copies `storeFile` to `path` and opens the copy.
  Floor(const std::string& storeFile, const std::string& path);
  /// Opens a copy that was made before.
  explicit Floor(const std::string& path);

  /// Opens the copy at `path`, reads one row and closes it.
  static void ReadOnce(const std::string& path, const std::string& instance);

  /// Reads the columns of a row that the library reads, and hands the object's
  /// text to `visit`.
  template <class Visit>
  void Read(const std::string& instance, Visit visit) {
    Bind(*select_, 4, instance);
    ForEachRow(*select_, visit);
  }

  /// Reads all instances likewise.
  template <class Visit>
  void ReadAll(Visit visit) {
    ForEachRow(*selectAll_, visit);
  }

  /// Inserts or replaces a row, in a transaction of its own unless one is open.
  void Write(const FloorRow& row);
  /// Sets the text of a row that exists.
  void Update(const FloorRow& row);
  /// Replaces all instances in one transaction.
  void ReplaceAll(const std::vector<FloorRow>& rows);

 private:
  template <class Handle, int (*End)(Handle*)>
  struct Ender {
    void operator()(Handle* handle) const { End(handle); }
  };
  using Database = std::unique_ptr<sqlite3, Ender<sqlite3, sqlite3_close>>;
  using Statement = std::unique_ptr<sqlite3_stmt, Ender<sqlite3_stmt, sqlite3_finalize>>;

  static constexpr int kValueColumn = 2;

  static void Copy(const std::string& storeFile, const std::string& path);
  static Database Open(const std::string& path, int flags);
  static void Check(bool holds);
  Statement Prepare(const char* sql) const;
  void Execute(const char* sql) const;
  static void Bind(sqlite3_stmt& statement, int index, std::string_view text);
  static void Run(sqlite3_stmt& statement);

  template <class Visit>
  static void ForEachRow(sqlite3_stmt& statement, Visit visit) {
    int code = sqlite3_step(&statement);
    for (; code == SQLITE_ROW; code = sqlite3_step(&statement)) visit(TextOfRow(statement));
    Check(code == SQLITE_DONE);
    sqlite3_reset(&statement);
  }
  static std::string_view TextOfRow(sqlite3_stmt& statement);

  Database database_;
  Statement select_, selectAll_, insert_, update_, deleteAll_;
};

}  // namespace bench
