#pragma once

#include <sqlite3.h>

#include <vector>

#include "platform/store_tables.h"

namespace DBStore {

/// Whether the database has tables and triggers of all the names.
bool HasAll(sqlite3* database, const std::vector<Definition>& definitions);

/// Whether the database passes SQLite's integrity check.
bool IsIntact(sqlite3* database);

}  // namespace DBStore
