#pragma once

#include <sqlite3.h>
#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/busy_wait.h"
#include "platform/db_store.h"
#include "platform/file_watch.h"
#include "platform/kept_key.h"
#include "platform/open_database.h"
#include "platform/sql_forms.h"
#include "platform/sql_literals.h"
#include "platform/statement_cache.h"
#include "platform/wal_index.h"
#include "platform/wal_upkeep.h"

namespace DBStore {

/// What Run is to do: a statement, the values of its "?", and where rows go. The
/// statement is a form when it comes with names.
struct Request {
  std::string_view sql;
  const std::vector<std::string>* values = nullptr;  // null for none
  const std::vector<int>* types = nullptr;
  RowCallback callback = nullptr;
  void* context = nullptr;
  int timeoutMs = kBusyTimeout;
  const NamedText* named = nullptr;
  CellsCallback cells = nullptr;  // instead of the other
};

/// One connection: SQLite's handle, its prepared statements, and how deep its
/// transactions are nested.
///
/// Levels are begun by Begin; a statement text that begins a transaction makes a
/// level of its own below those. When SQLite has ended the transaction by itself
/// (a full disk, a failing one) while levels are open, the connection refuses all
/// work until they are cancelled: the outer levels would otherwise go on to
/// write outside of any transaction.
///
/// The handle belongs to the process that opened it. A forked child never
/// touches it, not even to close it, and opens one of its own; since nothing is
/// open on that, inherited levels are refused in the same way.
class StoreConnection {
 public:
  explicit StoreConnection(Type type);
  /// A connection over a private copy of the store: no file stands behind it, and
  /// it cannot be opened again.
  explicit StoreConnection(Database copy);
  ~StoreConnection();
  StoreConnection(const StoreConnection&) = delete;
  StoreConnection& operator=(const StoreConnection&) = delete;

  /// Opens the handle; false, with the reason recorded, when that fails.
  bool Open(WhenMissing whenMissing);

  /// Runs one statement; returns 0 or 1.
  int Run(const Request& request);

  /// As the function of DBStore.
  int ReadDataState(DataState* state);

  /// The state of the content, as the functions of DBStore tell it.
  uint64_t CurrentState();
  uint64_t StateBeingRead() const;

  /// Whether a value of the key table is known without reading it; if not, `before`
  /// gets what Remember is to be called with when it has been read.
  bool RecallKey(const std::string& key, std::string* value, WalHead* before);
  void RememberKey(const std::string& key, const std::string& value, const WalHead& before);

  /// Transactions, with the results of the functions of DBStore.
  int Begin();
  int Commit();
  int Cancel();

 private:
  // store_connection.cpp: the handle
  bool EnsureOwnHandle();
  bool LeaveMovedFile();
  bool FollowPath();
  void AbandonInChild();
  void Close();
  bool HasMoved() const;
  bool HasMovedBeforeWrite();
  bool MayHaveMoved() const noexcept;
  bool IsInTransaction() const { return database_ != nullptr && sqlite3_get_autocommit(database_.get()) == 0; }
  void SetBusyTimeout(int timeoutMs);
  bool PrepareToWrite(int timeoutMs, std::optional<StatementUse>* use);
  int Fail(int code, const std::string& words, std::string_view statement = {}) const;

  // connection_state.cpp: the state of the content
  bool IsAtRest() const;
  bool ReadHead(WalHead* head);
  void ForgetState();
  void LeaveIndex();
  static int NoteAction(void* connection, int action, const char* subject, const char* detail, const char* database,
                        const char* trigger);
  void FollowCommit(const StatementUse& use) noexcept;

  // statement_run.cpp: one statement
  int RunInternal(const Request& request);
  int RunWrittenOut(const Request& request);
  int RunLifted(const Request& request, LiftedStatement* lifted);
  bool Acquire(const Request& request, LiftedStatement* lifted, std::optional<StatementUse>* use);
  int Prepare(const std::string& text, std::optional<StatementUse>* use);
  bool BeginsWrite(sqlite3_stmt* statement) const;
  void SetPageRoom(bool isLarge) noexcept;
  int Step(const StatementUse& use, const Request& request);
  void TrimLogAfterCommit();

  // transactions.cpp: their levels
  int Levels() const { return depth_ + (hasTextLevel_ ? 1 : 0); }
  bool HasLostTransaction() const { return Levels() > 0 && !IsInTransaction(); }
  int RefuseLost(std::string_view sql);
  void NoteTransaction(bool succeeded);
  bool Undo(int level);
  bool RunsUndo(int level);
  void PopLevel();

  const std::string path_;
  const bool isPrivate_;
  const bool hasLog_;  // the store has a write-ahead log, the schema store has none
  Database database_;
  FileIdentity file_;
  std::optional<HaldenLib::FileWatch> watch_;  // from the second write on
  HaldenLib::FileState notMoved_;              // in which state the path named the file
  pid_t owner_;
  StatementCache statements_;
  StatementHandle look_;      // begins a read and takes nothing
  StatementEffects effects_;  // of what is being prepared
  FormCache forms_;
  LiftedStatement lifted_;  // memory that is used again

  BusyWait busy_;
  int running_ = 0;        // statements under way: a row callback may run others
  int statementsRun_ = 0;  // on this handle
  bool hasLargeRoom_ = false;
  int handles_ = 0;  // how many have been opened
  LogWatch log_;
  WalIndex index_;
  bool isIndexSought_ = false;
  WalHead looked_;  // of the state in which look_ was run last
  KeptKey keptKey_;
  bool isLogEnsured_ = false;
  bool hasWritten_ = false;

  int depth_ = 0;
  bool hasTextLevel_ = false;
};

}  // namespace DBStore
