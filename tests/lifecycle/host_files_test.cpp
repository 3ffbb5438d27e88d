// The files of the host that are backed up with the store.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "lifecycle/host_file_backup.h"
#include "lifecycle/test_host.h"

using namespace OrvoConfigStore;

namespace {

namespace fs = std::filesystem;

const std::string kCopies = std::string(HaldenLib::kBackupDirectory) + "/etc/halden/";

std::string Json(const std::string& path) {
  return "[\"" + path + "\"]";
}

TEST(HostFiles, ComeBackWithTheirModes) {
  const TestHost host;
  host.root.Write("/etc/halden/netd/links.conf", "kept");
  host.root.Write("/etc/halden/motd", "hello");
  fs::permissions(host.root.Resolve("/etc/halden/motd"), static_cast<fs::perms>(0640));
  for (const char* path : {"/etc/halden/netd/links.conf", "/etc/halden/motd", "/etc/halden/motd"}) BackUpHostFile(path);
  EXPECT_EQ(R"(["/etc/halden/netd/links.conf","/etc/halden/motd"])", GetKV("BACKUP_FILES"));
  fs::remove_all(host.root.Resolve("/etc/halden/netd"));
  host.root.Write("/etc/halden/motd", "changed");
  RestoreHostFiles();
  EXPECT_EQ("kept", host.root.Read("/etc/halden/netd/links.conf"));
  EXPECT_EQ("hello", host.root.Read("/etc/halden/motd"));
  struct stat status;
  ASSERT_EQ(0, stat(host.root.Resolve("/etc/halden/motd").c_str(), &status));
  EXPECT_EQ(0640u, status.st_mode & 0777);
}

// What a list from a foreign backup may hold, and that nothing comes of it: the
// file that it aims at keeps its content. Links are made for the path before.
struct PathCase {
  const char* name;
  std::string path;
  std::string target;
  std::string link;    // made at this path of the host ...
  std::string linkTo;  // ... to this one
};

const PathCase kPathCases[] = {
    {"Elsewhere", "/etc/passwd", "/etc/passwd", "", ""},
    {"Upwards", "/etc/halden/../passwd", "/etc/passwd", "", ""},
    {"Relative", "motd", "/etc/halden/motd", "", ""},
    {"Neighbour", "/etc/haldenish", "/etc/haldenish", "", ""},
    {"TwoSlashes", "/etc/halden//motd", "/etc/halden/motd", "", ""},
    {"Store", "/etc/halden/configstore/other", "/etc/halden/configstore/other", "", ""},
    {"SchemaStore", "/etc/halden/schemastore/other", "/etc/halden/schemastore/other", "", ""},
    {"LinkInTheWay", "/etc/halden/netd/passwd", "/etc/passwd", "/etc/halden/netd", "/etc"},
    {"LinkAtTheEnd", "/etc/halden/motd", "/etc/passwd", "/etc/halden/motd", "/etc/passwd"},
    {"LinkInTheBackup", "/etc/halden/netd/motd", "/etc/halden/netd/motd", kCopies + "netd", "/copies"},
    {"CopyThatIsALink", "/etc/halden/motd", "/etc/halden/motd", kCopies + "motd", "/copies/motd"},
    {"DirectoryInTheBackup", "/etc/halden/motd", "/etc/halden/motd", "", ""},
    {"Missing", "/etc/halden/none", "/etc/halden/motd", "", ""},
};

class Paths : public testing::TestWithParam<PathCase> {};

TEST_P(Paths, ThatLeadElsewhereAreSkipped) {
  const TestHost host;
  const PathCase& test = GetParam();
  host.root.Write("/copies/motd", "foreign");
  for (const char* copy :
       {"passwd", "../passwd", "../haldenish", "configstore/other", "schemastore/other", "netd/passwd"}) {
    host.root.Write(kCopies + copy, "foreign");
  }
  if (test.link.empty()) host.root.Write(kCopies + "motd/file", "foreign");
  host.root.Write(test.target, "kept");
  if (!test.link.empty()) {
    fs::remove_all(host.root.Resolve(test.link));
    fs::create_directories(fs::path(host.root.Resolve(test.link)).parent_path());
    fs::create_symlink(host.root.Resolve(test.linkTo), host.root.Resolve(test.link));
  }
  SetKV("BACKUP_FILES", Json(test.path));
  RestoreHostFiles();
  EXPECT_EQ("kept", host.root.Read(test.target));
  EXPECT_TRUE(host.Logged("Backed up file " + test.path + " is not restored: "));
}

INSTANTIATE_TEST_SUITE_P(Foreign, Paths, testing::ValuesIn(kPathCases),
                         [](const auto& test) { return std::string(test.param.name); });

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

}  // namespace
