#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>

#include "platform/row_cells.h"

namespace DBStore {

struct StatementFinalizer {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using StatementHandle = std::unique_ptr<sqlite3_stmt, StatementFinalizer>;

/// Prepares the one statement that `text` must hold; blanks and semicolons may
/// follow it. Returns SQLite's code, SQLITE_MISUSE for no statement or a second.
int PrepareStatement(sqlite3* database, const std::string& text, StatementHandle* statement);

/// What a statement does that a connection must know of.
struct StatementEffects {
  bool writesKeys = false;  // or may do so: writes anything else than rows of objects
  bool movesIndex = false;  // a pragma after which the log's index is elsewhere, or nowhere
};

/// The prepared statements of one connection by their text, at most
/// kMostStatements; the one that was used longest ago gives way.
class StatementCache {
 public:
  /// A statement is in use from Take to Return; it cannot be taken twice.
  struct Entry {
    StatementHandle statement;
    uint64_t lastUse = 0;
    bool inUse = false;
    StatementEffects effects;
    Columns columns;
  };

  /// Returns the statement of `text`, now in use, or null when there is none
  /// that is free.
  Entry* Take(const std::string& text);
  /// Keeps a new statement and returns it, now in use. Returns null, and leaves
  /// `statement` as it is, when it is too long to keep or its text is in use.
  Entry* Keep(const std::string& text, StatementHandle* statement);

  /// Finalizes all statements.
  void Clear() { entries_.clear(); }
  /// Forgets all statements without a call into SQLite.
  void Abandon();

 private:
  void MakeRoom();

  std::unordered_map<std::string, Entry> entries_;
  uint64_t uses_ = 0;
};

/// Lets go of a statement, whatever happens while it is used: it is reset and
/// holds no values afterwards, and is finalized unless the cache keeps it.
class StatementUse {
 public:
  explicit StatementUse(StatementCache::Entry* kept) : kept_(kept), statement_(kept->statement.get()) {}
  explicit StatementUse(StatementHandle own) : own_(std::move(own)), statement_(own_.get()) {}
  StatementUse(StatementUse&& other) noexcept;
  StatementUse& operator=(StatementUse&&) = delete;
  ~StatementUse();

  sqlite3_stmt* Get() const { return statement_; }
  /// What is known of it besides; null when it is not kept.
  StatementCache::Entry* Kept() const { return kept_; }

 private:
  StatementCache::Entry* kept_ = nullptr;
  StatementHandle own_;
  sqlite3_stmt* statement_;
};

}  // namespace DBStore
