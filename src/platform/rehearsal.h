#pragma once

#include <memory>
#include <string>

#include "platform/db_store.h"

/// Rehearsals: while one is on, the calling thread's connections to the store are
/// one connection over a private copy in memory, and nothing reaches the file.

namespace DBStore {

/// Begins a rehearsal on a copy of the store as it is now. The copy also holds
/// that state in the temporary tables BeforeConfig, BeforeDefaultConfig,
/// BeforeDesiredUserConfig and BeforeKVTable. Returns its connection, or an
/// empty pointer when the store cannot be read or a rehearsal is on already.
std::shared_ptr<StoreConnection> BeginRehearsal();

/// Has the calling thread's connections to the store lead to a copy of the database
/// file at `path`, which is only read. Returns as above; EndRehearsal ends it.
std::shared_ptr<StoreConnection> BeginReading(const std::string& path);

/// Ends it; connections that it handed out must not be used any more.
void EndRehearsal();

/// Returns the connection of the calling thread's rehearsal, empty when none is on.
std::shared_ptr<StoreConnection> RehearsalConnection();

/// Puts the content of the database file at `source` in place of the copy's.
/// Returns 0, or SQLite's code.
int RestoreIntoRehearsal(const std::string& source);

}  // namespace DBStore
