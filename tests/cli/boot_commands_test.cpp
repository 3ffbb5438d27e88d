#include "cli/host.h"
#include "configstore/boot_state.h"
#include "configstore/config_store.h"
#include "configstore/lifecycle.h"

namespace {

const std::string kBackup = "/var/lib/halden/configstore/backup/current-store-1";
const std::string kPackages = "/usr/lib/halden/configmanager/components";

std::string InDocument(const std::string& clock) {
  return R"({"components":{"clockd":{"sync":{"time_source":)" + clock + "}}}}";
}
const std::string kManual = R"({"method":"manual"})", kPtp = R"({"method":"ptp"})", kStagedClock = InDocument(kPtp);

/// A host with the example packages installed and three objects stored.
class BootCommands : public StockedHost {
 protected:
  void SetUp() override {
    StockedHost::SetUp();
    fs::create_directories(root_.Resolve(kPackages));
    fs::copy(kExamples + "/components", root_.Resolve(kPackages), fs::copy_options::recursive);
    ASSERT_EQ(0, Csctl("set $clock", kManual).exit);
    root_.Write("/etc/halden/hosts.conf", "a");
    root_.Write("/tmp/torn", std::string(4096, 'x'));
  }
  std::string Clock() { return Printed("get $clock --json"); }
};

// clang-format off
const std::vector<Row> kRows = {
    {"load", "", 0, {"csctl boot end"}},
    {"load --help", "", 0, {"REMOVES the store file", "restores the last", "lost"}},
    {"load now", "", 2, {"now"}},
    {"boot begin --json", "", 0, {"{\"boot\":true}\n"}},
    {"boot end", "", 0, {"not in its boot phase"}},
    {"boot mode", "", 0, {"normal: "}},
    {"boot mode apply", "", 0, {"apply: ", "would clear every user value"}},
    {"boot mode normal", "", 0, {"normal: "}},
    {"boot mode later", "", 2, {"later"}},
    {"stage set", kStagedClock, 0, {"staged 1 objects", "csctl boot mode apply"}},
    {"stage set", R"({"components":{}})", 3, {"holds no object"}},
    {"stage set", InDocument("{},\"time_source\":{}"), 3, {"/$clock: Type is there twice"}},
    {"stage set", InDocument(R"({"method":5})"), 3, {"/method: INCORRECT TYPE"}},
    {"stage set -f /no/such/file", "", 2, {"/no/such/file"}},
    {"stage show --json", "", 0, {"{\"components\":{}}\n"}},
    {"stage drop", "", 0, {"nothing is staged"}},
    {"confirm", "", 2, {"--all"}},
    {"confirm $net --all", "", 2, {"excludes"}},
    {"confirm $net", "", 0, {"confirmed $net"}},
    {"confirm --all", "", 0, {"confirmed 0 objects"}},
    {"confirm $clock --part -", R"({"method":5})", 3, {"/method"}},
    {"confirm --part -", "{}", 2, {"requires ID"}},
    {"status", "", 0, {"boot phase           no\n", "unconfirmed objects  0\n", "backup               none"}},
    {"status --json", "", 0,
     {R"({"boot":false,"mode":"normal","staged":0,"desired":0,"unconfirmed":0,"backup":null})"}},
    {"backup --verify", "", 0, {"backed up to " + kBackup + ", consistent"}},
    {"backup /tmp/copy", "", 0, {"backed up to /tmp/copy\n"}},
    {"backup /tmp", "", 2, {"/tmp: this is a directory"}},
    {"backup /no/copy", "", 2, {"its directory does not exist"}},
    {"backup " + kStoreFile, "", 2, {"the store itself"}},
    {"backup file:copy", "", 2, {"an address"}},
    {"backup --file /etc/halden/hosts.conf", "", 0, {"backed up /etc/halden/hosts.conf"}},
    {"backup --file /etc/halden/none", "", 2, {"/etc/halden/none", "no such file"}},
    {"backup --file /tmp/torn", "", 2, {"Not a file to back up", "below /etc/halden"}},
    {"backup /tmp/copy --file /etc/halden/hosts.conf", "", 2, {"excludes"}},
    {"restore /tmp/torn", "", 3, {"/tmp/torn: this is not a consistent store", "nothing was"}},
    {"restore /tmp/none", "", 2, {"no such file"}},
    {"restore " + kStoreFile, "", 2, {"the store itself"}},
    {"restore file:/tmp/torn", "", 2, {"an address"}},
    {"refresh", "", 0, {"those of the packages"}},
    {"defaults load clockd", "", 0, {"the defaults are loaded"}},
    {"upgrade run", "", 2, {"PACKAGE"}},
    {"upgrade status lib'x", "", 4, {"lib'x: no run of this upgrade library"}},
    {"ramdisk", "", 0, {"csctl load --boot"}},
};
// clang-format on

TEST_F(BootCommands, EndAsDocumented) {
  ExpectEach(kRows);
}

TEST_F(BootCommands, StagedValueIsPreviewedAppliedAndConfirmed) {
  ASSERT_EQ(0, Csctl("stage set", kStagedClock).exit);
  EXPECT_EQ(kStagedClock + "\n", Printed("stage show --json"));
  ASSERT_EQ(0, Csctl("boot mode apply").exit);
  Shows("boot preview --json",
        {R"({"appliesStaged":true,)", R"("user":"cleared","before":{"login":"dora")",
         R"(time_source","user":"changed","before":{"method":"manual"},"after":{"method":"ptp"},"desiredLost":null,)"
         R"("wasConfirmed":true,"confirmed":false})"});
  EXPECT_EQ(kManual + "\n", Clock()) << "a preview changes nothing";

  ASSERT_EQ(0, Csctl("load").exit);
  EXPECT_EQ(0, Csctl("boot status").exit);
  ASSERT_EQ(0, Csctl("boot end").exit);
  EXPECT_EQ(1, Csctl("boot status").exit);
  EXPECT_EQ(4, Csctl("get $clock").exit) << "not confirmed";
  Shows("status --json", {R"({"boot":false,"mode":"normal","staged":0,"desired":0,"unconfirmed":3,)"});
  ASSERT_EQ(0, Csctl("confirm $clock").exit);
  EXPECT_EQ(kPtp + "\n", Clock());
  EXPECT_EQ("{\"confirmed\":2}\n", Printed("confirm --all --json"));
  EXPECT_EQ("{\"confirmed\":0}\n", Printed("confirm --all --json"));
}

TEST_F(BootCommands, StagedDocumentReadsBackWithItsSecretsAndNames) {
  const std::string document = R"({"components":{"accessd":{"local":{"user_account":[)"
                               R"({"login":"dora","uid":9,"password_hash":"$6$hush"},{"login":"x","uid":3}]}}}})";
  ASSERT_EQ(0, Csctl("stage set", document).exit);
  const std::string whole = Printed("stage show --show-secrets"), masked = Printed("stage show");
  EXPECT_NE(std::string::npos, whole.find("$6$hush"));
  ASSERT_EQ(0, Csctl("stage set", masked).exit);
  EXPECT_EQ(whole, Printed("stage show --show-secrets"));
}

TEST_F(BootCommands, BackupIsOneFileThatBringsTheStoreBack) {
  for (const char* stale : {"", "-journal", "-wal"}) root_.Write(kBackup + stale, "of another backup, torn");
  Shows("status", {kBackup + ", NOT consistent"});
  ASSERT_EQ(0, Csctl("backup --verify").exit);
  EXPECT_EQ(1, std::distance(fs::directory_iterator(fs::path(root_.Resolve(kBackup)).parent_path()), {}));
  ASSERT_EQ(0, Csctl("set $clock", kPtp).exit);
  const auto store = OrvoConfigStore::ConfigStore::GetStore("");
  const OrvoConfigStore::ConfigStoreObjectId clock("time_source", "sync", "clockd");
  ASSERT_EQ(kPtp, store->Get(clock)->GetData());
  Shows("restore " + kBackup, {"restored from"});
  EXPECT_EQ(kManual, store->Get(clock)->GetData()) << "a store that is open shows it";
  fs::remove_all(root_.Resolve("/etc/halden/configstore"));
  ASSERT_EQ(0, Csctl("restore " + kBackup).exit);
  EXPECT_EQ(kManual + "\n", Clock());
}

TEST_F(BootCommands, BadPackageFilesAreRefusedAndLogged) {
  const char* const kKinds[] = {"default", "schema"};
  for (const std::string kind : kKinds) {
    const std::string file = kPackages + "/clockd/" + (kind == "schema" ? "schema" : "defaults") + "/bad.json";
    root_.Write(file, "{");
    Check({"refresh", "", 3, {kind + " files are refused", "system log"}});
    EXPECT_NE(std::string::npos, root_.Read("/var/log/syslog").find(file));
  }
}

TEST_F(BootCommands, UpgradeRunsThePackagesPrograms) {
  const std::string mark = "/etc/halden/upgrade-in-progress", folder = kPackages + "/clockd/upgrade/";
  const auto program = [&](const std::string& name, const std::string& body) {
    fs::permissions(root_.Write(folder + name, "#!/bin/sh\n" + body + "\n"), fs::perms::owner_all);
  };
  program("10-note", "echo \"10 $1\" >> \"$HALDEN_ROOT/ran\"");
  program("20-note", "echo \"20 $1\" >> \"$HALDEN_ROOT/ran\"");
  Check({"upgrade run clockd", "", 5, {"not upgrading", mark}});
  Check({"--upgrade set $clock", kPtp, 5, {"not upgrading"}});
  root_.Write(mark, "");
  Shows("upgrade run clockd", {"upgraded clockd"});
  EXPECT_EQ(0, Csctl("load").exit);
  EXPECT_EQ("10 late\n20 late\n10 early\n20 early\n", root_.Read("/ran"));
  EXPECT_EQ(5, Csctl("set $clock", kPtp).exit);
  EXPECT_EQ(0, Csctl("--upgrade set $clock", kPtp).exit);
  program("15-fail", "exit 3");
  Check({"upgrade run clockd", "", 1, {"upgrade has failed", "clockd"}});
  EXPECT_EQ("{\"library\":\"clockd\",\"status\":\"failed\"}\n", Printed("upgrade status clockd --json"));
  EXPECT_EQ("10 late\n20 late\n10 early\n20 early\n10 late\n", root_.Read("/ran"));
  OrvoConfigStore::SetUpgradeLibStatus(true, "lib");
  Shows("upgrade status lib", {"last run of lib succeeded"});
}

TEST_F(BootCommands, RamdiskThatCannotBeMountedIsAnError) {
  fs::remove_all(root_.Resolve("/var/lib/halden"));
  root_.Write("/var/lib/halden", "");
  Check({"ramdisk", "", 8, {"Failed to reserve memory for ConfigStore backup", "mounting takes root"}});
}

}  // namespace
