#include <gtest/gtest.h>
#include <sys/wait.h>

#include "lifecycle/failing_disk.h"
#include "lifecycle/load_steps.h"
#include "lifecycle/test_host.h"
#include "store/connection.h"

using namespace OrvoConfigStore;

namespace {

namespace fs = std::filesystem;

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
struct HookCase {
  const char* name;
  const char* features;
  bool upgrading;
  const char* run;
};

const HookCase kHookCases[] = {
    {"Plain", "", false, "tracker"},
    {"Upgrading", "", true, "upgrade cleanup tracker"},
    {"UpgradeSwitchedOff", "ConfigStoreUpgrade=off\n", true, "tracker"},
    {"RestoreSwitchedOff", "ConfigStoreRestore=off\n", true, "upgrade cleanup files"},
    {"RestoreSwitchedOnByARestoredFile", "ConfigStoreRestore=off\nRestored=features\n", false, "files tracker"},
    {"BothSwitchedOff", "ConfigStoreUpgrade=off\nConfigStoreRestore=off\n", true, ""},
    {"StoreSwitchedOff", "ConfigStore=off\n", true, "upgrade tracker"},
};

class Hooks : public testing::TestWithParam<HookCase> {};

TEST_P(Hooks, RunAsTheHostIsSwitched) {
  const TestHost host;
  std::string run;
  const std::string features = GetParam().features;
  host.root.Write(HaldenLib::kFeaturesFile, features);
  host.root.Write(std::string(HaldenLib::kBackupDirectory) + "/etc/halden/motd", "");
  if (features.find("Restored") != std::string::npos) {
    host.root.Write(std::string(HaldenLib::kBackupDirectory) + HaldenLib::kFeaturesFile, "");
  }
  SetKV("BACKUP_FILES", R"(["/etc/halden/motd", "/etc/halden/features"])");
  fs::permissions(host.root.Write(HaldenLib::kPython, "#!/bin/sh\nprintf '%s ' \"$@\" > $HALDEN_ROOT/tracker"),
                  fs::perms::owner_all);
  host.Put(ConfigStoreObjectId("k", "g", "unknown"), "'auto', 'user', null, null, 1");
  const OrvoConfigUpgrade::ScopedUpgradeLibrary library(
      {[] { return GetParam().upgrading; },
       {},
       [&run](bool late, const std::vector<std::string>&, bool second) { run += !late && second ? "upgrade " : "?"; }});
  LoadStore(false);
  if (host.Rows().empty()) run += "cleanup ";
  if (host.Exists("/etc/halden/motd")) run += "files ";
  const std::string tracker = host.root.Read("/tracker");
  if (!tracker.empty()) run += "tracker ";
  EXPECT_EQ(GetParam().run, run.substr(0, run.size() - (run.empty() ? 0 : 1)));
  if (!tracker.empty()) {
    EXPECT_EQ(host.root.Resolve(HaldenLib::kFileTracker) + " restore --checkNewFiles true ", tracker);
  }
  if (features == "ConfigStore=off\n") {
    EXPECT_EQ("auto", host.Query("SELECT AutoConfValue FROM Config;"));
  }
}

INSTANTIATE_TEST_SUITE_P(Switches, Hooks, testing::ValuesIn(kHookCases),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(LoadStore, GoesOnWithoutAFileTracker) {
  const TestHost host;
  LoadStore(false);
  EXPECT_TRUE(host.Logged("[1102]HaldenKernel_ForkExec failed, errno: No such file or directory") ||
              host.Logged("[1104]Child process terminated with exit value: "));
  EXPECT_TRUE(host.Logged("CleanupRestoredFiles failed"));
  EXPECT_TRUE(IsBoot());
}

// Each step that fails changes nothing, and the next load makes up for it.
struct StepCase {
  const char* name;
  const char* trigger;  // that makes the step fail
  const char* failure;
  bool inCleanUp;
};

const StepCase kStepCases[] = {
    {"ClearAutomatic", "UPDATE OF AutoConfValue ON Config", "2000 Error removing auto configuration value.", true},
    {"DeleteEmpty", "DELETE ON Config", "2000 Error cleaning up config.", true},
    {"ClearUser", "UPDATE OF UserValue ON Config", "2000 Failed to cleanup previous user configuration.", false},
    {"InsertStaged", "INSERT ON Config", "2000 Failed to cleanup previous user configuration.", false},
    {"ApplyStaged", "UPDATE OF UserValue ON Config WHEN NEW.UserValue NOT NULL", "2000 Failed to update config table.",
     false},
    {"DropStaged", "DELETE ON DesiredUserConfig", "2000 Failed to cleanup desired configuration.", false},
    {"LeaveMode", "UPDATE ON KVTable WHEN NEW.Key='APPLY_BOOT'", "2000 Failed to cleanup desired configuration.",
     false},
};

class Steps : public testing::TestWithParam<StepCase> {};

TEST_P(Steps, ChangeAllOrNothing) {
  const TestHost host;
  host.Put(kTimeSource, "'auto', 'old', null, null, 1");
  host.Put(UserAccount("auto"), "'auto', null, null, null, 1");
  SetDesiredUserConfig({host.Object(UserAccount("dora"), R"({"login":"dora","uid":9})")});
  SetBootMode(BOOTMODE_APPLY);
  if (!GetParam().inCleanUp) CleanupAutoConfig();
  const std::string before = host.Query(kEverything);
  host.Run(std::string("CREATE TRIGGER fault BEFORE ") + GetParam().trigger +
           " BEGIN SELECT RAISE(ABORT, 'fault'); END;");
  EXPECT_EQ(GetParam().failure, Thrown([] { LoadStore(false); }));
  EXPECT_EQ(before, host.Query(kEverything));
  CSLogger::Log(CSLogger::LOG_PRIORITY_WARNING, "after the load");
  EXPECT_NE(std::string::npos, host.root.Read("/tmp/configstore-boot.log").find("after the load"));

  host.Run("DROP TRIGGER fault;");
  LoadStore(false);
  EXPECT_EQ("time_source - - 0; user_account@dora {\"login\":\"dora\",\"uid\":9,\"cs_generated_id\":\"dora\"} - 0",
            host.Rows());
}

INSTANTIATE_TEST_SUITE_P(All, Steps, testing::ValuesIn(kStepCases),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(LoadStore, LeavesNothingAttachedWhenTheLastStepFails) {
  const TestHost host;
  host.Put(kTimeSource, "null, 'old', null, 'pending', 1");
  host.Run("CREATE TRIGGER fault BEFORE UPDATE OF Success ON Config BEGIN SELECT RAISE(ABORT, 'fault'); END;");
  const Connection connection = GetConn();
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ("2000 Failed to reset success flag for configuration.",
              Thrown([&] { ResetSuccessInternal(connection); }));
  }
  EXPECT_EQ("time_source old pending 1", host.Rows());
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

// A staged load is stopped at every one of its writes in turn, by a full disk or
// by a crash: either nothing is applied or all is, and the next load ends well.
class StagedLoad : public testing::TestWithParam<bool> {};

TEST_P(StagedLoad, LosesNothingWhereverItStops) {
  const TestHost host;
  host.root.Write(HaldenLib::kFeaturesFile, "ConfigStoreUpgrade=off\nConfigStoreRestore=off\n");
  host.Put(kTimeSource, "null, 'old', null, null, 1");
  SetDesiredUserConfig({host.Object(UserAccount("dora"), R"({"login":"dora","uid":9})")});
  SetBootMode(BOOTMODE_APPLY);
  const std::string store = host.root.Read(HaldenLib::kStoreFile);
  const char kState[] =
      "SELECT (SELECT group_concat(Name || Identifier || '=' || coalesce(substr(UserValue, 1, 3), '-')) FROM (SELECT * "
      "FROM Config ORDER BY Name)), (SELECT Value FROM KVTable WHERE Key='APPLY_BOOT'), (SELECT count(*) FROM "
      "DesiredUserConfig);";
  bool isComplete = false;
  int writes = 0;
  for (; !isComplete; ++writes) {
    for (const char* suffix : {"-wal", "-shm", "-journal"}) {
      fs::remove(host.root.Resolve(HaldenLib::kStoreFile) + suffix);
    }
    host.root.Write(HaldenLib::kStoreFile, store);
    const pid_t child = fork();
    if (child == 0) {
      const FailingDisk disk(writes, GetParam());
      const bool isDone = Thrown([] { LoadStore(false); }).empty();
      _exit(isDone && !FailingDisk::HasFailed() ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    isComplete = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    const std::string state = host.Query(kState);
    EXPECT_TRUE(state == "time_source=old true 1" || state == "time_source=-,user_accountdora={\"l false 0")
        << "after " << writes << " writes: " << state;
    LoadStore(false);
    EXPECT_EQ("user_accountdora={\"l false 0", host.Query(kState).substr(host.Query(kState).find("user")))
        << "after " << writes << " writes";
  }
  EXPECT_GT(writes, 10) << "the writes go through the hook";
}

INSTANTIATE_TEST_SUITE_P(Stopped, StagedLoad, testing::Bool(),
                         [](const auto& test) { return test.param ? "ByACrash" : "ByAFullDisk"; });

}  // namespace
