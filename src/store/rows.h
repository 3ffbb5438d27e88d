#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/db_store.h"
#include "platform/row_cells.h"
#include "platform/sql_forms.h"

namespace OrvoConfigStore {

class RowMap;

/// The current row of a query, or a kept one, which it refers to: valid until the
/// visit returns.
/// A NULL column is absent: that is how an unset layer differs from an empty one.
/// Names are compared without regard to case, since statements and tables spell
/// them differently. They are constants.
class Row {
 public:
  explicit Row(const DBStore::RowCells& cells) : cells_(cells) {}
  /// Not explicit: what takes rows takes kept ones as well.
  Row(const RowMap& kept) : kept_(&kept) {}

  /// Returns the column's text, or null when it is absent.
  const char* Find(const char* column) const;
  /// Returns the column's text, empty when it is absent.
  const char* Text(const char* column) const;
  /// Returns a copy that may be kept.
  RowMap Keep() const;

 private:
  int IndexOf(const char* column) const {
    DBStore::KnownColumns* const known = cells_.known;
    if (known == nullptr || known->next >= known->count) return LookUp(column);
    const DBStore::KnownColumns::Known& expected = known->known[known->next];
    if (expected.column != column) return LookUp(column);
    ++known->next;
    return expected.index;
  }
  int LookUp(const char* column) const;
  int Search(const char* column) const;

  const RowMap* kept_ = nullptr;
  DBStore::RowCells cells_{};
};

/// A result row that is kept, column name to text; absence and names as in a Row.
class RowMap {
 public:
  /// An empty row with room for `columns` of them.
  explicit RowMap(size_t columns = 0) { columns_.reserve(columns); }

  void Add(std::string_view column, std::string_view text);

  /// Returns the column's text, or null when it is absent.
  const std::string* Find(std::string_view column) const;
  /// Returns the column's text, empty when it is absent.
  std::string Text(std::string_view column) const;

 private:
  // A row has ten columns at most: looking through them beats hashing.
  std::vector<std::pair<std::string, std::string>> columns_;
};

/// Runs a query and hands each row to `visit`, in the order of the result; false
/// when it failed. What `visit` throws ends the query and passes through.
bool ForEachRow(const std::shared_ptr<DBStore::StoreConnection>& connection, const std::string& sql,
                const std::function<void(RowMap&&)>& visit);

/// Runs a form and hands each row to `visit`, a callable that takes a Row; else as
/// above. Throws what FormatSql throws.
template <class Visit>
bool ForEachRow(const std::shared_ptr<DBStore::StoreConnection>& connection, const DBStore::NamedText& text,
                Visit visit) {
  const auto give = [](void* context, const DBStore::RowCells& cells) {
    (*static_cast<Visit*>(context))(Row(cells));
    return 0;
  };
  return DBStore::QueryNamed(connection, text, give, &visit, DBStore::kBusyTimeout) == 0;
}

}  // namespace OrvoConfigStore
