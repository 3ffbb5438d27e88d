#include "lifecycle/test_host.h"

using namespace OrvoConfigStore;

namespace {

TEST(Upgrade, RunsOnAHostThatIsUpgradingAndAfterARefreshOfTheSchemas) {
  const TestHost host;
  std::string calls;  // "LATE SECOND PACKAGE..."
  bool isUpgrading = false;
  const OrvoConfigUpgrade::ScopedUpgradeLibrary library(
      {[&] { return isUpgrading; },
       {},
       [&](bool late, const std::vector<std::string>& packages, bool second) {
         calls += std::to_string(late) + " " + std::to_string(second);
         for (const std::string& package : packages) calls += " " + package;
       }});
  Upgrade({"netd", "clockd"});
  EXPECT_EQ("", calls);
  EXPECT_TRUE(host.Logged("System not undergoing upgrade, cannot perform upgrade"));
  EXPECT_TRUE(RefreshConfigStore({"netd"}, {"clockd"}));
  EXPECT_EQ("0 0 clockd", std::exchange(calls, ""));
  isUpgrading = true;
  Upgrade({"netd", "clockd"});
  EXPECT_EQ("1 1 netd clockd", std::exchange(calls, ""));
  host.root.Write(std::string(HaldenLib::kComponentsDirectory) + "/netd/schema/bad.json", "");
  EXPECT_FALSE(RefreshConfigStore({"netd"}, {"clockd"}));
  EXPECT_EQ("", calls);
}

TEST(UpgradeStatus, IsTheOneRecordedLastOrUnknown) {
  const TestHost host;
  EXPECT_EQ(2, GetUpgradeLibStatus("lib"));
  EXPECT_TRUE(host.Logged("staus not present for upgrade library: lib"));
  for (const int status : {1, 0, 1}) {
    SetUpgradeLibStatus(status == 1, "lib");
    EXPECT_EQ(status, GetUpgradeLibStatus("lib"));
  }
  EXPECT_EQ("lib 1", host.Query("SELECT LibName, Success FROM UpgradeStatus;"));
  host.Run("ALTER TABLE UpgradeStatus RENAME TO Gone;");
  EXPECT_EQ(2, GetUpgradeLibStatus("lib"));
  SetUpgradeLibStatus(true, "lib");
  EXPECT_TRUE(host.Logged("Cannot query upgrade status for: lib"));
  EXPECT_TRUE(host.Logged("Failed to set the upgrade status."));
  fs::remove_all(host.root.Resolve(HaldenLib::kStoreDirectory));
  EXPECT_EQ(2, GetUpgradeLibStatus("lib"));
  SetUpgradeLibStatus(true, "lib");
  EXPECT_TRUE(host.Logged("Failed to connect to database."));
}

}  // namespace
