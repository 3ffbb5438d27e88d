// The files of the host that are backed up with the store, and the programs that it runs.

#include "lifecycle/exec_command.h"
#include "lifecycle/host_file_backup.h"
#include "lifecycle/test_host.h"

using namespace OrvoConfigStore;

namespace {

const std::string kCopies = std::string(HaldenLib::kBackupDirectory) + "/etc/halden/";

TEST(HostFiles, ComeBackWithTheirModes) {
  const TestHost host;
  host.root.Write("/etc/halden/netd/links.conf", "kept");
  fs::permissions(host.root.Write("/etc/halden/motd", "hello"), fs::perms(0640));
  for (const char* path : {"/etc/halden/netd/links.conf", "/etc/halden/motd", "/etc/halden/motd"}) BackUpHostFile(path);
  EXPECT_EQ(R"(["/etc/halden/netd/links.conf","/etc/halden/motd"])", GetKV("BACKUP_FILES"));
  fs::remove_all(host.root.Resolve("/etc/halden/netd"));
  host.root.Write("/etc/halden/motd", "changed");
  RestoreHostFiles();
  EXPECT_EQ("kept", host.root.Read("/etc/halden/netd/links.conf"));
  EXPECT_EQ("hello", host.root.Read("/etc/halden/motd"));
  EXPECT_EQ(fs::perms(0640), ModeOf(host.root.Resolve("/etc/halden/motd")));
}

// What a list from a foreign backup may hold, and that nothing comes of it: the
// file that it aims at keeps its content. A link may be in its way or in the backup's.
// clang-format off
const struct { const char* name; std::string path, target, link, linkTo; } kPathCases[] = {
    {"elsewhere", "/etc/passwd", "/etc/passwd", "", ""},
    {"upwards", "/etc/halden/../passwd", "/etc/passwd", "", ""},
    {"relative", "motd", "/etc/halden/motd", "", ""},
    {"neighbour", "/etc/halden-passwd", "/etc/halden/passwd", "", ""},
    {"two slashes", "/etc/halden//motd", "/etc/halden/motd", "", ""},
    {"store", "/etc/halden/configstore/other", "/etc/halden/configstore/other", "", ""},
    {"schema store", "/etc/halden/schemastore/other", "/etc/halden/schemastore/other", "", ""},
    {"link in the way", "/etc/halden/netd/passwd", "/etc/passwd", "/etc/halden/netd", "/etc"},
    {"link at the end", "/etc/halden/motd", "/etc/passwd", "/etc/halden/motd", "/etc/passwd"},
    {"link in the backup", "/etc/halden/netd/motd", "/etc/halden/netd/motd", kCopies + "netd", "/copies"},
    {"copy that is a link", "/etc/halden/motd", "/etc/halden/motd", kCopies + "motd", "/copies/motd"},
    {"directory in the backup", "/etc/halden/motd", "/etc/halden/motd", "", ""},
    {"missing", "/etc/halden/none", "/etc/halden/motd", "", ""},
};
// clang-format on

TEST(HostFiles, ThatLeadElsewhereAreSkipped) {
  for (const auto& row : kPathCases) {
    SCOPED_TRACE(row.name);
    const TestHost host;
    host.root.Write("/copies/motd", "foreign");
    for (const char* copy : {"passwd", "../passwd", "configstore/other", "schemastore/other", "netd/passwd"}) {
      host.root.Write(kCopies + copy, "foreign");
    }
    if (row.link.empty()) host.root.Write(kCopies + "motd/file", "foreign");
    host.root.Write(row.target, "kept");
    if (!row.link.empty()) {
      fs::remove_all(host.root.Resolve(row.link));
      fs::create_directories(fs::path(host.root.Resolve(row.link)).parent_path());
      fs::create_symlink(host.root.Resolve(row.linkTo), host.root.Resolve(row.link));
    }
    SetKV("BACKUP_FILES", "[\"" + row.path + "\"]");
    RestoreHostFiles();
    EXPECT_EQ("kept", host.root.Read(row.target));
    EXPECT_TRUE(host.Logged("Backed up file " + row.path + " is not restored: "));
  }
}

TEST(HostFiles, ListThatIsNoneIsLogged) {
  const TestHost host;
  RestoreHostFiles();
  EXPECT_TRUE(host.log.Lines().empty()) << "an empty list is in order";
  for (const char* text : {"no JSON", R"({"a":1})"}) {
    SetKV("BACKUP_FILES", text);
    RestoreHostFiles();
    EXPECT_EQ("BACKUP_FILES is no list of files", host.log.Lines().back());
  }
  host.root.Write(kCopies + "motd", "copy");
  SetKV("BACKUP_FILES", R"([7, "/etc/halden/motd"])");
  RestoreHostFiles();
  EXPECT_EQ("copy", host.root.Read("/etc/halden/motd")) << "an entry that is none is skipped alone";
}

TEST(HostFiles, AreNotListedUnlessTheyAreCopied) {
  const TestHost host;
  fs::create_symlink("/etc/passwd", host.root.Resolve("/etc/halden/link"));
  EXPECT_EQ("2000 Not a file to back up: /etc/passwd", Thrown([] { BackUpHostFile("/etc/passwd"); }));
  EXPECT_EQ("2000 Cannot back up /etc/halden/none: No such file or directory",
            Thrown([] { BackUpHostFile("/etc/halden/none"); }));
  EXPECT_NE("", Thrown([] { BackUpHostFile("/etc/halden/link"); }));
  EXPECT_EQ("", GetKV("BACKUP_FILES"));
}

TEST(Commands, SayHowTheyFail) {
  const std::pair<const char*, const char*> kCases[] = {
      {"/bin/sh\nexit 3\n", "[1104]Child process terminated with exit value: 3"},
      {"/none/sh\n", "[1102]HaldenKernel_ForkExec failed, errno: No such file or directory"},
      {"/bin/sh\nkill -9 $PPID\n", "[1103]Failed to wait for child process: "},
      {"/bin/sh\nexit 0\n", ""},
  };
  for (const auto& [script, logged] : kCases) {
    const TempRoot root;
    const LogCapture log(root);
    fs::permissions(root.Write("/bin/tool", std::string("#!") + script), fs::perms::owner_all);
    const char* const words[] = {"/bin/tool", nullptr};
    EXPECT_EQ(*logged == '\0', ExecCommand(words));
    std::string lines;
    for (const std::string& line : log.Lines()) lines += line + "\n";
    EXPECT_EQ(*logged == '\0' ? 0 : 1, std::count(lines.begin(), lines.end(), '\n'));
    EXPECT_EQ(0u, lines.find(logged)) << lines;
  }
}

}  // namespace
