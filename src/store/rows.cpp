#include "store/rows.h"

#include <strings.h>

#include <algorithm>

namespace OrvoConfigStore {
namespace {

bool SameColumn(std::string_view a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

int VisitRow(void* context, int columns, char** texts, char** names) {
  (*static_cast<const std::function<void(RowMap &&)>*>(context))(Row({columns, texts, names, nullptr}).Keep());
  return 0;
}

bool IsSameLetter(char a, char b) {
  constexpr int kCaseBit = 0x20;
  return ((a ^ b) & ~kCaseBit) == 0;
}

// Most columns differ in their first two letters, which is cheap to see.
bool SameColumn(const char* a, const char* b) {
  if (!IsSameLetter(*a, *b)) return false;
  return (*a == '\0' || IsSameLetter(a[1], b[1])) && strcasecmp(a, b) == 0;
}

}  // namespace

const char* Row::Find(const char* column) const {
  if (kept_ != nullptr) {
    const std::string* const text = kept_->Find(column);
    return text == nullptr ? nullptr : text->c_str();
  }
  const int index = IndexOf(column);
  return index < 0 ? nullptr : cells_.texts[index];
}

int Row::LookUp(const char* column) const {
  DBStore::KnownColumns* const known = cells_.known;
  if (known == nullptr) return Search(column);
  for (size_t i = 0; i < known->count; ++i) {
    if (known->known[i].column != column) continue;
    known->next = i + 1;
    return known->known[i].index;
  }
  const int index = Search(column);
  if (known->count < known->known.size()) known->known[known->count++] = {column, index};
  return index;
}

int Row::Search(const char* column) const {
  for (int i = 0; i < cells_.columns; ++i) {
    if (SameColumn(cells_.names[i], column)) return i;
  }
  return -1;
}

const char* Row::Text(const char* column) const {
  const char* text = Find(column);
  return text == nullptr ? "" : text;
}

RowMap Row::Keep() const {
  if (kept_ != nullptr) return *kept_;
  RowMap kept(static_cast<size_t>(cells_.columns));
  for (int i = 0; i < cells_.columns; ++i) {
    if (cells_.texts[i] != nullptr) kept.Add(cells_.names[i], cells_.texts[i]);
  }
  return kept;
}

void RowMap::Add(std::string_view column, std::string_view text) {
  columns_.emplace_back(column, text);
}

const std::string* RowMap::Find(std::string_view column) const {
  const auto found = std::find_if(columns_.begin(), columns_.end(),
                                  [column](const auto& entry) { return SameColumn(entry.first, column); });
  return found == columns_.end() ? nullptr : &found->second;
}

std::string RowMap::Text(std::string_view column) const {
  const std::string* text = Find(column);
  return text == nullptr ? std::string() : *text;
}

bool ForEachRow(const std::shared_ptr<DBStore::StoreConnection>& connection, const std::string& sql,
                const std::function<void(RowMap&&)>& visit) {
  std::function<void(RowMap &&)> visitor = visit;
  return DBStore::ExecuteV2(connection, sql, VisitRow, &visitor, DBStore::kBusyTimeout) == 0;
}

}  // namespace OrvoConfigStore
