#pragma once

/// The host's files that are backed up with the store: their paths are a JSON list
/// among the store's own values, their copies lie in the backup directory under
/// the same paths. A list may come from anywhere, so that only files below
/// /etc/halden are written, without ".." or links on the way, and never those of
/// the store itself.

namespace OrvoConfigStore {

/// Copies each listed file back. One that cannot be is logged and skipped. Throws
/// ConfigStoreException(2000, "GetKV Failed") when the list cannot be read.
void RestoreHostFiles();

}  // namespace OrvoConfigStore
