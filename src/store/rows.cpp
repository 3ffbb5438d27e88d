#include "store/rows.h"

#include <strings.h>

#include <algorithm>

namespace OrvoConfigStore {
namespace {

bool SameColumn(std::string_view a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

int VisitRow(void* context, int columns, char** texts, char** names) {
  RowMap row(static_cast<size_t>(columns));
  for (int i = 0; i < columns; ++i) {
    if (texts[i] != nullptr) row.Add(names[i], texts[i]);
  }
  (*static_cast<const std::function<void(RowMap &&)>*>(context))(std::move(row));
  return 0;
}

}  // namespace

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
