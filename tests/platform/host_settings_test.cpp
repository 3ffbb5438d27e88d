#include "platform/host_settings.h"

#include <gtest/gtest.h>

#include "platform/config_upgrade.h"
#include "support/temp_root.h"

namespace HaldenLib {
namespace {

TEST(Preferences, AreTheLinesOfTheirFile) {
  const TempRoot root;
  root.Write("/etc/halden/preferences", "a=1\n b = x = y \r\n#c=3\nno line\n\nd=1\nd=-2\ne=\nf=99999999999\ng=7 8");
  Preference_Init();
  const struct {
    const char* key;
    const char* text;
    int number;
  } kCases[] = {
      {"a", "1", 1},   {"b", "x = y", 0},       {"c", "none", 0}, {"no line", "none", 0},
      {"d", "-2", -2}, {"f", "99999999999", 0}, {"e", "", 0},     {"g", "7 8", 0},
  };
  for (const auto& row : kCases) {
    EXPECT_EQ(row.text, Preference_GetString(row.key, "none")) << row.key;
    EXPECT_EQ(row.number, Preference_GetLong(row.key, 0)) << row.key;
  }
  Preference_Exit();
  EXPECT_EQ(5, Preference_GetLong("a", 5));
}

TEST(Features, AreOnUnlessSwitchedOff) {
  const TempRoot root;
  root.Write("/etc/halden/features", "ConfigStoreUpgrade=off\nConfigStoreRestore = on\n");
  EXPECT_TRUE(FeatureState_IsEnabled(kFeatureStore));
  EXPECT_FALSE(FeatureState_IsEnabled(kFeatureUpgrade));
  EXPECT_TRUE(FeatureState_IsEnabled(kFeatureRestore));

  root.Write("/etc/halden/features", "ConfigStoreRestore=off");
  EXPECT_TRUE(FeatureState_IsEnabled(kFeatureRestore)) << "read again without being told";
  FeatureState_Init();
  EXPECT_FALSE(FeatureState_IsEnabled(kFeatureRestore));

  const TempRoot otherHost;
  EXPECT_TRUE(FeatureState_IsEnabled(kFeatureRestore));
}

TEST(UpgradeLibrary, IsTheInnermostScopes) {
  using namespace OrvoConfigUpgrade;
  EXPECT_FALSE(IsUpgrade());
  std::string upgraded;
  {
    const ScopedUpgradeLibrary outer({[] { return true; }, [] { return false; }, nullptr});
    {
      UpgradeFunctions functions;
      functions.getUpgradeRunner = [] { return true; };
      functions.upgradeConfig = [&upgraded](bool late, const std::vector<std::string>& packages, bool second) {
        upgraded = std::to_string(late) + packages.at(0) + std::to_string(second);
      };
      const ScopedUpgradeLibrary inner(functions);
      EXPECT_FALSE(IsUpgrade());
      EXPECT_TRUE(GetUpgradeRunner());
      UpgradeConfig(true, {" p "}, false);
    }
    EXPECT_TRUE(IsUpgrade());
    EXPECT_FALSE(GetUpgradeRunner());
    UpgradeConfig(true, {"q"}, true);
  }
  EXPECT_FALSE(IsUpgrade());
  EXPECT_EQ("1 p 0", upgraded);
}

}  // namespace
}  // namespace HaldenLib
