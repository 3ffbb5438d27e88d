// Running one statement on a connection:
//
//   1. The text is lifted and its statement taken from the cache, or prepared. A
//      form is lifted once; one that cannot be is written out first.
//   2. Before a write outside of a transaction: is the file still the one at
//      the path, is its log in order. Where this replaces the handle, the
//      statement is let go of before and taken again.
//   3. Values and lifted literals are bound and the rows handed over.
//   4. The statement is let go of; after a commit the log is trimmed.

#include <array>
#include <charconv>
#include <utility>

#include "platform/db_failure.h"
#include "platform/sql_format.h"
#include "platform/store_connection.h"

namespace DBStore {

namespace {

const std::vector<std::string> kNoValues;
const std::vector<int> kNoTypes;

size_t CountOf(const Request& request) {
  return request.values == nullptr ? 0 : request.values->size();
}

int BindInteger(sqlite3_stmt* statement, int index, const std::string& value) {
  sqlite3_int64 number = 0;
  const char* const end = value.data() + value.size();
  const auto [rest, error] = std::from_chars(value.data(), end, number);
  if (error != std::errc() || rest != end) return SQLITE_MISMATCH;
  return sqlite3_bind_int64(statement, index, number);
}

/// The text is not copied: it lives until the statement is let go of.
int BindText(sqlite3_stmt* statement, int index, std::string_view text) {
  return sqlite3_bind_text64(statement, index, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
}

int BindValue(sqlite3_stmt* statement, int index, const std::string& value, int type) {
  switch (type) {
    case VALUE_INTEGER:
      return BindInteger(statement, index, value);
    case VALUE_TEXT:
      return BindText(statement, index, value);
    case VALUE_NULL:
      return SQLITE_OK;  // which every value is until it is bound
    default:
      return SQLITE_MISMATCH;
  }
}

/// Binds literals and given values, both in text order.
int Bind(sqlite3_stmt* statement, const std::vector<Parameter>& parameters, const Request& request) {
  const std::vector<std::string>& values = request.values == nullptr ? kNoValues : *request.values;
  const std::vector<int>& types = request.types == nullptr ? kNoTypes : *request.types;
  if (types.size() != values.size() ||
      parameters.size() != static_cast<size_t>(sqlite3_bind_parameter_count(statement)))
    return SQLITE_RANGE;
  size_t given = 0;
  int index = 0;
  for (const Parameter& parameter : parameters) {
    ++index;
    if (parameter.isGiven && given == values.size()) return SQLITE_RANGE;
    const int code = parameter.isGiven ? BindValue(statement, index, values[given], types[given])
                                       : BindText(statement, index, parameter.literal);
    if (code != SQLITE_OK) return code;
    given += parameter.isGiven ? 1 : 0;
  }
  return given == values.size() ? SQLITE_OK : SQLITE_RANGE;
}

/// The rows of a result, one after another, as a callback takes them.
class Row {
 public:
  Row(sqlite3_stmt* statement, Columns* columns) : statement_(statement), columns_(columns) {}

  /// Takes the current row; false when memory is short.
  bool Read() {
    if (cells_.names == nullptr) Begin();
    for (int column = 0; column < cells_.columns; ++column) {
      const unsigned char* const text = sqlite3_column_text(statement_, column);
      cells_.texts[column] = reinterpret_cast<char*>(const_cast<unsigned char*>(text));
    }
    cells_.known->next = 0;
    return sqlite3_errcode(sqlite3_db_handle(statement_)) != SQLITE_NOMEM;  // without memory a text reads as NULL
  }

  int Give(const Request& request) const {
    if (request.cells != nullptr) return request.cells(request.context, cells_);
    return request.callback(request.context, cells_.columns, cells_.texts, cells_.names);
  }

 private:
  void Begin() {
    std::vector<char*>& names = columns_->Names(statement_);
    if (names.size() > few_.size()) many_.resize(names.size());
    char** const texts = many_.empty() ? few_.data() : many_.data();
    cells_ = {static_cast<int>(names.size()), texts, names.data(), columns_->Known()};
  }

  sqlite3_stmt* statement_;
  Columns* columns_;
  RowCells cells_{};
  std::array<char*, 16> few_;  // where the texts are, mostly
  std::vector<char*> many_;
};

/// Sees to it that a result of many rows is read with little room for pages, if the
/// connection has much.
template <class SetRoom>
class Scan {
 public:
  Scan(bool hasLargeRoom, SetRoom setRoom) : hasLargeRoom_(hasLargeRoom), setRoom_(setRoom) {}
  ~Scan() {
    if (rows_ >= kLong && hasLargeRoom_) setRoom_(true);
  }
  Scan(const Scan&) = delete;
  Scan& operator=(const Scan&) = delete;

  void CountRow() {
    if (++rows_ == kLong && hasLargeRoom_) setRoom_(false);
  }

 private:
  static constexpr int64_t kLong = 1000;

  const bool hasLargeRoom_;
  SetRoom setRoom_;
  int64_t rows_ = 0;
};

class ScopedCount {
 public:
  explicit ScopedCount(int* count) : count_(count) { ++*count_; }
  ~ScopedCount() { --*count_; }
  ScopedCount(const ScopedCount&) = delete;
  ScopedCount& operator=(const ScopedCount&) = delete;

 private:
  int* count_;
};

}  // namespace

/// A connection that goes on working keeps more pages than SQLite's 2 MiB: a store of
/// ten thousand objects then stays in memory as far as it is used. A scan does not: it
/// would fill the room with pages that it does not come back to.
void StoreConnection::SetPageRoom(bool isLarge) noexcept {
  sqlite3_exec(database_.get(), isLarge ? "PRAGMA cache_size=-8000;" : "PRAGMA cache_size=-2000;", nullptr, nullptr,
               nullptr);
  hasLargeRoom_ = isLarge;
}

int StoreConnection::Run(const Request& request) {
  if (request.named != nullptr && !forms_.CanLift(request.named->form)) return RunWrittenOut(request);
  if (!EnsureOwnHandle()) return 1;
  if (HasLostTransaction()) return RefuseLost(request.sql);
  const int result = RunInternal(request);
  NoteTransaction(result == 0);
  if (result == 0) ClearFailure();
  return result;
}

int StoreConnection::RunWrittenOut(const Request& request) {
  const std::string sql = OrvoConfigStore::FormatSql(request.named->form, request.named->names);
  Request written = request;
  written.sql = sql;
  written.named = nullptr;
  return Run(written);
}

int StoreConnection::RunInternal(const Request& request) {
  constexpr int kShortUse = 64;
  if (hasLog_ && ++statementsRun_ == kShortUse) SetPageRoom(true);
  SetBusyTimeout(request.timeoutMs);
  LiftedStatement lifted = std::move(lifted_);  // a row callback may run statements of its own
  const int result = RunLifted(request, &lifted);
  lifted_ = std::move(lifted);
  if (result == 0) TrimLogAfterCommit();
  return result;
}

int StoreConnection::RunLifted(const Request& request, LiftedStatement* lifted) {
  std::optional<StatementUse> use;
  if (!Acquire(request, lifted, &use)) {
    const bool isAnother = LeaveMovedFile() && EnsureOwnHandle();  // it may have been no store
    if (!isAnother || !Acquire(request, lifted, &use)) return 1;
  }
  const bool beginsWrite = BeginsWrite(use->Get());
  if (beginsWrite && !PrepareToWrite(request.timeoutMs, &use)) return 1;
  if (!use.has_value()) {
    const int code = Prepare(lifted->text, &use);
    if (code != SQLITE_OK) return Fail(code, sqlite3_errmsg(database_.get()), lifted->text);
  }
  const int bound = Bind(use->Get(), lifted->parameters, request);
  if (bound != SQLITE_OK) return Fail(bound, "the values do not fit the statement", lifted->text);
  if (use->Kept() != nullptr && use->Kept()->effects.movesIndex) LeaveIndex();
  effects_ = {};
  const int code = Step(*use, request);
  if (beginsWrite) FollowCommit(*use);
  if (code == SQLITE_ABORT) return Fail(code, "a row was refused", lifted->text);
  return code == SQLITE_OK ? 0 : Fail(code, sqlite3_errmsg(database_.get()), lifted->text);
}

/// Finds the form of the text that SQLite takes: lifted, else as it is. A
/// literal can be a name after all (`INSERT INTO t('column')`); then the text
/// runs as it stands.
bool StoreConnection::Acquire(const Request& request, LiftedStatement* lifted, std::optional<StatementUse>* use) {
  int code = SQLITE_ERROR;
  if (request.named != nullptr) {
    forms_.Lift(*request.named, lifted);
    code = Prepare(lifted->text, use);
  } else if (LiftLiterals(request.sql, lifted)) {
    code = Prepare(lifted->text, use);
  }
  if ((code & 0xFF) == SQLITE_ERROR && request.named == nullptr) {
    lifted->text = request.sql;
    lifted->parameters.assign(CountOf(request), {true, {}});
    code = Prepare(lifted->text, use);
  }
  if (code == SQLITE_OK) return true;
  const bool isCount = code == SQLITE_MISUSE;
  Fail(code, isCount ? "not exactly one statement" : sqlite3_errmsg(database_.get()), lifted->text);
  return false;
}

int StoreConnection::Prepare(const std::string& text, std::optional<StatementUse>* use) {
  StatementCache::Entry* kept = statements_.Take(text);
  if (kept == nullptr) {
    StatementHandle prepared;
    effects_ = {};
    const int code = PrepareStatement(database_.get(), text, &prepared);
    if (code != SQLITE_OK) return code;
    kept = statements_.Keep(text, &prepared);
    if (kept == nullptr) use->emplace(std::move(prepared));
    if (kept != nullptr) kept->effects = effects_;
  }
  if (kept != nullptr) use->emplace(kept);
  return SQLITE_OK;
}

bool StoreConnection::BeginsWrite(sqlite3_stmt* statement) const {
  return sqlite3_stmt_readonly(statement) == 0 && !IsInTransaction();
}

int StoreConnection::Step(const StatementUse& use, const Request& request) {
  const ScopedCount underWay(&running_);
  sqlite3_stmt* const statement = use.Get();
  Columns ownColumns;
  Row row(statement, use.Kept() == nullptr ? &ownColumns : &use.Kept()->columns);
  Scan scan(hasLargeRoom_, [this](bool isLarge) { SetPageRoom(isLarge); });
  int code = sqlite3_step(statement);
  for (; code == SQLITE_ROW; code = sqlite3_step(statement)) {
    scan.CountRow();
    if (request.callback == nullptr && request.cells == nullptr) continue;
    if (!row.Read()) return SQLITE_NOMEM;
    if (row.Give(request) != 0) return SQLITE_ABORT;
  }
  return code == SQLITE_DONE ? SQLITE_OK : code;
}

void StoreConnection::TrimLogAfterCommit() {
  if (log_.pages == 0 || running_ > 0 || IsInTransaction()) return;
  SetBusyTimeout(0);
  TrimLog(database_.get(), &log_);
}

}  // namespace DBStore
