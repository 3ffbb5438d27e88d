#pragma once

#include <sqlite3.h>

#include <functional>

namespace DBStore {

/// Takes a row; a column that is NULL has a null text.
using TakeRow = std::function<void(int columns, const char* const* texts)>;

/// Runs statements on a handle that no StoreConnection has, and hands over their
/// rows. Returns SQLite's code. What `take` throws reaches the caller after the
/// statement has ended: SQLite is C, and what passed through it would leave a
/// statement behind that reads for ever.
int QueryRows(sqlite3* database, const char* statements, const TakeRow& take);

}  // namespace DBStore
