#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/db_store.h"
#include "platform/sql_forms.h"

namespace OrvoConfigStore {

class RowMap;

/// Where the columns of a query are, as far as they were asked for: the rows of one
/// query share it. Names are known by their address, which must not change meanwhile.
struct KnownColumns {
  struct Known {
    const char* column;
    int index;  // -1 for one that the query does not have
  };
  std::array<Known, 12> known;
  size_t count = 0;
  size_t next = 0;  // probably asked for next: each row is asked for the same, in the same order
};

/// The current row of a query, or a kept one, which it refers to: valid until the
/// visit returns.
/// A NULL column is absent: that is how an unset layer differs from an empty one.
/// Names are compared without regard to case, since statements and tables spell
/// them differently.
class Row {
 public:
  Row(int columns, char** texts, char** names, KnownColumns* known = nullptr)
      : columns_(columns), texts_(texts), names_(names), known_(known) {}
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
    if (known_ == nullptr || known_->next >= known_->count) return LookUp(column);
    const KnownColumns::Known& expected = known_->known[known_->next];
    if (expected.column != column) return LookUp(column);
    ++known_->next;
    return expected.index;
  }
  int LookUp(const char* column) const;
  int Search(const char* column) const;

  const RowMap* kept_ = nullptr;
  int columns_ = 0;
  char** texts_ = nullptr;
  char** names_ = nullptr;
  KnownColumns* known_ = nullptr;
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
  struct Context {
    Visit& visit;
    KnownColumns known;
  } query{visit, {}};
  const auto give = [](void* context, int columns, char** texts, char** names) {
    auto& to = *static_cast<Context*>(context);
    to.visit(Row(columns, texts, names, &to.known));
    return 0;
  };
  return DBStore::QueryNamed(connection, text, give, &query, DBStore::kBusyTimeout) == 0;
}

}  // namespace OrvoConfigStore
