#pragma once

#include <optional>
#include <string>

#include "configstore/inspect.h"
#include "store/rows.h"

/// Rows of table Config as the public structures show them.

namespace OrvoConfigStore {

/// Returns a column's text, nothing for NULL.
std::optional<std::string> ColumnOf(const RowMap& row, const std::string& column);

/// Returns the columns whose names begin with `prefix`.
StoredRow ToStoredRow(const RowMap& row, const std::string& prefix = "");

/// Returns the identifier in the columns of that name.
ConfigStoreObjectId IdOf(const RowMap& row);

}  // namespace OrvoConfigStore
