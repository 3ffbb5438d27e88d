#include <cstdlib>

#include "cli/host.h"
#include "platform/db_store.h"

namespace {

const std::string kMark = "MARK7f3a";
const std::string kStored = R"({"login":"dora","uid":1001,"password_hash":"MARK7f3a"})";
const std::string kDocument = R"({"components":{"accessd":{"local":{"user_account":[{"cs_generated_id":"dora",)"
                              R"("login":"dora","uid":1,"password_hash":"MARK7f3a2"}]}}}})";

const std::string kUnfit = R"({"components":{"accessd":{"local":{"user_account":[{"cs_generated_id":"dora",)"
                           R"("login":7,"uid":-1,"password_hash":["MARK7f3a"]}]}}}})";

// Runs of the tool, and their input. The first ones look: they must not change a byte.
using Step = std::pair<std::string, std::string>;

const Step kLooks[] = {
    {"get $user@dora", ""},
    {"get $user@dora --origin --json", ""},
    {"get $user@dora --default", ""},
    {"layers $user@dora", ""},
    {"explain $user@dora", ""},
    {"explain $user@dora#/password_hash --json", ""},
    {"find $user", R"({"password_hash":"MARK7f3a"})"},
    {"ls", ""},
    {"status", ""},
    {"stage show", ""},
    {"boot preview", ""},
    {"boot preview --json", ""},
    {"check", ""},
    {"check --json -v", ""},
    {"diff store user", ""},
    {"diff staged store --json", ""},
    {"diff store - --patch", kDocument},
    {"diff - defaults", kDocument},
    {"diff - store", R"({"components":{"MARK":"MARK7f3a"}})"},
    {"export", ""},
    {"export --secrets omit --layer auto -v", ""},
    {"validate $user@dora --json", ""},
    {"validate -", kDocument},
    {"validate - --type $user", R"([{"login":1,"password_hash":"MARK7f3a","password_hash":"MARK7f3b"}])"},
    {"validate - --gcc", R"({"components":{"accessd":{"local":{"user_account":[{"MARK":"MARK7f3a"]}}}})"},
    {"import - --dry-run", kDocument},
    {"apply -f - --dry-run --json", kDocument},
    {"set $user@dora --dry-run", R"({"login":"d","uid":2,"password_hash":"MARK7f3a3"})"},
    {"set $user@dora --dry-run --json password_hash=MARK7f3a4", ""},
    {"delete $user@dora --dry-run --json", ""},
    {"stage set --dry-run", kDocument},
};

const Step kChanges[] = {
    {"set $user@dora -v", R"({"login":"D","uid":-2,"password_hash":"MARK7f3a5"})"},
    {"set $user@dora -v --json uid=x password_hash=MARK7f3a6", ""},
    {"set $user@dora MARK7f3a", ""},
    {"set $user@dora --value-json password_hash={MARK7f3a", ""},
    {"unset $user@dora password_hash=MARK7f3a", ""},
    {"set $user@dora --value-json password_hash={\"a\":\"MARK7f3a\"}", ""},
    {"set $user@dora -v password_hash=" + kMark + std::string(600, 'x'), ""},
    {"update $user@dora -v", R"({"password_hash":["MARK7f3a"]})"},
    {"update $user@dora -v", R"({"password_hash":"MARK7f3a")"},
    {"replace $user -v", R"([{"login":"x","uid":1,"colour":1,"password_hash":"MARK7f3a"}])"},
    {"stage set -v", kDocument},
    {"import - -v", kUnfit},
    {"import - -v --json", kDocument.substr(0, kDocument.size() - 9)},
    {"apply -f - -v", kUnfit},
    {"apply -f - -v", kDocument},
    {"import - -v", kDocument},
    {"confirm $user@dora --part -", R"({"login":"dora","uid":1,"password_hash":"MARK7f3a8"})"},
    {"set $user@dora password_hash=MARK7f3a9", ""},
    {"backup /etc/halden/configstore/copy", ""},
    {"diff store /etc/halden/configstore/copy", ""},
    {"restore /etc/halden/configstore/copy", ""},
    {"edit $user@dora", ""},
    {"load", ""},
    {"confirm --all", ""},
    {"unset $user@dora password_hash", ""},
};

class BusySession : public StockedHost {
 protected:
  void SetUp() override {
    StockedHost::SetUp();
    setenv("TMPDIR", (root_.Path() + "/private").c_str(), 1);
    setenv("EDITOR", ("cp -t " + root_.Path() + "/seen").c_str(), 1);
    fs::create_directories(root_.Path() + "/private");
    fs::create_directories(root_.Path() + "/seen");
    const Step steps[] = {{"set $user@dora", kStored}, {"set $user@dora --as auto", kStored}, {"stage set", kDocument}};
    for (const auto& [line, input] : steps) ASSERT_EQ(0, Csctl(line, input).exit) << line;
    root_.Write(
        "/usr/lib/halden/configmanager/components/p/defaults/d.json",
        R"({"defaults":[{"component":"accessd","group":"local","key":"user_account","value":[)" + kStored + "]}]}");
    ASSERT_EQ(0, Csctl("defaults load").exit);
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
  const auto said = [this](const Step& step) {
    const Outcome outcome = Csctl(step.first, step.second);
    EXPECT_EQ(std::string::npos, (outcome.out + outcome.err).find(kMark)) << step.first << outcome.out << outcome.err;
    EXPECT_NE(70, outcome.exit) << step.first << outcome.err;
  };
  const std::string before = root_.Read(kStoreFile);
  for (const Step& step : kLooks) {
    said(step);
    EXPECT_TRUE(before == root_.Read(kStoreFile)) << step.first;
    EXPECT_FALSE(fs::exists(root_.Resolve(kStoreFile + "-wal"))) << step.first;
  }
  for (const Step& step : kChanges) said(step);
  size_t files = 0;
  for (const auto& entry : fs::recursive_directory_iterator(root_.Path())) {
    if (!entry.is_regular_file() || IsDatabase(entry.path())) continue;
    ++files;
    const std::string text = root_.Read(entry.path().string().substr(root_.Path().size()));
    EXPECT_EQ(std::string::npos, text.find(kMark)) << entry.path();
  }
  EXPECT_GT(files, 2u);  // the system log and what the editor saw
  for (const auto& left : fs::directory_iterator(root_.Path() + "/private")) ADD_FAILURE() << left.path();
  EXPECT_FALSE(fs::is_empty(root_.Path() + "/seen"));
}
