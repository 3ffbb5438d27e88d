#pragma once

#include <sqlite3.h>

#include <string>
#include <vector>

#include "platform/db_store.h"
#include "platform/store_tables.h"

namespace DBStore {

/// Whether the database has tables and triggers of all the names.
bool HasAll(sqlite3* database, const std::vector<Definition>& definitions);

/// Whether the database has triggers or views but for those that `definitions` name,
/// word for word. They would run within our own statements, and a file may come
/// from anywhere.
bool HasForeign(sqlite3* database, const std::vector<Definition>& definitions);

/// Drops these. Returns SQLite's code.
int DropForeign(sqlite3* database, const std::vector<Definition>& definitions);

/// Creates what is missing and, in a database from elsewhere, drops what is foreign:
/// in one transaction, and only where there is something to do. Returns 0, or 1 with
/// the failure reported.
int Complete(sqlite3* database, const std::vector<Definition>& definitions, const std::string& path, Origin origin);

/// Whether the database passes SQLite's integrity check.
bool IsIntact(sqlite3* database);

}  // namespace DBStore
