// The levels of a connection's transactions. The outermost is SQLite's
// transaction, begun as a writer: one that became a writer later would fail at
// once where it should wait. The levels above are savepoints, named by depth.

#include <new>
#include <string>
#include <string_view>

#include "platform/db_failure.h"
#include "platform/store_connection.h"

namespace DBStore {

namespace {

std::string AtLevel(int level, const char* outermost, const char* savepoint) {
  return level == 0 ? outermost : savepoint + std::string(" level_") + std::to_string(level);
}

/// Whether the statement is ROLLBACK alone, which ends the whole transaction.
bool IsRollback(std::string_view sql) {
  constexpr char kWord[] = "ROLLBACK";
  constexpr char kAround[] = " \t\r\n\f\v;";
  const size_t begin = sql.find_first_not_of(kAround);
  if (begin == std::string_view::npos) return false;
  const size_t length = sql.find_last_not_of(kAround) + 1 - begin;
  return length == sizeof kWord - 1 && sqlite3_strnicmp(sql.data() + begin, kWord, sizeof kWord - 1) == 0;
}

}  // namespace

int StoreConnection::Begin() {
  if (!EnsureOwnHandle()) return 1;
  if (HasLostTransaction()) return RefuseLost({});
  const std::string sql = AtLevel(Levels(), "BEGIN IMMEDIATE", "SAVEPOINT");
  if (RunInternal({sql}) != 0) return 1;
  ++depth_;
  ClearFailure();
  return 0;
}

int StoreConnection::Commit() {
  if (!EnsureOwnHandle()) return 1;
  if (Levels() == 0) return Fail(SQLITE_MISUSE, "there is no transaction to commit");
  if (HasLostTransaction()) return RefuseLost({});
  const std::string sql = AtLevel(Levels() - 1, "COMMIT", "RELEASE");
  if (RunInternal({sql}) != 0) return 1;
  PopLevel();
  ClearFailure();
  return 0;
}

int StoreConnection::Cancel() {
  AbandonInChild();
  if (Levels() == 0) return 2;
  if (IsInTransaction() && !Undo(Levels() - 1)) return 1;
  PopLevel();
  return 0;  // what failed before stays on record: a cancel is what follows a failure
}

/// Returns false only when the level is still open. Where not even a rollback can
/// be run, as without memory, the handle is closed, which undoes all levels: the
/// outer ones are then refused until they are cancelled too.
bool StoreConnection::Undo(int level) {
  bool isUndone = false;
  try {
    isUndone = RunsUndo(level);
  } catch (const std::bad_alloc&) {
    // The handle is closed.
  }
  const bool mayClose = running_ == 0 && !isPrivate_;  // a private copy would be gone with it
  if (!isUndone && IsInTransaction() && mayClose) Close();
  return isUndone || !IsInTransaction();
}

bool StoreConnection::RunsUndo(int level) {
  const std::string undo = AtLevel(level, "ROLLBACK", "ROLLBACK TO");
  const bool isUndone = RunInternal({undo}) == 0;
  if (level > 0 && isUndone) {
    // A savepoint that stays behind is empty, and hidden by the next of its name.
    const std::string release = AtLevel(level, "", "RELEASE");
    RunInternal({release});
  }
  return isUndone;
}

/// Keeps count of a transaction that statement texts begin and end. When one is
/// gone although no statement has ended it, its level stays and is refused.
void StoreConnection::NoteTransaction(bool succeeded) {
  if (IsInTransaction()) {
    if (Levels() == 0) hasTextLevel_ = true;
  } else if (succeeded) {
    hasTextLevel_ = false;
  }
}

/// Whoever began a transaction with a text ends it with one.
int StoreConnection::RefuseLost(std::string_view sql) {
  if (depth_ > 0 || !IsRollback(sql)) return Fail(SQLITE_ABORT_ROLLBACK, "the transaction was rolled back");
  PopLevel();
  return 0;
}

void StoreConnection::PopLevel() {
  if (depth_ > 0) {
    --depth_;
  } else {
    hasTextLevel_ = false;
  }
}

}  // namespace DBStore
