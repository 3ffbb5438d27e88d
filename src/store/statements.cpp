#include "store/statements.h"

#include <cstddef>
#include <vector>

namespace OrvoConfigStore {
namespace {

constexpr char kNow[] = "(datetime(CURRENT_TIMESTAMP))";

struct Kept {
  const char* column;
  const char* fallback;  // for a row that does not exist yet
};

// The value that `kept` has in the row that is about to be replaced.
std::string Keep(const Kept& kept) {
  return std::string("coalesce((select ") + kept.column +
         " from config where identifier='%1$s' and name='%2$s' and configgroup='%3$s' and component='%4$s'), " +
         kept.fallback + "), ";
}

// A column that is not listed is reset to its default by the replace.
struct LayerRow {
  const char* bound;       // the column this write owns
  std::vector<Kept> kept;  // in statement order
};

// Indexed by LayerWrite. Deliberate: only a user write resets the desired
// value, and only one made during an upgrade starts a new row unconfirmed.
const std::vector<LayerRow>& LayerRows() {
  static const std::vector<LayerRow> rows = {
      {"UserValue", {{"AutoConfValue", "null"}, {"VitalValue", "null"}, {"CachedValue", "null"}}},
      {"UserValue", {{"success", "0"}, {"AutoConfValue", "null"}, {"VitalValue", "null"}, {"CachedValue", "null"}}},
      {"AutoConfValue",
       {{"success", "1"},
        {"DesiredValue", "null"},
        {"UserValue", "null"},
        {"VitalValue", "null"},
        {"CachedValue", "null"}}},
      {"VitalValue",
       {{"success", "1"},
        {"DesiredValue", "null"},
        {"AutoConfValue", "null"},
        {"UserValue", "null"},
        {"CachedValue", "null"}}},
      {"CachedValue",
       {{"success", "1"},
        {"DesiredValue", "null"},
        {"AutoConfValue", "null"},
        {"UserValue", "null"},
        {"VitalValue", "null"}}},
  };
  return rows;
}

RowSql ComposeLayer(const LayerRow& layer) {
  std::string columns = "identifier, name, configgroup, component, version, CreationTime, ";
  std::string row = "('%1$s', '%2$s', '%3$s', '%4$s', '%5$s', " + Keep({"CreationTime", kNow});
  for (const Kept& kept : layer.kept) {
    columns += std::string(kept.column) + ", ";
    row += Keep(kept);
  }
  return {"insert or replace into config(" + columns + layer.bound + ") values ", row + "?)"};
}

// A write by context: what it carries over and what it binds.
struct ContextRow {
  const char* columns;     // after CreationTime
  std::vector<Kept> kept;  // the first of them
  const char* bound;       // values of the rest
};

// Indexed by ContextWrite. Deliberate: the second clears the desired value as
// well, since it does not carry it over.
const std::vector<ContextRow>& ContextRows() {
  static const std::vector<ContextRow> rows = {
      {"AutoConfValue, UserValue, VitalValue, CachedValue, DesiredValue", {{"AutoConfValue", "null"}}, "?, ?, ?, null"},
      {"success, AutoConfValue, UserValue, VitalValue, CachedValue",
       {{"success", "1"}, {"AutoConfValue", "null"}},
       "?, ?, ?"},
      {"success, UserValue, AutoConfValue, VitalValue, CachedValue",
       {{"success", "1"}, {"UserValue", "null"}},
       "?, ?, ?"},
  };
  return rows;
}

RowSql ComposeContext(const ContextRow& context) {
  std::string row = "('%2$s', '%3$s', '%4$s', '%1$s', '%5$s', " + Keep({"CreationTime", kNow});
  for (const Kept& kept : context.kept) row += Keep(kept);
  return {std::string("insert or replace into config( name, configgroup, component, identifier, version, "
                      "CreationTime, ") +
              context.columns + ") values ",
          row + context.bound + ");"};
}

template <class Row>
std::vector<RowSql> ComposeAll(const std::vector<Row>& rows, RowSql (*compose)(const Row&)) {
  std::vector<RowSql> texts;
  for (const Row& row : rows) texts.push_back(compose(row));
  return texts;
}

}  // namespace

const RowSql& CompleteWriteSql() {
  static const RowSql text = {
      "insert or replace into config(identifier, name, configgroup, component, version, CreationTime, autoconfvalue, "
      "uservalue, vitalvalue, cachedvalue) values ",
      "('%s', '%s', '%s', '%s', '%s', " + Keep({"CreationTime", kNow}) + " ?, ?, ?, ?)"};
  return text;
}

const RowSql& LayerWriteSql(LayerWrite write) {
  static const std::vector<RowSql> texts = ComposeAll(LayerRows(), ComposeLayer);
  return texts[static_cast<size_t>(write)];
}

const RowSql& ContextWriteSql(ContextWrite write) {
  static const std::vector<RowSql> texts = ComposeAll(ContextRows(), ComposeContext);
  return texts[static_cast<size_t>(write)];
}

}  // namespace OrvoConfigStore
