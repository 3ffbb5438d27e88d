#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "api/config_store_impl.h"
#include "store/connection.h"
#include "support/log_capture.h"
#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

TEST(StoreHandle, IsEmptyWithoutAStoreAndRefusesNamespaces) {
  TempRoot root;
  EXPECT_EQ(nullptr, ConfigStore::GetStore(""));
  EXPECT_EQ("2000 Invalid value for namespace.", Thrown([] { ConfigStore::GetStore("system"); }));
  EXPECT_EQ(nullptr, GetConn());
  EXPECT_EQ("2000 Failed to connect to database", Thrown([] { GetDBStore(DBStore::TYPE_STORE, true); }));
}

TEST(StoreHandle, KnowsThePointerThatOwnsIt) {
  TempRoot root;
  const auto owned = std::make_shared<ConfigStoreImpl>(nullptr);
  EXPECT_EQ(owned, owned->GetThis());
  ConfigStoreImpl unowned(nullptr);
  EXPECT_THROW(unowned.GetThis(), std::bad_weak_ptr);
}

// What a course of guards leaves in the store.
struct GuardCase {
  const char* name;
  void (*act)(TestStore& store);
  const char* rows;
};

void Insert(TestStore& store, const std::string& key) {
  store->Set(
      ConfigStore::CreateObject(ConfigStoreObjectId("time_source", "sync", "clockd"), R"({"method":")" + key + "\"}"),
      USERDATA_CONTEXT());
}

const GuardCase kGuardCases[] = {
    {"CommittedStays",
     [](TestStore& s) {
       ConfigStoreTransaction guard(s.store);
       Insert(s, "ntp");
       EXPECT_EQ(0, guard.Commit());
     },
     R"({"method":"ntp"})"},
    {"DestroyedIsUndone",
     [](TestStore& s) {
       ConfigStoreTransaction guard(s.store);
       Insert(s, "ntp");
     },
     ""},
    {"CancelledIsUndone",
     [](TestStore& s) {
       ConfigStoreTransaction guard(s.store);
       Insert(s, "ntp");
       EXPECT_EQ(0, guard.Cancel());
     },
     ""},
    {"InnerIsUndoneAlone",
     [](TestStore& s) {
       ConfigStoreTransaction outer(s.store);
       Insert(s, "ntp");
       {
         ConfigStoreTransaction inner(s.store);
         Insert(s, "ptp");
       }
       outer.Commit();
     },
     R"({"method":"ntp"})"},
    {"OuterUndoesTheInner",
     [](TestStore& s) {
       ConfigStoreTransaction outer(s.store);
       ConfigStoreTransaction inner(s.store);
       Insert(s, "ptp");
       inner.Commit();
     },
     ""},
    {"ExceptionUndoes",
     [](TestStore& s) {
       EXPECT_NE("", Thrown([&] {
                   ConfigStoreTransaction guard(s.store);
                   Insert(s, "ntp");
                   Insert(s, "sundial");
                 }));
     },
     ""},
};

class Guards : public testing::TestWithParam<GuardCase> {};

TEST_P(Guards, UndoWhatIsNotCommitted) {
  TestStore store;
  GetParam().act(store);
  EXPECT_EQ(GetParam().rows, store.Query("SELECT UserValue FROM Config;"));
  EXPECT_EQ(2, store->CancelTransaction());  // nothing is left open
}

INSTANTIATE_TEST_SUITE_P(Courses, Guards, testing::ValuesIn(kGuardCases),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(StoreHandle, TransactionFailuresAreResultsOrExceptionsAsTheyAreNamed) {
  TestStore store;
  EXPECT_EQ("2000 Commit transaction failed.", Thrown([&] { store->CommitTransaction(); }));
  store.Run("BEGIN IMMEDIATE;");  // another connection writes
  EXPECT_NE(0, store->BeginTransaction());
  EXPECT_EQ("2000 Failed to start a transaction.", Thrown([&] { ConfigStoreTransaction guard(store.store); }));
  store.Run("ROLLBACK;");
  EXPECT_EQ("", Thrown([&] { ConfigStoreTransaction(store.store).Commit(); }));
}

TEST(StoreHandle, CallsAreLogged) {
  TestStore store;
  LogCapture log(store.Root());
  store->BeginTransaction();
  store->CommitTransaction();
  store->CancelTransaction();
  EXPECT_EQ(
      (std::vector<std::string>{"BeginTransaction invoked", "CommitTransaction invoked", "CancelTransaction invoked."}),
      log.Lines());
}

TEST(StoreHandle, AForkedChildReadsAndWritesWithoutHarm) {
  TestStore store;
  Insert(store, "ntp");
  for (int round = 0; round < 10; ++round) {
    const pid_t child = fork();
    if (child == 0) {
      const bool read = store.Get(kTimeSource) != "-";
      Insert(store, round % 2 == 0 ? "ptp" : "manual");
      store.store.reset();
      _exit(read ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    ASSERT_EQ(0, status);
    EXPECT_EQ(round % 2 == 0 ? R"({"method":"ptp"})" : R"({"method":"manual"})", store.Get(kTimeSource));
  }
  EXPECT_EQ("ok", store.Query("PRAGMA integrity_check;"));
}

TEST(StoreHandle, ThreadsWithHandlesOfTheirOwnLoseNothing) {
  TestStore store;
  constexpr int kThreads = 4, kRounds = 25;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t] {
      std::shared_ptr<ConfigStore> own = ConfigStore::GetStore("");
      for (int i = 0; i < kRounds; ++i) {
        const std::string id = std::to_string(t) + "-" + std::to_string(i);
        ConfigStoreTransaction guard(own);
        own->Set(ConfigStore::CreateObject(UserAccount(id), R"({"login":"u","uid":1})"), USERDATA_CONTEXT());
        if (i % 5 == 0) {
          guard.Cancel();
        } else {
          guard.Commit();
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ("80", store.Query("SELECT count(*) FROM Config;"));
}

}  // namespace
