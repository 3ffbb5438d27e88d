#include "platform/sql_format.h"
#include "store/statements.h"
#include "store/writing.h"
#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

constexpr char kFullRow[] =
    "INSERT INTO Config(Component, ConfigGroup, Name, Version, CreationTime, ModifiedTime, Success, AutoConfValue, "
    "UserValue, VitalValue, CachedValue, DesiredValue) VALUES ('netd', 'ipstack', 'stack_settings', '0.9', "
    "'2001-01-01 00:00:00', '2002-02-02 00:00:00', 0, 'A', 'U', 'V', 'C', 'D');";

// Runs one composed write over whatever is stored.
void Write(TestStore& store, const RowSql& sql, const std::vector<std::string>& values) {
  const std::string text = FormatSql(sql.text, {"", "stack_settings", "ipstack", "netd", "1.0"});
  const std::vector<int> types(values.size(), DBStore::VALUE_TEXT);
  ASSERT_EQ(0, DBStore::Execute(store.connection, text, values, types, DBStore::kBusyTimeout));
}

// What each composed write leaves in a row that was "A U V C D 0" (automatic,
// user, vital, cached, desired, success), and in a row it creates.
// clang-format off
using Values = std::vector<std::string>;
const struct { const char* name; const RowSql& sql; Values values; const char *overStored, *onNewRow; }
kWriteCases[] = {
    {"complete", CompleteWriteSql(), {"a", "u", "v", "c"}, "a u v c - 1", "a u v c - 1"},
    {"user", LayerWriteSql(LayerWrite::User), {"n"}, "A n V C - 1", "- n - - - 1"},
    {"user in an upgrade", LayerWriteSql(LayerWrite::UserInUpgrade), {"n"}, "A n V C - 0", "- n - - - 0"},
    {"automatic", LayerWriteSql(LayerWrite::AutoConf), {"n"}, "n U V C D 0", "n - - - - 1"},
    {"vital", LayerWriteSql(LayerWrite::Vital), {"n"}, "A U n C D 0", "- - n - - 1"},
    {"cached", LayerWriteSql(LayerWrite::Cached), {"n"}, "A U V n D 0", "- - - n - 1"},
    {"user by context, dropping the desired value", ContextWriteSql(ContextWrite::UserDroppingDesired), {"u", "v", "c"},
     "A u v c - 1", "- u v c - 1"},
    {"user by context", ContextWriteSql(ContextWrite::User), {"u", "v", "c"}, "A u v c - 0", "- u v c - 1"},
    {"automatic by context", ContextWriteSql(ContextWrite::AutoConf), {"a", "v", "c"}, "a U v c - 0", "a - v c - 1"},
};
// clang-format on

TEST(LayerWriting, KeepsTheColumnsItDoesNotOwn) {
  TestStore store;
  for (const auto& row : kWriteCases) {
    SCOPED_TRACE(row.name);
    store.Run("DELETE FROM Config;");
    store.Run(kFullRow);
    Write(store, row.sql, row.values);
    EXPECT_EQ(row.overStored, store.Layers("stack_settings"));
    EXPECT_EQ("2001-01-01 00:00:00 1.0", store.Query("SELECT CreationTime, Version FROM Config;"));
    EXPECT_EQ("1", store.Query("SELECT ModifiedTime > '2002-02-02' FROM Config;"));

    store.Run("UPDATE Config SET ConfigGroup='other', ModifiedTime='then';");  // of another type of the same name
    EXPECT_EQ("19", store.Query("SELECT length(ModifiedTime) FROM Config;")) << "any update refreshes it";
    Write(store, row.sql, row.values);
    EXPECT_EQ(row.overStored + std::string("; ") + row.onNewRow, store.Layers("stack_settings"));
    EXPECT_EQ("1", store.Query("SELECT CreationTime > '2002-02-02' FROM Config WHERE ConfigGroup='ipstack';"));
  }
}

TEST(Deleting, ThatFailsNamesTheObject) {
  TestStore store;
  store.Run("DROP TABLE Config;");
  EXPECT_EQ("2000 Delete failed: component netd group ipstack key stack_settings",
            Thrown([&] { DeleteInternal(kStackSettings, store.connection); }));
}

}  // namespace
