#include "api/nearest_name.h"

#include <algorithm>

namespace OrvoConfigStore {
namespace {

// Names beyond it are not compared, since that takes the product of their lengths.
constexpr size_t kMaxLength = 128;

size_t Distance(size_t a, size_t b) {
  return a > b ? a - b : b - a;
}

// The edits that make one name of the other, the swap of two neighbours being one.
size_t Edits(std::string_view a, std::string_view b) {
  std::vector<size_t> beforeLast(b.size() + 1), last(b.size() + 1), row(b.size() + 1);
  for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    beforeLast.swap(last);
    last.swap(row);
    row[0] = i;
    for (size_t j = 1; j <= b.size(); ++j) {
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
      const bool areSwapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (areSwapped) row[j] = std::min(row[j], beforeLast[j - 2] + 1);
    }
  }
  return row[b.size()];
}

}  // namespace

std::string NearestName(std::string_view name, const std::vector<std::string_view>& names) {
  std::string_view nearest;
  size_t fewest = name.size() / 3 + 1;  // one edit beyond what is allowed
  if (name.size() < 3) fewest = 2;
  for (const std::string_view candidate : names) {
    if (candidate.size() > kMaxLength || name.size() > kMaxLength) continue;
    if (Distance(candidate.size(), name.size()) >= fewest) continue;
    const size_t edits = Edits(name, candidate);
    if (edits < fewest && edits < candidate.size()) {
      fewest = edits;
      nearest = candidate;
    }
  }
  return std::string(nearest);
}

}  // namespace OrvoConfigStore
