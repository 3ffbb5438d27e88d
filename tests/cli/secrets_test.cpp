#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "cli/host.h"
#include "platform/db_store.h"

namespace fs = std::filesystem;

namespace {

const std::string kMark = "MARK7f3a";
const std::string kDora = kUser + "@dora";
const std::string kStored = R"({"login":"dora","uid":1001,"password_hash":"MARK7f3a"})";
const std::string kDocument = R"({"components":{"accessd":{"local":{"user_account":[{"cs_generated_id":"dora",)"
                              R"("login":"dora","uid":1,"password_hash":"MARK7f3a2"}]}}}})";

const std::string kUnfit = R"({"components":{"accessd":{"local":{"user_account":[{"cs_generated_id":"dora",)"
                           R"("login":7,"uid":-1,"password_hash":["MARK7f3a"]}]}}}})";

// One run of the tool; `isLook` for those that must not change a byte.
struct Step {
  std::vector<std::string> arguments;
  std::string input;
  bool isLook;
};

const Step kSteps[] = {
    {{"get", kDora}, "", true},
    {{"get", kDora, "--origin", "--json"}, "", true},
    {{"get", kDora, "--default"}, "", true},
    {{"layers", kDora}, "", true},
    {{"explain", kDora}, "", true},
    {{"explain", kDora + "#/password_hash", "--json"}, "", true},
    {{"find", kUser}, "{\"password_hash\":\"MARK7f3a\"}", true},
    {{"ls"}, "", true},
    {{"status"}, "", true},
    {{"stage", "show"}, "", true},
    {{"boot", "preview"}, "", true},
    {{"boot", "preview", "--json"}, "", true},
    {{"check"}, "", true},
    {{"check", "--json", "-v"}, "", true},
    {{"diff", "store", "user"}, "", true},
    {{"diff", "staged", "store", "--json"}, "", true},
    {{"diff", "store", "-", "--patch"}, kDocument, true},
    {{"diff", "-", "defaults"}, kDocument, true},
    {{"diff", "-", "store"}, "{\"components\":{\"MARK\":\"MARK7f3a\"}}", true},
    {{"export"}, "", true},
    {{"export", "--secrets", "omit", "--layer", "auto", "-v"}, "", true},
    {{"validate", kDora, "--json"}, "", true},
    {{"validate", "-"}, kDocument, true},
    {{"validate", "-", "--type", kUser},
     R"([{"login":1,"password_hash":"MARK7f3a","password_hash":"MARK7f3b"}])",
     true},
    {{"validate", "-", "--gcc"}, R"({"components":{"accessd":{"local":{"user_account":[{"MARK":"MARK7f3a"]}}}})", true},
    {{"import", "-", "--dry-run"}, kDocument, true},
    {{"apply", "-f", "-", "--dry-run", "--json"}, kDocument, true},
    {{"set", kDora, "--dry-run"}, R"({"login":"d","uid":2,"password_hash":"MARK7f3a3"})", true},
    {{"set", kDora, "--dry-run", "--json", "password_hash=MARK7f3a4"}, "", true},
    {{"delete", kDora, "--dry-run", "--json"}, "", true},
    {{"stage", "set", "--dry-run"}, kDocument, true},
    {{"set", kDora, "-v"}, R"({"login":"D","uid":-2,"password_hash":"MARK7f3a5"})", false},
    {{"set", kDora, "-v", "--json", "uid=x", "password_hash=MARK7f3a6"}, "", false},
    {{"set", kDora, "--value-json", "password_hash={MARK7f3a"}, "", false},
    {{"set", kDora, "--value-json", "password_hash={\"a\":\"MARK7f3a\"}"}, "", false},
    {{"set", kDora, "MARK7f3a"}, "", false},
    {{"unset", kDora, "password_hash=MARK7f3a"}, "", false},
    {{"set", kDora, "-v", "password_hash=" + kMark + std::string(600, 'x')}, "", false},
    {{"update", kDora, "-v"}, R"({"password_hash":["MARK7f3a"]})", false},
    {{"update", kDora, "-v"}, R"({"password_hash":"MARK7f3a")", false},
    {{"replace", kUser, "-v"}, R"([{"login":"x","uid":1,"colour":1,"password_hash":"MARK7f3a"}])", false},
    {{"stage", "set", "-v"}, kDocument, false},
    {{"import", "-", "-v"}, kUnfit, false},
    {{"import", "-", "-v", "--json"}, kDocument.substr(0, kDocument.size() - 9), false},
    {{"apply", "-f", "-", "-v"}, kUnfit, false},
    {{"apply", "-f", "-", "-v"}, kDocument, false},
    {{"import", "-", "-v"}, kDocument, false},
    {{"confirm", kDora, "--part", "-"}, R"({"login":"dora","uid":1,"password_hash":"MARK7f3a8"})", false},
    {{"set", kDora, "password_hash=MARK7f3a9"}, "", false},
    {{"backup", "/etc/halden/configstore/copy"}, "", false},
    {{"diff", "store", "/etc/halden/configstore/copy"}, "", false},
    {{"restore", "/etc/halden/configstore/copy"}, "", false},
    {{"edit", kDora}, "", false},
    {{"load"}, "", false},
    {{"confirm", "--all"}, "", false},
    {{"unset", kDora, "password_hash"}, "", false},
};

class BusySession : public StockedHost {
 protected:
  void SetUp() override {
    StockedHost::SetUp();
    setenv("TMPDIR", (root_.Path() + "/private").c_str(), 1);
    setenv("EDITOR", ("cp -t " + root_.Path() + "/seen").c_str(), 1);
    fs::create_directories(root_.Path() + "/private");
    fs::create_directories(root_.Path() + "/seen");
    ASSERT_EQ(0, Run({"set", kDora}, kStored).exit);
    ASSERT_EQ(0, Run({"set", kDora, "--as", "auto"}, kStored).exit);
    ASSERT_EQ(0, Run({"stage", "set"}, kDocument).exit);
    root_.Write(
        "/usr/lib/halden/configmanager/components/p/defaults/d.json",
        R"({"defaults":[{"component":"accessd","group":"local","key":"user_account","value":[)" + kStored + "]}]}");
    ASSERT_EQ(0, Run({"defaults", "load"}).exit);
    fs::remove_all(root_.Path() + "/usr/lib/halden/configmanager/components/p");
    const std::string sql = "UPDATE Config SET DesiredValue='" + kStored + "', Success=0 WHERE Identifier='dora';";
    ASSERT_EQ(0, DBStore::ExecuteV2(DBStore::GetConnection(DBStore::TYPE_STORE), sql, nullptr, nullptr, 3000));
  }
  void TearDown() override {
    unsetenv("TMPDIR");
    unsetenv("EDITOR");
  }
};

// The databases hold the secrets; nothing else may.
bool IsDatabase(const fs::path& path) {
  const std::string folder = path.parent_path().filename().string();
  return folder == "configstore" || folder == "configstore-backup" || folder == "backup";
}

}  // namespace

TEST_F(BusySession, ShowsNoSecretAndLookingChangesNothing) {
  const std::string store = "/etc/halden/configstore/current-store-1";
  for (const Step& step : kSteps) {
    const std::string before = root_.Read(store);
    const Outcome outcome = Run(step.arguments, step.input);
    std::string name;
    for (const std::string& argument : step.arguments) name += argument.substr(0, 60) + " ";
    EXPECT_EQ(std::string::npos, (outcome.out + outcome.err).find(kMark)) << name << outcome.out << outcome.err;
    EXPECT_NE(70, outcome.exit) << name << outcome.err;
    if (step.isLook) {
      EXPECT_EQ(before, root_.Read(store)) << name;
      EXPECT_FALSE(fs::exists(root_.Resolve(store + "-wal"))) << name;
    }
  }
  size_t files = 0;
  for (const auto& entry : fs::recursive_directory_iterator(root_.Path())) {
    if (!entry.is_regular_file() || IsDatabase(entry.path())) continue;
    ++files;
    std::ifstream file(entry.path(), std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    EXPECT_EQ(std::string::npos, text.find(kMark)) << entry.path();
  }
  EXPECT_GT(files, 2u);  // the system log and what the editor saw
  for (const auto& left : fs::directory_iterator(root_.Path() + "/private")) ADD_FAILURE() << left.path();
  EXPECT_FALSE(fs::is_empty(root_.Path() + "/seen"));
}
