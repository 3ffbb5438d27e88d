#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

/// Returns what a poll reports, "+KEY@INSTANCE" created, "*" changed, "-" deleted.
std::string Polled(ConfigWatcher& watcher) {
  std::string text;
  for (const ConfigChange& change : watcher.Poll()) {
    text += (text.empty() ? "" : " ") + std::string(1, "+*-"[change.kind]) + change.id.key + "@" + change.id.instanceId;
  }
  return text;
}

// A change, and what a watcher of everything reports of it, and one of the account "a" alone.
// clang-format off
const std::string kSet = "UPDATE Config SET ", kOfA = " WHERE Identifier='a';";
const char kChangedA[] = "*user_account@a", kDeletedA[] = "-user_account@a";
const struct { std::string sql; const char *everything, *account; } kWatchCases[] = {
    {"UPDATE KVTable SET Value='x';", "", ""},
    {kSet + "UserValue=UserValue" + kOfA, "", ""},
    {kSet + "UserValue='{}'" + kOfA, kChangedA, kChangedA},
    {kSet + "VitalValue=UserValue, UserValue=VitalValue" + kOfA, kChangedA, kChangedA},
    {kSet + "DesiredValue='{}'" + kOfA, kChangedA, kChangedA},
    {kSet + "CachedValue=''" + kOfA, kChangedA, kChangedA},
    {kSet + "Success=0" + kOfA, kChangedA, kChangedA},
    {"DELETE FROM Config;", "-user_account@a -user_account@b -time_source@", kDeletedA},
    {kSet + "Identifier='c'" + kOfA, "-user_account@a +user_account@c", kDeletedA},
    {kSet + "UserValue='{}' WHERE Identifier='b';", "*user_account@b", ""},
};
// clang-format on

class WatchedStore : public TestStore {
 public:
  WatchedStore() {
    for (const char* name : {"a", "b"}) Set(UserAccount(name), R"({"login":"a","uid":1})");
    Set(kTimeSource, R"({"method":"manual"})");
  }
};

}  // namespace

TEST(Watcher, ReportsRowsThatAreNotWhatTheyWere) {
  for (const auto& row : kWatchCases) {
    SCOPED_TRACE(row.sql);
    WatchedStore store;
    ConfigWatcher everything, account({UserAccount("a")}), twice({UserAccount("a"), UserAccount("a")});
    EXPECT_EQ("", Polled(everything)) << "what is stored already is no change";
    store.Run(row.sql);
    EXPECT_EQ(row.everything, Polled(everything));
    EXPECT_EQ(row.account, Polled(account));
    EXPECT_EQ(row.account, Polled(twice));
    EXPECT_EQ("", Polled(everything)) << "told once";
  }
}

TEST(Watcher, SelectsByPrefix) {
  WatchedStore store;
  ConfigWatcher component({{"", "", "clockd"}}), type({UserAccount("")}), quoted({{"", "", "o'b"}});
  store.Run("UPDATE Config SET UserValue='{}';");
  EXPECT_EQ("*time_source@", Polled(component));
  EXPECT_EQ("*user_account@a *user_account@b", Polled(type));
  EXPECT_EQ("", Polled(quoted));
}

TEST(Watcher, WaitsForAStoreThatIsGone) {
  WatchedStore store;
  ConfigWatcher watcher;
  const std::string file = store.Root().Resolve(HaldenLib::kStoreFile);
  for (const char* suffix : {"", "-wal", "-shm"}) rename((file + suffix).c_str(), (file + "-gone" + suffix).c_str());
  EXPECT_EQ("", Polled(watcher)) << "none is there to compare with";
  CreateDatabases();
  ConfigStore::GetStore("")->Set(ConfigStore::CreateObject(UserAccount("b"), R"({"login":"a","uid":1})"), {});
  EXPECT_EQ("-user_account@a -time_source@", Polled(watcher)) << "b is what it was";
}

TEST(Watcher, TellsWhatAFailedPollCouldNot) {
  WatchedStore store;
  ConfigWatcher watcher;
  store.Run("ALTER TABLE Config RENAME COLUMN CachedValue TO Lost;");
  store.Run("DELETE FROM Config WHERE Identifier='a';");
  EXPECT_NE("", Thrown([&] { watcher.Poll(); }));
  store.Run("ALTER TABLE Config RENAME COLUMN Lost TO CachedValue;");
  EXPECT_EQ("-user_account@a", Polled(watcher));
}
