#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <vector>

#include "platform/json_values.h"

/// Looking many members of one JSON object up.

namespace OrvoConfigStore {

/// Finds the members of one object by name. Small objects and the first few
/// look-ups are scanned; further ones in a large object go through an index, so
/// that looking n names up in n members never takes n * n steps. The index is
/// sorted and not hashed: no choice of names makes it slow.
///
/// The object must keep its members, and its place, while this is in use.
class MemberIndex {
 public:
  using Member = JsonValue::Member;

  /// Throws ConfigStoreException(2000) when `object` is none.
  explicit MemberIndex(const JsonValue& object)
      : first_(object.MemberCount() == 0 ? nullptr : &*object.MemberBegin()), count_(object.MemberCount()) {}

  /// Returns the first member called `name`, or null.
  const Member* Find(std::string_view name) {
    if (count_ > kSmallObject) {
      if (scans_ == kFewScans) return FindSorted(name);
      ++scans_;
    }
    for (const Member* member = first_; member != first_ + count_; ++member) {
      if (TextOf(member->name) == name) return member;
    }
    return nullptr;
  }

  /// Returns how many members stand before `member`.
  size_t PositionOf(const Member* member) const { return static_cast<size_t>(member - first_); }

 private:
  static constexpr size_t kSmallObject = 32;
  static constexpr int kFewScans = 4;

  // Any total order does; comparing lengths first settles most pairs.
  static bool Before(std::string_view a, std::string_view b) {
    return a.size() != b.size() ? a.size() < b.size() : a < b;
  }

  const Member* FindSorted(std::string_view name) {
    if (sorted_.empty()) Sort();
    const auto found = std::lower_bound(sorted_.begin(), sorted_.end(), name, [](const Member* member, auto wanted) {
      return Before(TextOf(member->name), wanted);
    });
    return found != sorted_.end() && TextOf((*found)->name) == name ? *found : nullptr;
  }

  void Sort() {
    sorted_.resize(count_);  // whole or not at all, also when memory is short
    for (size_t i = 0; i < count_; ++i) sorted_[i] = first_ + i;
    // Stable: of members with one name the first stays first.
    std::stable_sort(sorted_.begin(), sorted_.end(),
                     [](const Member* a, const Member* b) { return Before(TextOf(a->name), TextOf(b->name)); });
  }

  const Member* first_;
  size_t count_;
  int scans_ = 0;
  std::vector<const Member*> sorted_;
};

}  // namespace OrvoConfigStore
