#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// Database access: connections, statements and transactions over SQLite.
///
/// Results are integers: 0 is success, 1 a failure, which has then been logged;
/// no function throws but for std::bad_alloc. A connection is used from one
/// thread at a time. A forked child that inherits one works on a connection of
/// its own, and a transaction that was open at the fork fails there.

namespace DBStore {

enum Type : int {
  TYPE_STORE = 0,         ///< the configuration store
  TYPE_SCHEMA_STORE = 1,  ///< the schema store
};

/// What a bound value is: SQLite's type codes.
enum ValueType : int {
  VALUE_INTEGER = 1,
  VALUE_TEXT = 3,
  VALUE_NULL = 5,
};

/// The time-out, in milliseconds, that every caller grants a busy database.
constexpr int kBusyTimeout = 3000;

class StoreConnection;
struct NamedText;
struct RowCells;

/// Receives one result row; a NULL column has a null text. Any result but 0
/// ends the statement as failed. May throw; the statement is then ended too.
using RowCallback = int (*)(void* context, int columns, char** texts, char** names);
/// The same, with what is known of the columns (platform/row_cells.h).
using CellsCallback = int (*)(void* context, const RowCells& cells);

/// Opens a new connection; while a rehearsal is on (platform/rehearsal.h), hands out
/// that of its copy for TYPE_STORE. Returns an empty pointer when the file does not
/// exist, is no regular file, or cannot be opened.
std::shared_ptr<StoreConnection> GetConnection(Type type);

/// Returns a connection that opens at its first use, and tries again at each use
/// until it can.
std::shared_ptr<StoreConnection> ConnectLater(Type type);

/// Creates what is missing of both databases: directories, files, tables and
/// trigger, and sets the journal mode. A store that comes from elsewhere loses the
/// triggers and views that are not ours; so does one that is met in a copy's journal
/// mode when it is first written. Several processes may do so at once.
enum class Origin { Here, Elsewhere };
int CreateDatabases(Origin store = Origin::Here);

/// Whether the database file at `path` opens, passes its integrity check and
/// has the tables of a store.
bool Check(const std::string& path);

/// Copies the database at `source` onto the one at `destination`, which is
/// created when it is missing (0600) and is afterwards one file without a
/// write-ahead log; all of it or nothing. What happens is said in syslog.
/// Returns 0, SQLite's code when the copying could not begin, or 1: it failed, or
/// the databases stayed busy for ten attempts a second apart. A missing source is
/// never created; neither path may be an address ("file:") or name the other's file.
int Backup(const std::string& source, const std::string& destination);

/// Opens a copy of the store in memory, for trying statements out: nothing that
/// is done there reaches the disk. Returns an empty pointer when the store cannot
/// be read.
std::shared_ptr<StoreConnection> OpenPrivateCopy();
/// The same of the database file at `path`, which is only read.
std::shared_ptr<StoreConnection> OpenPrivateCopy(const std::string& path);

/// Rows of a table: what they hold, "Key, Value", and which they are, "WHERE ...".
struct RowSelection {
  const char* table;
  const char* columns;
  const char* condition;
};
/// Opens a copy of the store in memory that holds these rows alone, all as they were
/// at one time; columns that are not named have their defaults. Returns as above.
std::shared_ptr<StoreConnection> OpenPrivateCopyOf(const std::vector<RowSelection>& selections);

/// Begin and commit the innermost transaction; the outermost begins as a writer.
int BeginTransaction(const std::shared_ptr<StoreConnection>& connection);
int CommitTransaction(const std::shared_ptr<StoreConnection>& connection);
/// Undoes the innermost transaction: 0 when it is undone (also when SQLite has
/// already done so by itself), 2 when there is none, 1 when it is still open.
int CancelTransaction(const std::shared_ptr<StoreConnection>& connection);

/// Runs one statement with `values` bound to its "?" in order; `types` says what
/// each value is. Quoted literals in value position are bound as well, so that
/// statements which differ in names alone share one preparation.
int Execute(const std::shared_ptr<StoreConnection>& connection, const std::string& sql,
            const std::vector<std::string>& values, const std::vector<int>& types, int timeoutMs);

/// Runs one statement without parameters; each row goes to `callback` (may be null).
int ExecuteV2(const std::shared_ptr<StoreConnection>& connection, const std::string& sql, RowCallback callback,
              void* context, int timeoutMs);

/// What tells one state of a database from another, as one connection sees it.
struct DataState {
  int handle = 0;       ///< counts the files and processes that the connection went through
  std::string version;  ///< changes with every commit of another connection

  bool operator==(const DataState& other) const { return handle == other.handle && version == other.version; }
};

/// Reads the state of the connection's database, which is the file that its path
/// names now: one that has been replaced is left for the new one. A missing file
/// is a failure that is not logged.
int ReadDataState(const std::shared_ptr<StoreConnection>& connection, DataState* state);

/// A number for the state of the database's content, never the same for two states
/// that one connection has seen: every commit, by whomever, makes a new one. 0 when
/// there is none: inside a transaction, and when the database cannot be read.
/// The first looks at the file; the second, called while a row is handed over, is
/// the state that the row belongs to.
uint64_t CurrentState(const std::shared_ptr<StoreConnection>& connection);
uint64_t StateBeingRead(const std::shared_ptr<StoreConnection>& connection);

/// As these two for a form, a text whose places are filled as by FormatSql: faster
/// than running the filled text. May throw what FormatSql throws.
int ExecuteNamed(const std::shared_ptr<StoreConnection>& connection, const NamedText& text,
                 const std::vector<std::string>& values, const std::vector<int>& types, int timeoutMs);
int QueryNamed(const std::shared_ptr<StoreConnection>& connection, const NamedText& text, CellsCallback callback,
               void* context, int timeoutMs);

/// Reads the value of `key`: empty when there is none.
int ReadKeyValue(const std::string& key, std::string* value, const std::shared_ptr<StoreConnection>& connection);
/// Stores the value of `key`; a key that exists keeps its creation time.
int WriteKeyValue(const std::string& key, const std::string& value, const std::shared_ptr<StoreConnection>& connection);

/// What the thread's last failed call met; code 0 after one that succeeded. A
/// cancel leaves it as it is.
struct Failure {
  int code = 0;         ///< SQLite's extended result code; SQLITE_CANTOPEN for a missing file
  std::string message;  ///< SQLite's words and the host's path of the file
};
const Failure& LastFailure();

}  // namespace DBStore
