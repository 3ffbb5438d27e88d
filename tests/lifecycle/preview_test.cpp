#include "lifecycle/test_host.h"

using namespace OrvoConfigStore;

namespace {

// Returns "KEY[@INSTANCE] BEFORE>AFTER [lost DESIRED] [unconfirmed]" of all changes.
std::string Print(const BootPreview& preview) {
  std::string text = preview.appliesStaged ? "apply" : "normal";
  for (const BootChange& change : preview.changes) {
    text += "; " + change.id.key + (change.id.instanceId.empty() ? "" : "@" + change.id.instanceId) + " " +
            change.userBefore.value_or("-") + ">" + change.userAfter.value_or("-");
    if (change.desiredLost) text += " lost " + *change.desiredLost;
    if (!change.isConfirmed) text += change.wasConfirmed ? " unconfirmed" : " still unconfirmed";
  }
  return text;
}

class Preview : public testing::Test {
 protected:
  Preview() {
    host_.Put(kTimeSource, "null, 'old', null, 'pending', 1");
    host_.Put(UserAccount("auto"), "'auto', null, null, 'desired', 1");
    host_.Put(UserAccount("cleared"), "null, 'old', null, null, 0");
    host_.Put(ConfigStoreObjectId("k", "g", "unknown"), "null, 'old', null, null, 1");
    PutRow(UserAccount("staged"), "Value", "'new'", "DesiredUserConfig");
  }
  // What the load then does to the rows that it says it changes.
  std::string LoadedRows() const {
    LoadStore(false);
    return host_.Query(
        "SELECT Name || CASE Identifier WHEN '' THEN '' ELSE '@' || Identifier END, UserValue, Success FROM Config "
        "ORDER BY Component, Name, Identifier;");
  }
  const TestHost host_;
};

TEST_F(Preview, SaysWhatANormalLoadDoes) {
  EXPECT_EQ(
      "normal; user_account@auto ->- lost desired; user_account@cleared old>old still unconfirmed; "
      "time_source old>pending unconfirmed",
      Print(PreviewBoot()));
  EXPECT_EQ("normal; user_account@auto ->- lost desired; time_source old>pending unconfirmed",
            Print({false, PreviewBootLosses()}));
  EXPECT_EQ("user_account@cleared old 0; time_source pending 0; k old 1", LoadedRows());
}

TEST_F(Preview, SaysWhatAStagedLoadDoesAndLeavesTheStoreAlone) {
  const auto connection = DBStore::GetConnection(DBStore::TYPE_STORE);  // keeps the log as it is
  SetBootMode(BOOTMODE_APPLY);
  const auto files = [&] {
    const std::string path = HaldenLib::kStoreFile;
    const fs::directory_iterator there(host_.root.Resolve(HaldenLib::kStoreDirectory));
    return host_.root.Read(path) + host_.root.Read(path + "-wal") + std::to_string(std::distance(there, {}));
  };
  const std::string before = files();
  EXPECT_EQ(
      "apply; user_account@auto ->- lost desired; user_account@cleared old>- still unconfirmed; "
      "user_account@staged ->new unconfirmed; time_source old>pending unconfirmed; k old>-",
      Print(PreviewBoot()));
  EXPECT_EQ(
      "apply; user_account@auto ->- lost desired; user_account@cleared old>- still unconfirmed; "
      "time_source old>pending unconfirmed; k old>-",
      Print({true, PreviewBootLosses()}));
  EXPECT_TRUE(before == files());
  EXPECT_TRUE(GetNextBootMode());
  EXPECT_EQ("user_account@cleared - 0; user_account@staged new 0; time_source pending 0; k - 1", LoadedRows());
}

TEST_F(Preview, CopyBelongsToTheProcessThatMadeIt) {
  const auto copy = DBStore::OpenPrivateCopy();
  const auto clear = [&] { return DBStore::ExecuteV2(copy, "DELETE FROM Config;", nullptr, nullptr, 0); };
  EXPECT_EQ(1, InChild(clear));
  EXPECT_EQ(0, clear());
  EXPECT_EQ("4", host_.Query("SELECT count(*) FROM Config;"));
}

TEST(PreviewWithoutAStore, SaysWhyThereIsNone) {
  const TempRoot root;
  EXPECT_EQ("2000 Cannot preview: no such file: /etc/halden/configstore/current-store-1",
            Thrown([] { PreviewBoot(); }));
}

}  // namespace
