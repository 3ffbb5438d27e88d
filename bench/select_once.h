#pragma once

#include <sqlite3.h>

#include "type.h"

namespace bench {

/// The select of one row, in the library's form.
constexpr char kSelectRow[] =
    "SELECT Version, AutoConfValue, UserValue, VitalValue, CachedValue, Success, CreationTime, ModifiedTime FROM "
    "Config WHERE Name=?1 and ConfigGroup=?2 and Component=?3 and Identifier=?4;";

/// Opens the database, reads one row with all its columns, and closes it; whether
/// there was one. In C, so that a program of it alone loads SQLite and nothing else.
inline bool SelectOnce(const char* file, const char* instance) {
  sqlite3* database = nullptr;
  sqlite3_stmt* select = nullptr;
  bool isFound = sqlite3_open_v2(file, &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) == SQLITE_OK &&
                 sqlite3_exec(database, "PRAGMA synchronous=FULL;", nullptr, nullptr, nullptr) == SQLITE_OK &&
                 sqlite3_prepare_v2(database, kSelectRow, -1, &select, nullptr) == SQLITE_OK;
  const char* const names[] = {kKey, kGroup, kComponent, instance};
  for (int i = 0; isFound && i < 4; ++i) sqlite3_bind_text(select, i + 1, names[i], -1, SQLITE_STATIC);
  isFound = isFound && sqlite3_step(select) == SQLITE_ROW;
  for (int i = 0; isFound && i < sqlite3_column_count(select); ++i) sqlite3_column_text(select, i);
  sqlite3_finalize(select);
  sqlite3_close(database);
  return isFound;
}

}  // namespace bench
