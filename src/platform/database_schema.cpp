#include "platform/database_schema.h"

#include <set>
#include <string>

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
  const auto insert = [](void* result, int, char** texts, char**) {
    if (texts[0] != nullptr) static_cast<Names*>(result)->insert(texts[0]);
    return 0;
  };
  const int code = sqlite3_exec(database, query, insert, &names, nullptr);
  return code == SQLITE_OK ? names : Names();
}

}  // namespace

bool HasAll(sqlite3* database, const std::vector<Definition>& definitions) {
  const Names names = Query(database, "SELECT name FROM sqlite_schema WHERE type IN ('table', 'trigger');");
  for (const Definition& definition : definitions) {
    if (names.count(definition.name) == 0) return false;
  }
  return true;
}

bool IsIntact(sqlite3* database) {
  return Query(database, "PRAGMA integrity_check;") == Names{"ok"};
}

}  // namespace DBStore
