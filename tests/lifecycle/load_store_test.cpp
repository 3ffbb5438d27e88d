#include "lifecycle/load_steps.h"
#include "lifecycle/test_host.h"
#include "store/connection.h"

using namespace OrvoConfigStore;

namespace {

const char kEverything[] =
    "SELECT Name, Identifier, AutoConfValue, UserValue, VitalValue, DesiredValue, Success FROM Config UNION ALL "
    "SELECT 'staged', Identifier, Value, '', '', '', '' FROM DesiredUserConfig UNION ALL "
    "SELECT 'mode', Value, '', '', '', '', '' FROM KVTable WHERE Key='APPLY_BOOT';";

TEST(LoadStore, MovesDesiredValuesUnlessTheirTypeIsNotRestored) {
  const TestHost host;
  std::string schema = ExampleText("components/clockd/schema/time_source.json");
  schema.replace(schema.find("\"noRestore\": false"), 18, "\"noRestore\": true");
  host.root.Write(std::string(HaldenLib::kComponentsDirectory) + "/clockd/schema/time_source.json", schema);
  host.Put(kTimeSource, "null, 'old', null, 'pending', 1");
  host.Put(UserAccount("a"), "null, 'old', null, 'pending', 1");
  host.Put(UserAccount("b"), "null, 'old', null, null, 1");
  host.Put(UserAccount("c"), "'auto', null, 'vital', null, 1");
  host.Put(UserAccount("d"), "'auto', null, null, null, 1");
  host.Put(ConfigStoreObjectId("k", "g", "unknown"), "null, 'old', null, 'pending', 1");
  LoadStore(false);
  EXPECT_EQ(
      "k old pending 1; time_source old pending 1; user_account@a pending - 0; user_account@b old - 0; "
      "user_account@c - - 0",
      host.Rows());
}

// What runs at a load, by the host's switches and whether it is upgrading: the
// upgrade library, the clean-up of unknown types that follows it, the store's own
// restoring of files, the host's file tracker.
// clang-format off
const struct { const char* features; bool isUpgrading; const char* run; } kHookCases[] = {
    {"", false, "tracker"},
    {"", true, "upgrade cleanup tracker"},
    {"ConfigStoreUpgrade=off\n", true, "tracker"},
    {"ConfigStoreRestore=off\n", true, "upgrade cleanup files"},
    {"ConfigStoreRestore=off\nRestored=features\n", false, "files tracker"},  // a restored file switches it on
    {"ConfigStoreUpgrade=off\nConfigStoreRestore=off\n", true, ""},
    {"ConfigStore=off\n", true, "upgrade tracker"},
};
// clang-format on

TEST(LoadStore, RunsWhatTheHostSwitchesOn) {
  for (const auto& row : kHookCases) {
    SCOPED_TRACE(std::string(row.features) + (row.isUpgrading ? "upgrading" : ""));
    const TestHost host;
    std::string run;
    host.root.Write(HaldenLib::kFeaturesFile, row.features);
    host.root.Write(std::string(HaldenLib::kBackupDirectory) + "/etc/halden/motd", "");
    if (std::string(row.features).find("Restored") != std::string::npos) {
      host.root.Write(std::string(HaldenLib::kBackupDirectory) + HaldenLib::kFeaturesFile, "");
    }
    SetKV("BACKUP_FILES", R"(["/etc/halden/motd", "/etc/halden/features"])");
    SetDesiredUserConfig({host.Object(kTimeSource, R"({"method":"ntp"})")});
    host.Program(HaldenLib::kPython, "printf '%s ' \"$@\" > $HALDEN_ROOT/tracker");
    host.Put(ConfigStoreObjectId("k", "g", "unknown"), "'auto', 'user', null, null, 1");
    const OrvoConfigUpgrade::ScopedUpgradeLibrary library({[&] { return row.isUpgrading; },
                                                           {},
                                                           [&](bool late, const auto&, bool second) {
                                                             SetBootMode(BOOTMODE_APPLY);
                                                             run += !late && second ? "upgrade " : "?";
                                                           }});
    LoadStore(false);
    if (host.Rows().empty()) run += "cleanup ";
    if (host.Exists("/etc/halden/motd")) run += "files ";
    const std::string tracker = host.root.Read("/tracker");
    if (tracker == host.root.Resolve(HaldenLib::kFileTracker) + " restore --checkNewFiles true ") run += "tracker ";
    EXPECT_EQ(row.run, run.substr(0, run.size() - (run.empty() ? 0 : 1))) << tracker;
    const bool keepsAutomatic = row.features == std::string("ConfigStore=off\n");
    EXPECT_EQ(1u, ListStagedConfig().size()) << "the mode was read before the upgrade";
    CSLogger::Log(CSLogger::LOG_PRIORITY_WARNING, "after the load");
    EXPECT_EQ(std::string::npos, host.root.Read("/tmp/configstore-boot.log").find("after the load"));
    EXPECT_EQ(keepsAutomatic ? "auto" : "-", host.Query("SELECT max(AutoConfValue) FROM Config;"));
  }
}

TEST(LoadStore, GoesOnWithoutAFileTrackerAndBeginsTheBootPhase) {
  const char kState[] = "SELECT group_concat(Key || '=' || Value, ' ') FROM (SELECT * FROM KVTable ORDER BY Key);";
  const TestHost host;
  LoadStore(false);
  EXPECT_TRUE(host.Logged("[1102]HaldenKernel_ForkExec failed, errno: No such file or directory") ||
              host.Logged("[1104]Child process terminated with exit value: "));
  EXPECT_TRUE(host.Logged("CleanupRestoredFiles failed"));
  EXPECT_EQ("APPLY_BOOT=false IS_BOOT=true", host.Query(kState));
  EndAutoConf();
  EXPECT_EQ("APPLY_BOOT=false IS_BOOT=", host.Query(kState));
}

// Each step that fails changes nothing, and the next load makes up for it. The first two clean up.
// clang-format off
const struct { const char *trigger, *failure; } kStepCases[] = {
    {"UPDATE OF AutoConfValue ON Config", "2000 Error removing auto configuration value."},
    {"DELETE ON Config", "2000 Error cleaning up config."},
    {"UPDATE OF UserValue ON Config", "2000 Failed to cleanup previous user configuration."},
    {"INSERT ON Config", "2000 Failed to cleanup previous user configuration."},
    {"UPDATE OF UserValue ON Config WHEN NEW.UserValue NOT NULL", "2000 Failed to update config table."},
    {"DELETE ON DesiredUserConfig", "2000 Failed to cleanup desired configuration."},
    {"UPDATE ON KVTable WHEN NEW.Key='APPLY_BOOT'", "2000 Failed to cleanup desired configuration."},
};
// clang-format on

TEST(LoadStore, StepsChangeAllOrNothing) {
  for (const auto& row : kStepCases) {
    SCOPED_TRACE(row.trigger);
    const TestHost host;
    host.Put(kTimeSource, "'auto', 'old', null, null, 1");
    host.Put(UserAccount("auto"), "'auto', null, null, null, 1");
    SetDesiredUserConfig({host.Object(UserAccount("dora"), R"({"login":"dora","uid":9})")});
    SetBootMode(BOOTMODE_APPLY);
    if (&row >= kStepCases + 2) CleanupAutoConfig();
    const std::string before = host.Query(kEverything);
    FailAt(row.trigger);
    EXPECT_EQ(row.failure, Thrown([] { LoadStore(false); }));
    EXPECT_EQ(before, host.Query(kEverything));
    CSLogger::Log(CSLogger::LOG_PRIORITY_WARNING, "after the load");
    EXPECT_NE(std::string::npos, host.root.Read("/tmp/configstore-boot.log").find("after the load"));

    host.Run("DROP TRIGGER fault;");
    LoadStore(false);
    EXPECT_EQ("time_source - - 0; user_account@dora {\"login\":\"dora\",\"uid\":9,\"cs_generated_id\":\"dora\"} - 0",
              host.Rows());
  }
}

TEST(LoadStore, StopsAtASchemaStoreThatCannotBeAttached) {
  const TestHost host;
  host.Put(kTimeSource, "null, 'old', null, 'pending', 1");
  host.root.Write(HaldenLib::kSchemaStoreFile, std::string(4096, 'x'));
  EXPECT_EQ("2000 Failed to attach schema store", Thrown([] { LoadStore(false); }));
  CleanupStore();
  EXPECT_TRUE(host.Logged("Cleanup failed: could not attach to SchemaStore"));
  EXPECT_EQ("time_source old pending 1", host.Rows());
}

TEST(LoadStore, CleanUpsWithoutAStoreAreLogged) {
  const TempRoot root;
  const LogCapture log(root);
  CleanupAutoConfig();
  CleanupStore();
  EXPECT_EQ((std::vector<std::string>{"Cleanup auto configurations", "Cleanup failed: could not connect to ConfigStore",
                                      "Cleanup config store", "Cleanup failed: could not connect to ConfigStore"}),
            log.Lines());
}

}  // namespace
