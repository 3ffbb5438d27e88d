#pragma once

#include <string>
#include <vector>

#include "platform/db_store.h"

namespace DBStore {

/// What is wrong with one of the two databases.
struct DatabaseState {
  std::vector<std::string> damages;      ///< what the integrity check says, or why it cannot be opened
  std::vector<std::string> differences;  ///< in its tables and triggers
};

/// Checks a database and compares its tables and triggers with those that
/// CreateDatabases makes. A missing file is a damage.
DatabaseState InspectDatabase(Type type);

/// Returns the files beside the store, its backup and the schema store that a
/// running program has only while it runs: journals, logs, unfinished copies.
std::vector<std::string> ListSideFiles();

}  // namespace DBStore
