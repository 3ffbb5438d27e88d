#include "platform/database_schema.h"

#include <algorithm>
#include <set>
#include <string>

#include "platform/db_failure.h"
#include "platform/host_log.h"
#include "platform/query_rows.h"

namespace DBStore {

namespace {

/// SQLite takes names without regard to case.
struct NameOrder {
  bool operator()(const std::string& left, const std::string& right) const {
    return sqlite3_stricmp(left.c_str(), right.c_str()) < 0;
  }
};
using Names = std::set<std::string, NameOrder>;

/// Returns the first column of all rows; nothing when the query fails.
Names Query(sqlite3* database, const char* query) {
  Names names;
  const int code = QueryRows(database, query, [&names](int, const char* const* texts) {
    if (texts[0] != nullptr) names.insert(texts[0]);
  });
  return code == SQLITE_OK ? names : Names();
}

/// A definition's text as the database keeps it.
std::string KeptText(std::string sql) {
  constexpr char kCondition[] = "IF NOT EXISTS ";
  const size_t at = sql.find(kCondition);
  if (at != std::string::npos) sql.erase(at, sizeof kCondition - 1);
  return sql.substr(0, sql.find_last_not_of(';') + 1);
}

std::string QuotedName(const std::string& name) {
  std::string quoted = "\"";
  for (const char c : name) quoted.append(c == '"' ? 2 : 1, c);
  return quoted + "\"";
}

/// The statement that drops what a row of type, name and text tells of; empty for ours.
std::string DropOf(const char* const* texts, const std::vector<Definition>& ours) {
  if (texts[0] == nullptr || texts[1] == nullptr) return "";
  const std::string name = texts[1], text = texts[2] == nullptr ? "" : texts[2];
  const bool isOurs = std::any_of(ours.begin(), ours.end(), [&](const Definition& definition) {
    return definition.name == name && KeptText(definition.sql) == text;
  });
  return isOurs ? "" : std::string("DROP ") + texts[0] + " IF EXISTS main." + QuotedName(name) + ";";
}

/// Appends the statements that drop what is foreign; returns SQLite's code.
int ListDropsOfForeign(sqlite3* database, const std::vector<Definition>& definitions, std::string& drops) {
  constexpr char kQuery[] = "SELECT type, name, sql FROM sqlite_schema WHERE type IN ('trigger', 'view');";
  return QueryRows(database, kQuery, [&](int, const char* const* texts) { drops += DropOf(texts, definitions); });
}

}  // namespace

bool HasAll(sqlite3* database, const std::vector<Definition>& definitions) {
  const Names names = Query(database, "SELECT name FROM sqlite_schema WHERE type IN ('table', 'trigger');");
  for (const Definition& definition : definitions) {
    if (names.count(definition.name) == 0) return false;
  }
  return true;
}

bool HasForeign(sqlite3* database, const std::vector<Definition>& definitions) {
  std::string drops;
  // What cannot be read may be foreign: who then drops it meets the failure again.
  return ListDropsOfForeign(database, definitions, drops) != SQLITE_OK || !drops.empty();
}

int DropForeign(sqlite3* database, const std::vector<Definition>& definitions) {
  std::string drops;
  int code = ListDropsOfForeign(database, definitions, drops);
  if (code == SQLITE_OK) code = sqlite3_exec(database, drops.c_str(), nullptr, nullptr, nullptr);
  if (code != SQLITE_OK || drops.empty()) return code;
  HaldenLib::LogLine(HaldenLib::LOG_LEVEL_WARNING, "Triggers and views that are not ours: %s", drops.c_str());
  return code;
}

int Complete(sqlite3* database, const std::vector<Definition>& definitions, const std::string& path, Origin origin) {
  const bool drops = origin == Origin::Elsewhere && HasForeign(database, definitions);
  if (!drops && HasAll(database, definitions)) return 0;
  std::string script;
  for (const Definition& definition : definitions) script += definition.sql + ";";
  const auto run = [database](const char* sql) { return sqlite3_exec(database, sql, nullptr, nullptr, nullptr); };
  int code = run("BEGIN IMMEDIATE;");
  if (code == SQLITE_OK && drops) code = DropForeign(database, definitions);
  if (code == SQLITE_OK) code = run((script + "COMMIT;").c_str());
  if (code == SQLITE_OK) return 0;
  const std::string words = sqlite3_errmsg(database);
  run("ROLLBACK;");
  return ReportFailure(code, words, path);
}

bool IsIntact(sqlite3* database) {
  return Query(database, "PRAGMA integrity_check;") == Names{"ok"};
}

}  // namespace DBStore
