// The life of a host: boots, a staged boot, a torn shutdown and an upgrade.

#include <signal.h>

#include "lifecycle/test_host.h"

using namespace OrvoConfigStore;

namespace {

const char kState[] = "SELECT group_concat(Key || '=' || Value, ' ') FROM (SELECT * FROM KVTable ORDER BY Key);";

int BackUp() {
  std::filesystem::create_directories(HaldenLib::ResolvePath(HaldenLib::kBackupDirectory));
  return backup(HaldenLib::kStoreFile, HaldenLib::kBackupFile);
}

// A process that is killed in the middle of a write.
void DieWriting() {
  EXPECT_EQ(-1, InChild([] {
    const auto connection = DBStore::GetConnection(DBStore::TYPE_STORE);
    DBStore::WriteKeyValue("BACKUP_FILES", "[\"committed\"]", connection);
    DBStore::BeginTransaction(connection);
    DBStore::ExecuteV2(connection, "DELETE FROM Config;", nullptr, nullptr, 0);
    return raise(SIGKILL);
  }));
}

TEST(BootRehearsal, GoesFromTheFirstBootToAnUpgrade) {
  const TestHost host;

  // The first boot: no backup, no objects; the boot phase begins.
  LoadStore(true);
  EXPECT_TRUE(host.Logged("ConfigStore backup not found "));
  EXPECT_EQ("APPLY_BOOT=false IS_BOOT=true", host.Query(kState));
  EXPECT_EQ("2000 API cannot be invoked with EXTERNAL context during boot",
            Thrown([&] { host.SetUser(kTimeSource, R"({"method":"ptp"})"); }));
  ConfigStore::GetStore("")->SetUserData(host.Object(kTimeSource, R"({"method":"ntp"})"),
                                         {USERDATA_CONTEXT::AUTOCONFIGURATION});
  EndAutoConf();
  EXPECT_EQ("APPLY_BOOT=false IS_BOOT=", host.Query(kState));
  host.SetUser(kTimeSource, R"({"method":"ptp"})");
  host.SetUser(UserAccount("edwin"), R"({"login":"edwin","uid":7})");
  ASSERT_EQ(0, BackUp());

  // The second: what came after the backup is gone, user values wait for their owners.
  host.SetUser(UserAccount("late"), R"({"login":"late","uid":8})");
  LoadStore(true);
  EXPECT_EQ(R"(time_source {"method":"ptp"} - 0; user_account@edwin {"login":"edwin","uid":7} - 0)", host.Rows());
  EXPECT_EQ("-", host.Get(kTimeSource)) << "neither the cleared automatic value nor the unconfirmed user value";
  EndAutoConf();
  SetBootStatus(kTimeSource, true);
  SetBootStatus(UserAccount("edwin"), false);
  EXPECT_EQ(R"({"method":"ptp"})", host.Get(kTimeSource));
  EXPECT_EQ("-", host.Get(UserAccount("edwin")));

  // A staged boot: the staged values replace all others; one is confirmed in part.
  SetDesiredUserConfig({host.Object(kTimeSource, R"({"method":"ntp","enabled":false})"),
                        host.Object(UserAccount("dora"), R"({"login":"dora","uid":9})")});
  EXPECT_EQ(R"({"method":"ptp"})", host.Get(kTimeSource)) << "staging changes nothing yet";
  SetBootMode(BOOTMODE_APPLY);
  LoadStore(false);
  const char kStaged[] = R"(time_source {"method":"ntp","enabled":false} - 0; user_account@dora )"
                         R"({"login":"dora","uid":9,"cs_generated_id":"dora"} - 0; user_account@edwin - - 0)";
  EXPECT_EQ(kStaged, host.Rows());
  EXPECT_EQ("0", host.Query("SELECT count(*) FROM DesiredUserConfig;"));
  EXPECT_FALSE(GetNextBootMode());
  EndAutoConf();
  SetBootStatus(UserAccount("dora"), true);
  SetPartialBootStatus(host.Object(kTimeSource, R"({"method":"ntp"})"));
  EXPECT_EQ(R"({"method":"ntp"})", host.Get(kTimeSource));
  EXPECT_EQ(R"({"login":"dora","uid":9})", host.Get(UserAccount("dora")));

  // A torn shutdown: what was committed is there, what was not is not.
  DieWriting();
  LoadStore(false);
  EXPECT_EQ(R"(time_source {"method":"ntp","enabled":false} - 0; user_account@dora )"
            R"({"login":"dora","uid":9,"cs_generated_id":"dora"} - 0)",
            host.Rows());
  EXPECT_EQ(R"(["committed"])", GetKV("BACKUP_FILES"));
  ASSERT_EQ(0, BackUp());
  DieWriting();
  LoadStore(true);
  EXPECT_NE(std::string::npos, host.Rows().find("dora")) << "the log of the removed store is not played in";
  EXPECT_EQ("ok", host.Query("PRAGMA integrity_check;"));

  // An upgrade: a package has gone, another writes with its runner registered.
  std::filesystem::remove_all(host.PackagePath("accessd") + "/schema");
  std::string calls;
  const OrvoConfigUpgrade::ScopedUpgradeLibrary library(
      {[] { return true; }, [] { return true; },
       [&](bool late, const std::vector<std::string>& packages, bool second) {
         calls += std::to_string(late) + std::to_string(packages.size()) + std::to_string(second);
         host.SetUser(kTimeSource, R"({"method":"manual"})");
       }});
  LoadStore(false);
  EXPECT_EQ("001", calls);
  EXPECT_EQ(R"(time_source {"method":"manual"} - 0)", host.Rows());
}

}  // namespace
