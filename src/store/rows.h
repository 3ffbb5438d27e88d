#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/db_store.h"

namespace OrvoConfigStore {

/// One result row, column name to text. A NULL column is absent: that is how an
/// unset layer differs from an empty one. Names are compared without regard to
/// case, since statements and tables spell them differently.
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

}  // namespace OrvoConfigStore
