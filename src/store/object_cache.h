#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "store/reading.h"

/// The objects that a handle has read last, so that reading one again costs a
/// look at the database's state instead of a row and its text.
///
///   1. All that is kept was read in one state of the database, named by
///      DBStore::CurrentState: any commit, of this connection or another, by any
///      process, begins a new one. An object is handed out only after the state
///      has been asked for anew; in another state everything is forgotten.
///   2. An object is kept together with the state that its own read has seen.
///   3. Inside a transaction nothing is handed out and nothing kept.
///   4. An object is kept when it is read twice in a short while: reading many
///      once costs nothing.
///   5. A kept object is never handed out itself, only copies.
///   6. What is kept takes at most ReadCacheLimit() bytes; the limit 0 turns the
///      cache off.

namespace OrvoConfigStore {

class ObjectCache {
 public:
  /// Returns the merged object of `id` as GetInternal does.
  std::shared_ptr<ConfigStoreObject> Get(const ConfigStoreObjectId& id, const Connection& connection,
                                         const std::shared_ptr<SchemaObject>& schema);

 private:
  struct Entry {
    std::shared_ptr<const ConfigStoreObject> object;
    std::shared_ptr<SchemaObject> schema;  // that the object was made with
    size_t bytes = 0;
  };

  Entry& EntryOf(size_t hash) { return entries_[hash % entries_.size()]; }
  bool IsReadAgain(size_t hash);
  void Keep(size_t hash, const ConfigStoreObject& object, const std::shared_ptr<SchemaObject>& schema, uint64_t state);
  void Drop(Entry& entry);
  void Clear();

  static constexpr size_t kEntries = 256;
  static constexpr size_t kRemembered = 64;

  std::vector<Entry> entries_;  // by hash; none until the first is kept
  std::array<size_t, kRemembered> lastRead_{};
  uint64_t state_ = 0;
  size_t bytes_ = 0;
  size_t nextToDrop_ = 0;
};

/// The bound of every cache of this process, in bytes: what SetReadCacheLimit has
/// set, else HALDEN_READ_CACHE of the environment, else 256 KiB.
size_t ReadCacheLimit();
void SetReadCacheLimitInternal(size_t bytes);

}  // namespace OrvoConfigStore
