#pragma once

#include <cstdint>
#include <string>

#include "platform/wal_index.h"

namespace DBStore {

/// A value of the key table that a connection has read, for as long as nobody writes
/// that table: every write of an object asks for the same one.
///
/// It stands for one head of the log's index. A commit begins another head, and the
/// value is forgotten, unless it is known to be the connection's own, of a statement
/// that writes no keys: then the value stands for the new head.
class KeptKey {
 public:
  /// Whether `key` has in the state of `head` the value that `value` gets.
  bool Gives(const std::string& key, const WalHead& head, std::string* value) const {
    if (state_ == 0 || !(head == head_) || key != key_) return false;
    *value = value_;
    return true;
  }

  /// Keeps what was read in the state of `head`; `state` is the number that the
  /// connection gives it, not 0.
  void Keep(const std::string& key, const std::string& value, const WalHead& head, uint64_t state) {
    Forget();
    key_ = key;
    value_ = value;
    head_ = head;
    state_ = state;
  }

  /// After a commit of the connection that has written no keys: `state` is its number
  /// now, `pages` what the commit has made of the log, `head` was read afterwards. A
  /// state that is the next one says that nobody has committed in between, the counts of
  /// the head that nobody has since.
  void Follow(const WalHead& head, uint64_t state, int pages) {
    const bool isNext = state_ != 0 && state == state_ + 1 && head.Commits() == head_.Commits() + 1 &&
                        head.LogPages() == static_cast<uint32_t>(pages);
    if (!isNext) return Forget();
    head_ = head;
    state_ = state;
  }

  void Forget() { state_ = 0; }

 private:
  std::string key_;
  std::string value_;
  WalHead head_;
  uint64_t state_ = 0;  // 0: nothing is kept
};

}  // namespace DBStore
