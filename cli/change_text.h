#pragma once

#include <configstore/rehearsal.h>

#include <optional>
#include <string>
#include <vector>

#include "session.h"

/// What a write does to a row, in words: the layers, and what else it brings.

namespace csctl {

using Row = std::optional<OrvoConfigStore::StoredRow>;

/// Returns the layers that differ, "user", "auto", "vital", "cached"; the order of
/// members makes no difference.
std::vector<std::string> ChangedLayers(const OrvoConfigStore::ConfigStoreObjectId& id, const Row& before,
                                       const Row& after);

/// Returns what becomes of the desired value and of the success flag.
std::vector<std::string> SideEffects(const Row& before, const Row& after);

/// Returns "a", "a and b", "a, b and c".
std::string Enumerate(const std::vector<std::string>& words);

/// What a write of one object did.
struct WriteReport {
  Row before;
  Row after;
  bool isStaged = false;  ///< a value of it remains in the staged configuration
};

/// Prints "DONE ID" and below it the layers and effects.
void PrintWrite(const Session& session, const std::string& done, const OrvoConfigStore::ConfigStoreObjectId& id,
                const WriteReport& report);

}  // namespace csctl
