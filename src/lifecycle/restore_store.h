#pragma once

namespace OrvoConfigStore {

/// Removes the store file and puts the last backup in its place, if there is a
/// consistent one; then creates what is missing. Every problem is logged.
void RestoreStore();

}  // namespace OrvoConfigStore
