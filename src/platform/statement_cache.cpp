#include "platform/statement_cache.h"

#include <algorithm>
#include <utility>

namespace DBStore {

namespace {

constexpr size_t kMostStatements = 64;
constexpr size_t kLongestKept = 8192;

bool IsEndOfText(const char* rest, const std::string& text) {
  const char* const end = text.data() + text.size();
  return std::all_of(rest, end, [](char c) { return c == ' ' || c == ';' || (c >= '\t' && c <= '\r'); });
}

}  // namespace

int PrepareStatement(sqlite3* database, const std::string& text, StatementHandle* statement) {
  if (text.size() > static_cast<size_t>(sqlite3_limit(database, SQLITE_LIMIT_SQL_LENGTH, -1))) return SQLITE_TOOBIG;
  const unsigned flags = text.size() <= kLongestKept ? SQLITE_PREPARE_PERSISTENT : 0;
  sqlite3_stmt* prepared = nullptr;
  const char* rest = nullptr;
  const int bytes = static_cast<int>(text.size()) + 1;  // with the ending NUL, which spares SQLite a copy
  const int code = sqlite3_prepare_v3(database, text.c_str(), bytes, flags, &prepared, &rest);
  statement->reset(prepared);
  if (code != SQLITE_OK) return code;
  if (prepared != nullptr && IsEndOfText(rest, text)) return SQLITE_OK;
  statement->reset();
  return SQLITE_MISUSE;
}

std::vector<char*>& Columns::Names(sqlite3_stmt* statement) {
  constexpr int kKeepCount = 0;
  const int preparations = sqlite3_stmt_status(statement, SQLITE_STMTSTATUS_REPREPARE, kKeepCount);
  if (preparations == preparations_) return names_;
  known_.count = 0;
  names_.clear();
  const int columns = sqlite3_column_count(statement);
  names_.reserve(static_cast<size_t>(columns));
  for (int i = 0; i < columns; ++i) names_.push_back(const_cast<char*>(sqlite3_column_name(statement, i)));
  preparations_ = preparations;
  return names_;
}

StatementCache::Entry* StatementCache::Take(const std::string& text) {
  const auto found = entries_.find(text);
  if (found == entries_.end() || found->second.inUse) return nullptr;
  found->second.lastUse = ++uses_;
  found->second.inUse = true;
  return &found->second;
}

StatementCache::Entry* StatementCache::Keep(const std::string& text, StatementHandle* statement) {
  if (text.size() > kLongestKept || entries_.count(text) != 0) return nullptr;
  MakeRoom();
  Entry& entry = entries_[text];
  entry.statement = std::move(*statement);
  entry.lastUse = ++uses_;
  entry.inUse = true;
  return &entry;
}

void StatementCache::MakeRoom() {
  if (entries_.size() < kMostStatements) return;
  const auto isEarlier = [](const auto& left, const auto& right) {
    const auto order = [](const Entry& entry) { return std::make_pair(entry.inUse, entry.lastUse); };
    return order(left.second) < order(right.second);
  };
  const auto oldest = std::min_element(entries_.begin(), entries_.end(), isEarlier);
  if (!oldest->second.inUse) entries_.erase(oldest);
}

void StatementCache::Abandon() {
  for (auto& [text, entry] : entries_) entry.statement.release();
  entries_.clear();
}

StatementUse::StatementUse(StatementUse&& other) noexcept
    : kept_(std::exchange(other.kept_, nullptr)),
      own_(std::move(other.own_)),
      statement_(std::exchange(other.statement_, nullptr)) {}

StatementUse::~StatementUse() {
  if (statement_ == nullptr) return;
  sqlite3_reset(statement_);
  sqlite3_clear_bindings(statement_);
  if (kept_ != nullptr) kept_->inUse = false;
}

}  // namespace DBStore
