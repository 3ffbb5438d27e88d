#pragma once

#include <memory>
#include <vector>

#include "configstore/export.h"
#include "configstore/object_id.h"

/// Following what changes in the store, without a daemon and without a thread.

namespace OrvoConfigStore {

/// One object whose stored row is not what it was.
struct ConfigChange {
  enum Kind { CREATED, CHANGED, DELETED };
  Kind kind = CHANGED;
  ConfigStoreObjectId id;
};

/// Tells which objects have changed since it was last asked.
///
/// The caller polls, as often as suits it; while nothing is written that costs a
/// few system calls. An object has changed when any layer of its row, its desired
/// value, its version or its confirmation is another one; rewriting what is there is
/// no change. States between two polls may coalesce, and one that returns to what
/// it was is not reported; the last one is never missed, also when a restore or a
/// boot load puts another file in the store's place. Read an object after it was
/// reported and you have its current state or a later one, which is reported again.
///
/// A watcher has a connection of its own and remembers a digest of each row. It is
/// used from one thread at a time.
class CONFIGSTORE_API ConfigWatcher {
 public:
  /// Watches the objects that any id of `selection` names, everything when it is
  /// empty. A part left empty stands for all: an id with a component alone is all
  /// of that component, one without an instance all instances of its type. What is
  /// stored now is the beginning and is not reported; without a store that is
  /// nothing. Throws ConfigStoreException(2000) when the store cannot be read.
  explicit ConfigWatcher(std::vector<ConfigStoreObjectId> selection = {});
  ConfigWatcher(ConfigWatcher&& other) noexcept;
  ConfigWatcher& operator=(ConfigWatcher&& other) noexcept;
  ~ConfigWatcher();

  /// Returns what has changed since the last call, sorted by component, group, key
  /// and instance. While there is no store nothing has: what is there again later
  /// is compared with what was there before. Throws ConfigStoreException(2000) when
  /// the store cannot be read; the next call then tells what this one could not.
  std::vector<ConfigChange> Poll();

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace OrvoConfigStore
