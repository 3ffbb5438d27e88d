#pragma once

/// SQLite's view of the host: its default file access, except that absolute
/// names are found under the host root. Journals, attached databases and
/// multi-file commits follow, because SQLite derives their names from the
/// resolved one.

namespace DBStore {

/// Returns the name under which connections open the host's files; registers
/// it on first use. Null when SQLite cannot be set up.
const char* HostVfsName();

/// Keeps the locks of a forked child apart from those of its parent; called
/// before every opening. Does nothing in a process that has not been forked.
void SeparateFromParent();

}  // namespace DBStore
