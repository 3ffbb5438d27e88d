#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "configstore/watch.h"
#include "platform/host_paths.h"
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

const std::string kUpdateUser = "UPDATE Config SET ";
const std::string kWhereA = " WHERE Identifier='a';";

struct WatchCase {
  const char* name;
  std::string sql;
  const char* everything;
  const char* account;  // what a watcher of the account "a" alone reports
};

const WatchCase kWatchCases[] = {
    {"Nothing", "UPDATE KVTable SET Value='x';", "", ""},
    {"SameAgain", kUpdateUser + "UserValue=UserValue" + kWhereA, "", ""},
    {"Value", kUpdateUser + "UserValue='{}'" + kWhereA, "*user_account@a", "*user_account@a"},
    {"LayerMoves", kUpdateUser + "VitalValue=UserValue, UserValue=VitalValue" + kWhereA, "*user_account@a",
     "*user_account@a"},
    {"Desired", kUpdateUser + "DesiredValue='{}'" + kWhereA, "*user_account@a", "*user_account@a"},
    {"EmptyIsNotUnset", kUpdateUser + "CachedValue=''" + kWhereA, "*user_account@a", "*user_account@a"},
    {"Confirmation", kUpdateUser + "Success=0" + kWhereA, "*user_account@a", "*user_account@a"},
    {"Deleted", "DELETE FROM Config;", "-user_account@a -user_account@b -time_source@", "-user_account@a"},
    {"Renamed", kUpdateUser + "Identifier='c'" + kWhereA, "-user_account@a +user_account@c", "-user_account@a"},
    {"OtherInstance", kUpdateUser + "UserValue='{}' WHERE Identifier='b';", "*user_account@b", ""},
};

class Watcher : public testing::TestWithParam<WatchCase> {
 protected:
  void SetUp() override {
    for (const char* name : {"a", "b"}) store_.Set(UserAccount(name), R"({"login":"a","uid":1})");
    store_.Set(kTimeSource, R"({"method":"manual"})");
  }
  TestStore store_;
};
using WatcherOfAStore = Watcher;

}  // namespace

TEST_P(Watcher, ReportsRowsThatAreNotWhatTheyWere) {
  ConfigWatcher everything, account({UserAccount("a")}), twice({UserAccount("a"), UserAccount("a")});
  EXPECT_EQ("", Polled(everything)) << "what is stored already is no change";
  store_.Run(GetParam().sql);
  EXPECT_EQ(GetParam().everything, Polled(everything));
  EXPECT_EQ(GetParam().account, Polled(account));
  EXPECT_EQ(GetParam().account, Polled(twice));
  EXPECT_EQ("", Polled(everything)) << "told once";
}
INSTANTIATE_TEST_SUITE_P(Rows, Watcher, testing::ValuesIn(kWatchCases),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(WatcherOfAStore, SelectsByPrefix) {
  ConfigWatcher component({{"", "", "clockd"}}), type({UserAccount("")}), quoted({{"", "", "o'b"}});
  store_.Run("UPDATE Config SET UserValue='{}';");
  EXPECT_EQ("*time_source@", Polled(component));
  EXPECT_EQ("*user_account@a *user_account@b", Polled(type));
  EXPECT_EQ("", Polled(quoted));
}

TEST_F(WatcherOfAStore, WaitsForAStoreThatIsGone) {
  ConfigWatcher watcher;
  const std::string file = store_.Root().Resolve(HaldenLib::kStoreFile);
  for (const char* suffix : {"", "-wal", "-shm"}) rename((file + suffix).c_str(), (file + "-gone" + suffix).c_str());
  EXPECT_EQ("", Polled(watcher)) << "none is there to compare with";
  CreateDatabases();
  ConfigStore::GetStore("")->Set(ConfigStore::CreateObject(UserAccount("b"), R"({"login":"a","uid":1})"), {});
  EXPECT_EQ("-user_account@a -time_source@", Polled(watcher)) << "b is what it was";
}

TEST_F(WatcherOfAStore, WorksOnInAForkedChild) {
  ConfigWatcher watcher;
  store_.Run("DELETE FROM Config WHERE Identifier='a';");
  const pid_t child = fork();
  if (child == 0) _exit(Polled(watcher) == "-user_account@a" ? 0 : 1);
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(0, status);
  EXPECT_EQ("-user_account@a", Polled(watcher));
}

TEST_F(WatcherOfAStore, TellsWhatAFailedPollCouldNot) {
  ConfigWatcher watcher;
  store_.Run("ALTER TABLE Config RENAME COLUMN CachedValue TO Lost;");
  store_.Run("DELETE FROM Config WHERE Identifier='a';");
  EXPECT_NE("", Thrown([&] { watcher.Poll(); }));
  store_.Run("ALTER TABLE Config RENAME COLUMN Lost TO CachedValue;");
  EXPECT_EQ("-user_account@a", Polled(watcher));
}
