#include <filesystem>

#include "cli/host.h"
#include "configstore/boot_state.h"
#include "configstore/config_store.h"
#include "configstore/lifecycle.h"

namespace fs = std::filesystem;

namespace {

const std::string kClock = "clockd/sync/time_source";
const std::string kBackup = "/var/lib/halden/configstore/backup/current-store-1";
const std::string kStagedClock = R"({"components":{"clockd":{"sync":{"time_source":{"method":"ptp"}}}}})";

/// A host with the example packages installed and three objects stored.
class BootHost : public StockedHost {
 protected:
  void SetUp() override {
    StockedHost::SetUp();
    const std::string components = root_.Resolve("/usr/lib/halden/configmanager/components");
    fs::create_directories(components);
    fs::copy(kExamples + "/components", components, fs::copy_options::recursive);
    ASSERT_EQ(0, Run({"set", kClock}, R"({"method":"manual"})").exit);
    root_.Write("/etc/halden/hosts.conf", "a");
    root_.Write("/tmp/torn", std::string(4096, 'x'));
  }
  std::string Json(std::vector<std::string> arguments, const std::string& input = "") {
    arguments.push_back("--json");
    return Run(arguments, input).out;
  }
};

std::string InDocument(const std::string& clock) {
  return R"({"components":{"clockd":{"sync":{"time_source":)" + clock + "}}}}";
}

}  // namespace

// clang-format off
const Case kBootCases[] = {
    {"Load", {"load"}, "", 0, {"csctl boot end"}},
    {"LoadHelpSaysWhatBootLoses", {"load", "--help"}, "", 0, {"REMOVES the store file", "restores the last", "lost"}},
    {"LoadTakesNoArgument", {"load", "now"}, "", 2, {"now"}},
    {"BootAlone", {"boot"}, "", 2, {"csctl --help"}},
    {"BootBegin", {"boot", "begin", "--json"}, "", 0, {"{\"boot\":true}\n"}},
    {"BootEnd", {"boot", "end"}, "", 0, {"not in its boot phase"}},
    {"ModeShows", {"boot", "mode"}, "", 0, {"normal: "}},
    {"ModeWarnsWhenNothingIsStaged", {"boot", "mode", "apply"}, "", 0, {"apply: ", "would clear every user value"}},
    {"ModeUnknown", {"boot", "mode", "later"}, "", 2, {"later"}},
    {"StageSet", {"stage", "set"}, kStagedClock, 0, {"staged 1 objects", "csctl boot mode apply"}},
    {"StageNotJson", {"stage", "set"}, "{", 3, {"standard input: Failed to parse"}},
    {"StageNoObject",
     {"stage", "set"},
     "[]",
     3,
     {"standard input: Invalid JSON", "line 1, column 1: INCORRECT TYPE: expected object."}},
    {"StageNothing", {"stage", "set"}, R"({"components":{}})", 3, {"holds no object"}},
    {"StageNoComponents", {"stage", "set"}, "{}", 3, {"Required property missing: components"}},
    {"StageBesideComponents", {"stage", "set"}, R"({"components":{},"x":1})", 3, {"/x: Additional property not allowed: x"}},
    {"StageScalar", {"stage", "set"}, R"({"components":{"netd":7}})", 3, {"/netd: INCORRECT TYPE: expected object."}},
    {"StageUnknownType", {"stage", "set"}, R"({"components":{"netd":{"ipstack":{"q\"":{}}}}})", 3, {"not allowed: q\""}},
    {"StageSingletonTwice", {"stage", "set"},
     R"({"components":{"clockd":{"sync":{"time_source":{"method":"ptp"},"time_source":{}}}}})", 3,
     {"/clockd/sync/time_source: Type is there twice"}},
    {"StageArrayOfSingleton", {"stage", "set"}, InDocument("[]"), 3, {kClock + ": INCORRECT TYPE: expected object."}},
    {"StageObjectOfInstances", {"stage", "set"}, R"({"components":{"accessd":{"local":{"user_account":{}}}}})", 3,
     {kUser + ": INCORRECT TYPE: expected array."}},
    {"StageInvalid", {"stage", "set"}, InDocument(R"({"method":5})"), 3, {"/method: INCORRECT TYPE"}},
    {"StageNoFile", {"stage", "set", "-f", "/no/such/file"}, "", 2, {"/no/such/file"}},
    {"StageShowsNothing", {"stage", "show", "--json"}, "", 0, {"{\"components\":{}}\n"}},
    {"StageDrop", {"stage", "drop"}, "", 0, {"nothing is staged"}},
    {"ConfirmNothingNamed", {"confirm"}, "", 2, {"--all"}},
    {"ConfirmAllAndOne", {"confirm", kNetd, "--all"}, "", 2, {"excludes"}},
    {"ConfirmMissing", {"confirm", kUser + "@nobody"}, "", 4, {"no such object", "csctl ls"}},
    {"ConfirmConfirmed", {"confirm", kNetd}, "", 0, {"confirmed " + kNetd}},
    {"ConfirmAllOfNone", {"confirm", "--all"}, "", 0, {"confirmed 0 objects"}},
    {"ConfirmPartOfNone", {"confirm", kUser + "@nobody", "--part", "-"}, "{}", 4, {"no such object"}},
    {"ConfirmPartNotJson", {"confirm", kClock, "--part", "-"}, "{", 3, {"standard input"}},
    {"ConfirmPartInvalid", {"confirm", kClock, "--part", "-"}, R"({"method":5})", 3, {"/method"}},
    {"ConfirmPartWithoutObject", {"confirm", "--part", "-"}, "{}", 2, {"requires ID"}},
    {"Status", {"status"}, "", 0,
     {"boot phase           no\n", "unconfirmed objects  0\n", "backup               none"}},
    {"StatusInJson", {"status", "--json"}, "", 0,
     {R"({"boot":false,"mode":"normal","staged":0,"desired":0,"unconfirmed":0,"backup":null})"}},
    {"Backup", {"backup", "--verify"}, "", 0, {"backed up to " + kBackup + ", consistent"}},
    {"BackupElsewhere", {"backup", "/tmp/copy"}, "", 0, {"backed up to /tmp/copy\n"}},
    {"BackupToDirectory", {"backup", "/tmp"}, "", 2, {"/tmp: this is a directory"}},
    {"BackupToNoDirectory", {"backup", "/no/copy"}, "", 2, {"its directory does not exist"}},
    {"BackupOntoTheStore", {"backup", "/etc/halden/configstore/current-store-1"}, "", 2, {"the store itself"}},
    {"BackupToAddress", {"backup", "file:copy"}, "", 2, {"an address"}},
    {"BackupHostFile", {"backup", "--file", "/etc/halden/hosts.conf"}, "", 0, {"backed up /etc/halden/hosts.conf"}},
    {"BackupNoHostFile", {"backup", "--file", "/etc/halden/none"}, "", 2, {"/etc/halden/none", "no such file"}},
    {"BackupForeignFile", {"backup", "--file", "/tmp/torn"}, "", 2, {"Not a file to back up", "below /etc/halden"}},
    {"BackupFileAndStore", {"backup", "/tmp/copy", "--file", "/etc/halden/hosts.conf"}, "", 2, {"excludes"}},
    {"RestoreTorn", {"restore", "/tmp/torn"}, "", 3, {"/tmp/torn: this is not a consistent store", "nothing was"}},
    {"RestoreNothing", {"restore", "/tmp/none"}, "", 2, {"no such file"}},
    {"RestoreTheStore", {"restore", "/etc/halden/configstore/current-store-1"}, "", 2, {"the store itself"}},
    {"RestoreAddress", {"restore", "file:/tmp/torn"}, "", 2, {"an address"}},
    {"Refresh", {"refresh"}, "", 0, {"those of the packages"}},
    {"DefaultsLoad", {"defaults", "load", "clockd"}, "", 0, {"the defaults are loaded"}},
    {"UpgradeOfNothing", {"upgrade", "run"}, "", 2, {"PACKAGE"}},
    {"UpgradeStatusUnknown", {"upgrade", "status", "lib'x"}, "", 4, {"lib'x: no run of this upgrade library"}},
    {"Ramdisk", {"ramdisk"}, "", 0, {"csctl load --boot"}},
};
// clang-format on

class OnABootHost : public BootHost {};
TEST_P(OnABootHost, EndsAsDocumented) {
  Expect(GetParam(), Run(GetParam().arguments, GetParam().input));
}
INSTANTIATE_TEST_SUITE_P(Csctl, OnABootHost, testing::ValuesIn(kBootCases), CaseName);

using BootCommands = BootHost;

TEST_F(BootCommands, StagedValueIsPreviewedAppliedAndConfirmed) {
  ASSERT_EQ(0, Run({"stage", "set"}, kStagedClock).exit);
  EXPECT_EQ(kStagedClock + "\n", Json({"stage", "show"}));
  ASSERT_EQ(0, Run({"boot", "mode", "apply"}).exit);
  const std::string preview = Json({"boot", "preview"});
  for (const char* part :
       {R"({"appliesStaged":true,)", R"("user":"cleared","before":{"login":"dora")",
        R"(time_source","user":"changed","before":{"method":"manual"},"after":{"method":"ptp"},"desiredLost":null,)"
        R"("wasConfirmed":true,"confirmed":false})"}) {
    EXPECT_NE(std::string::npos, preview.find(part)) << part << "\nin\n" << preview;
  }
  EXPECT_EQ("{\"method\":\"manual\"}\n", Json({"get", kClock})) << "a preview changes nothing";

  ASSERT_EQ(0, Run({"load"}).exit);
  EXPECT_EQ(0, Run({"boot", "status"}).exit);
  ASSERT_EQ(0, Run({"boot", "end"}).exit);
  EXPECT_EQ(1, Run({"boot", "status"}).exit);
  EXPECT_EQ(4, Run({"get", kClock}).exit) << "not confirmed";
  EXPECT_EQ(0, Json({"status"}).find(R"({"boot":false,"mode":"normal","staged":0,"desired":0,"unconfirmed":3,)"));
  ASSERT_EQ(0, Run({"confirm", kClock}).exit);
  EXPECT_EQ("{\"method\":\"ptp\"}\n", Json({"get", kClock}));
  EXPECT_EQ("{\"confirmed\":2}\n", Json({"confirm", "--all"}));
  EXPECT_EQ("{\"confirmed\":0}\n", Json({"confirm", "--all"}));
}

TEST_F(BootCommands, PartIsConfirmedAndTheRestStaysDesired) {
  ASSERT_EQ(0, Run({"stage", "set"}, InDocument(R"({"method":"manual","enabled":false})")).exit);
  ASSERT_EQ(0, Run({"boot", "mode", "apply"}).exit);
  ASSERT_EQ(0, Run({"load"}).exit);
  EXPECT_EQ("{\"confirmed\":\"" + kClock + "\",\"whole\":false}\n",
            Json({"confirm", kClock, "--part", "-"}, R"({"method":"manual"})"));
  EXPECT_EQ("{\"method\":\"manual\"}\n", Json({"get", kClock}));
  EXPECT_EQ("{\"confirmed\":\"" + kClock + "\",\"whole\":true}\n",
            Json({"confirm", kClock, "--part", "-"}, R"({"method":"manual","enabled":false})"));
}

TEST_F(BootCommands, StagedDocumentReadsBackWithItsSecretsAndNames) {
  const std::string document = R"({"components":{"accessd":{"local":{"user_account":[)"
                               R"({"login":"dora","uid":9,"password_hash":"$6$hush"},{"login":"x","uid":3}]}}}})";
  ASSERT_EQ(0, Run({"stage", "set"}, document).exit);
  const std::string whole = Json({"stage", "show", "--show-secrets"}), masked = Json({"stage", "show"});
  EXPECT_NE(std::string::npos, whole.find("$6$hush"));
  EXPECT_EQ(std::string::npos, masked.find("hush\""));
  EXPECT_EQ(std::string::npos, (Run({"boot", "mode", "apply"}), Run({"boot", "preview"})).out.find("$6$hush"));
  ASSERT_EQ(0, Run({"stage", "set"}, masked).exit);
  EXPECT_EQ(whole, Json({"stage", "show", "--show-secrets"}));
}

TEST_F(BootCommands, BackupIsOneFileThatBringsTheStoreBack) {
  for (const char* stale : {"", "-journal", "-wal"}) root_.Write(kBackup + stale, "of another backup, torn");
  ASSERT_EQ(0, Run({"backup", "--verify"}).exit);
  size_t files = 0;
  for (const auto& file : fs::directory_iterator(fs::path(root_.Resolve(kBackup)).parent_path())) {
    EXPECT_EQ("current-store-1", file.path().filename());
    ++files;
  }
  EXPECT_EQ(1U, files);
  ASSERT_EQ(0, Run({"set", kClock}, R"({"method":"ptp"})").exit);
  ASSERT_EQ(0, Run({"restore", kBackup}).exit);
  EXPECT_EQ("{\"method\":\"manual\"}\n", Json({"get", kClock}));
  fs::remove_all(root_.Resolve("/etc/halden/configstore"));
  ASSERT_EQ(0, Run({"restore", kBackup}).exit);
  EXPECT_EQ("{\"method\":\"manual\"}\n", Json({"get", kClock}));
}

TEST_F(BootCommands, RestoreIntoAStoreThatIsOpenShowsThere) {
  ASSERT_EQ(0, Run({"backup"}).exit);
  ASSERT_EQ(0, Run({"set", kClock}, R"({"method":"ptp"})").exit);
  const auto store = OrvoConfigStore::ConfigStore::GetStore("");
  const OrvoConfigStore::ConfigStoreObjectId clock("time_source", "sync", "clockd");
  ASSERT_EQ(R"({"method":"ptp"})", store->Get(clock)->GetData());
  Expect({"", {}, "", 0, {"restored from"}}, Run({"restore", kBackup}));
  EXPECT_EQ(R"({"method":"manual"})", store->Get(clock)->GetData());
}

TEST_F(BootCommands, BackupThatFailsKeepsTheOldOne) {
  ASSERT_EQ(0, Run({"backup"}).exit);
  const std::string before = root_.Read(kBackup);
  root_.Write("/etc/halden/configstore/current-store-1", std::string(8192, 'x'));
  EXPECT_EQ(8, Run({"backup", "--verify"}).exit);
  EXPECT_EQ(before, root_.Read(kBackup));
  Expect({"", {}, "", 0, {"csctl boot end"}}, Run({"load", "--boot"}));
  EXPECT_EQ(0, Run({"confirm", "--all"}).exit);
  EXPECT_EQ("{\"method\":\"manual\"}\n", Json({"get", kClock}));
}

TEST_F(BootCommands, BackupThatCannotBeRestoredShowsInTheStatus) {
  root_.Write(kBackup, "torn");
  Expect({"", {}, "", 0, {kBackup + ", NOT consistent"}}, Run({"status"}));
  EXPECT_NE(std::string::npos, Json({"status"}).find("\"consistent\":false"));
}

TEST_F(BootCommands, BadPackageFilesAreRefusedAndLogged) {
  const std::string package = "/usr/lib/halden/configmanager/components/clockd";
  root_.Write(package + "/defaults/bad.json", "{");
  Expect({"", {}, "", 3, {"default files are refused", "system log"}}, Run({"refresh"}));
  root_.Write(package + "/schema/bad.json", "{");
  Expect({"", {}, "", 3, {"schema files are refused", "system log"}}, Run({"refresh"}));
  std::string log;
  for (const std::string& line : root_.Syslog()) log += line + "\n";
  EXPECT_NE(std::string::npos, log.find("schema/bad.json")) << log;
  EXPECT_NE(std::string::npos, log.find("defaults/bad.json"));
}

TEST_F(BootCommands, UpgradeRunsThePackagesPrograms) {
  const std::string mark = "/etc/halden/upgrade-in-progress";
  const std::string folder = "/usr/lib/halden/configmanager/components/clockd/upgrade/";
  const auto program = [&](const std::string& name, const std::string& body) {
    root_.Write(folder + name, "#!/bin/sh\n" + body + "\n");
    fs::permissions(root_.Resolve(folder + name), fs::perms::owner_all);
  };
  program("10-note", "echo \"10 $1\" >> \"$HALDEN_ROOT/ran\"");
  program("20-note", "echo \"20 $1\" >> \"$HALDEN_ROOT/ran\"");
  const std::vector<std::string> upgrade = {"upgrade", "run", "clockd"};
  Expect({"", {}, "", 5, {"not upgrading", mark}}, Run(upgrade));
  Expect({"", {}, "", 5, {"not upgrading"}}, Run({"--upgrade", "set", kClock}, R"({"method":"ptp"})"));
  root_.Write(mark, "");
  Expect({"", {}, "", 0, {"upgraded clockd"}}, Run(upgrade));
  EXPECT_EQ(0, Run({"load"}).exit);
  EXPECT_EQ("10 late\n20 late\n10 early\n20 early\n", root_.Read("/ran"));
  EXPECT_EQ(5, Run({"set", kClock}, R"({"method":"ptp"})").exit);
  EXPECT_EQ(0, Run({"--upgrade", "set", kClock}, R"({"method":"ptp"})").exit);
  program("15-fail", "exit 3");
  Expect({"", {}, "", 1, {"upgrade has failed", "clockd"}}, Run(upgrade));
  EXPECT_EQ(1, Run({"upgrade", "status", "clockd"}).exit);
  EXPECT_EQ("10 late\n20 late\n10 early\n20 early\n10 late\n", root_.Read("/ran"));
}

TEST_F(BootCommands, UpgradeStatusTellsTheLastRun) {
  OrvoConfigStore::SetUpgradeLibStatus(true, "lib");
  Expect({"", {}, "", 0, {"last run of lib succeeded"}}, Run({"upgrade", "status", "lib"}));
  OrvoConfigStore::SetUpgradeLibStatus(false, "lib");
  EXPECT_EQ("{\"library\":\"lib\",\"status\":\"failed\"}\n", Json({"upgrade", "status", "lib"}));
  EXPECT_EQ(1, Run({"upgrade", "status", "lib"}).exit);
}

TEST_F(BootCommands, RamdiskThatCannotBeMountedIsAnError) {
  fs::remove_all(root_.Resolve("/var/lib/halden"));
  root_.Write("/var/lib/halden", "");
  Expect({"", {}, "", 8, {"Failed to reserve memory for ConfigStore backup", "mounting takes root"}}, Run({"ramdisk"}));
}
