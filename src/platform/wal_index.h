#pragma once

#include <sqlite3.h>

#include <array>
#include <cstdint>

namespace DBStore {

/// The head of a write-ahead log's index, as SQLite describes it for its file format:
/// twelve words of which every commit changes several, whoever makes it.
struct WalHead {
  std::array<uint32_t, 12> words{};

  /// A count that each commit raises by one.
  uint32_t Commits() const { return words[2]; }
  /// How many pages of the log count, and what they take in bytes.
  uint32_t LogPages() const { return words[4]; }
  int64_t LogBytes() const;
};
inline bool operator==(const WalHead& a, const WalHead& b) {
  return a.words == b.words;
}

/// Looks at that head where it is, in the memory that all connections to a database
/// share. SQLite's own way to ask whether anything was committed compares the same
/// words, under two locks that were more than half of a read from the cache.
///
/// A commit is over when the head has changed, and no reader sees it before: as long
/// as the head is the one that was read before a reading, what was read is current.
class WalIndex {
 public:
  /// Looks for the index of an open database; false when another look may find it: it
  /// is made with the first reading. Without a write-ahead log there is none.
  bool Find(sqlite3* database);
  /// To be called before the database is closed.
  void Forget() { head_ = nullptr; }

  /// Copies the head; false when it is not known. A copy that is made while the head is
  /// written equals none that was there or will be.
  bool Read(WalHead* head) const;

 private:
  const uint32_t* head_ = nullptr;
};

}  // namespace DBStore
