#include "api/config_store_impl.h"
#include "store/connection.h"
#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

TEST(StoreHandle, IsEmptyWithoutAStoreAndRefusesNamespaces) {
  TempRoot root;
  EXPECT_EQ(nullptr, ConfigStore::GetStore(""));
  EXPECT_EQ("2000 Invalid value for namespace.", Thrown([] { ConfigStore::GetStore("system"); }));
  EXPECT_EQ(nullptr, GetConn());
  EXPECT_THROW(ConfigStoreImpl(nullptr).GetThis(), std::bad_weak_ptr);
  EXPECT_EQ("2000 Failed to connect to database", Thrown([] { GetDBStore(DBStore::TYPE_STORE, true); }));
}

void Insert(TestStore& store, const std::string& method) {
  store.Set(kTimeSource, R"({"method":")" + method + "\"}");
}

// What a course of guards leaves in the store.
// clang-format off
using Guard = ConfigStoreTransaction;
const struct { const char* name; void (*act)(TestStore&); const char* rows; } kGuardCases[] = {
    {"committed", [](TestStore& s) { Guard guard(s.store); Insert(s, "ntp"); EXPECT_EQ(0, guard.Commit()); },
     R"({"method":"ntp"})"},
    {"destroyed", [](TestStore& s) { Guard guard(s.store); Insert(s, "ntp"); }, ""},
    {"cancelled", [](TestStore& s) { Guard guard(s.store); Insert(s, "ntp"); EXPECT_EQ(0, guard.Cancel()); }, ""},
    {"exception", [](TestStore& s) {
       EXPECT_NE("", Thrown([&] { Guard guard(s.store); Insert(s, "ntp"); Insert(s, "sundial"); }));
     }, ""},
};
// clang-format on

TEST(Guards, UndoWhatIsNotCommitted) {
  for (const auto& row : kGuardCases) {
    SCOPED_TRACE(row.name);
    TestStore store;
    row.act(store);
    EXPECT_EQ(row.rows, store.Query("SELECT UserValue FROM Config;"));
    EXPECT_EQ(2, store->CancelTransaction()) << "nothing is left open";
  }
}

TEST(StoreHandle, TransactionFailuresAreResultsOrExceptionsAsTheyAreNamed) {
  TestStore store;
  EXPECT_EQ("2000 Commit transaction failed.", Thrown([&] { store->CommitTransaction(); }));
  store.Run("BEGIN IMMEDIATE;");  // another connection writes
  EXPECT_NE(0, store->BeginTransaction());
  EXPECT_EQ("2000 Failed to start a transaction.", Thrown([&] { ConfigStoreTransaction guard(store.store); }));
  store.Run("ROLLBACK;");
  EXPECT_EQ("", Thrown([&] { ConfigStoreTransaction(store.store).Commit(); }));
}

}  // namespace
