#include "platform/inspect_database.h"

#include <dirent.h>

#include <algorithm>
#include <map>

#include "platform/host_paths.h"
#include "platform/open_database.h"
#include "platform/query_rows.h"
#include "platform/store_tables.h"

namespace DBStore {

namespace {

// A table as its columns, a trigger or view as its text: what a database is
// compared by. Tables that SQLite keeps for itself do not count.
constexpr char kShape[] =
    "SELECT name, CASE type WHEN 'table' THEN (SELECT group_concat(name || ' ' || type || ' ' || \"notnull\" || ' ' || "
    "ifnull(dflt_value, '') || ' ' || pk, ', ') FROM pragma_table_info(s.name)) ELSE sql END FROM sqlite_schema s "
    "WHERE type IN ('table', 'trigger', 'view') and name NOT LIKE 'sqlite\\_%' ESCAPE '\\' ORDER BY name;";
constexpr char kIntegrity[] = "PRAGMA integrity_check(20);";

using Shapes = std::map<std::string, std::string>;

/// Returns the first two columns of all rows; false when the query fails.
bool Query(sqlite3* database, const char* query, Shapes& shapes) {
  const auto take = [&shapes](int columns, const char* const* texts) {
    const char* const second = columns > 1 && texts[1] != nullptr ? texts[1] : "";
    if (texts[0] != nullptr) shapes.emplace(texts[0], second);
  };
  return QueryRows(database, query, take) == SQLITE_OK;
}

Shapes ExpectedShapes(Type type) {
  const Database fresh = OpenInMemory();
  Shapes shapes;
  if (fresh == nullptr) return shapes;
  const std::vector<Definition> tables =
      type == TYPE_STORE ? StoreTables() : std::vector<Definition>{ConfigSchemaTable()};
  for (const Definition& table : tables) sqlite3_exec(fresh.get(), table.sql.c_str(), nullptr, nullptr, nullptr);
  if (type == TYPE_STORE) sqlite3_exec(fresh.get(), kTrigger, nullptr, nullptr, nullptr);
  Query(fresh.get(), kShape, shapes);
  return shapes;
}

std::vector<std::string> CompareShapes(const Shapes& expected, const Shapes& found) {
  std::vector<std::string> differences;
  for (const auto& [name, shape] : expected) {
    const auto other = found.find(name);
    if (other == found.end()) {
      differences.push_back(name + " is missing");
    } else if (other->second != shape) {
      differences.push_back(name + " is not as this release makes it");
    }
  }
  for (const auto& [name, shape] : found) {
    if (expected.count(name) == 0) differences.push_back(name + " is not known");
  }
  return differences;
}

std::string DirectoryOf(const std::string& path) {
  return path.substr(0, path.rfind('/'));
}

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

bool IsSideFile(const std::string& name) {
  return EndsWith(name, "-wal") || EndsWith(name, "-shm") || EndsWith(name, "-journal") ||
         name.find(".new-") != std::string::npos;
}

}  // namespace

DatabaseState InspectDatabase(Type type) {
  const std::string path = type == TYPE_STORE ? HaldenLib::kStoreFile : HaldenLib::kSchemaStoreFile;
  const Database database = OpenDatabase(path, Access::ReadWrite, WhenMissing::Record, nullptr);
  if (database == nullptr) return {{LastFailure().message}, {}};
  DatabaseState state;
  Shapes verdict, shapes;
  if (!Query(database.get(), kIntegrity, verdict)) return {{sqlite3_errmsg(database.get())}, {}};
  for (const auto& [line, nothing] : verdict) {
    if (line != "ok") state.damages.push_back(line);
  }
  if (!Query(database.get(), kShape, shapes)) return {{sqlite3_errmsg(database.get())}, {}};
  state.differences = CompareShapes(ExpectedShapes(type), shapes);
  return state;
}

std::vector<std::string> ListSideFiles() {
  std::vector<std::string> directories;
  for (const char* path : {HaldenLib::kStoreFile, HaldenLib::kSchemaStoreFile, HaldenLib::kBackupFile}) {
    const std::string directory = DirectoryOf(path);
    if (std::count(directories.begin(), directories.end(), directory) == 0) directories.push_back(directory);
  }
  std::vector<std::string> files;
  for (const std::string& directory : directories) {
    DIR* const open = opendir(HaldenLib::ResolvePath(directory).c_str());
    if (open == nullptr) continue;
    while (const dirent* entry = readdir(open)) {
      if (IsSideFile(entry->d_name)) files.push_back(directory + "/" + entry->d_name);
    }
    closedir(open);
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace DBStore
