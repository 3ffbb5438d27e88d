#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

std::shared_ptr<ConfigStoreObject> Account(const std::string& id, const std::string& login) {
  return ConfigStore::CreateObject(UserAccount(id), R"({"login":")" + login + R"(","uid":1})");
}

// Returns "ID=LOGIN" of accounts, in order.
std::string Logins(const std::vector<std::shared_ptr<ConfigStoreObject>>& accounts) {
  std::string text;
  for (const auto& account : accounts) {
    std::string login;
    account->GetValue("login", &login);
    text += (text.empty() ? "" : " ") + account->GetId().instanceId + "=" + login;
  }
  return text;
}

TEST(DesiredConfig, ReplacesWhatWasStagedBefore) {
  TestStore store;
  LogCapture log(store.Root());
  SetDesiredUserConfig({Account("a", "first"), ConfigStore::CreateObject(kTimeSource, R"({"method":"ptp"})")});
  EXPECT_EQ("Desired configuration set.", log.Lines().back());
  EXPECT_EQ(R"(time_source  {"method":"ptp"} 1.0; user_account a {"login":"first","uid":1,"cs_generated_id":"a"} 1.0)",
            store.Query("SELECT Name, Identifier, Value, Version FROM DesiredUserConfig ORDER BY Name;"));
  SetDesiredUserConfig({Account("b", "second"), Account("b", "third")});
  EXPECT_EQ("b=third", Logins(ListStagedConfig()));
  DropStagedConfig();
  EXPECT_TRUE(ListStagedConfig().empty());
  EXPECT_EQ("", store.Query("SELECT * FROM Config;"));
}

TEST(DesiredConfig, KeepsWhatWasStagedWhenItIsRefused) {
  TestStore store;
  LogCapture log(store.Root());
  SetDesiredUserConfig({Account("a", "kept")});
  EXPECT_EQ("2000 ConfigStoreObject list cannot be empty", Thrown([] { SetDesiredUserConfig({}); }));
  SetDesiredUserConfig({Account("b", "new"), nullptr});
  EXPECT_EQ("[1040]SetDesiredUserConfig: Configuration object is empty", log.Lines().back());
  EXPECT_EQ("2000 Non-Singleton object should contain instanceId", Thrown([] {
              SetDesiredUserConfig({Account("b", "new"), Account("", "none")});
            }));
  EXPECT_EQ("1087 Failed to validate User config [/login: String length shorter than minimum: 1]", Thrown([] {
              SetDesiredUserConfig({Account("b", "new"), Account("c", "")});
            }));
  FailAt("INSERT ON DesiredUserConfig WHEN NEW.Identifier='c'");
  EXPECT_EQ("2000 Failed to set desired configuration.", Thrown([] {
              SetDesiredUserConfig({Account("b", "b"), Account("c", "c")});
            }));
  store.Run("DROP TRIGGER fault;");
  FailAt("DELETE ON DesiredUserConfig");
  EXPECT_EQ("2000 Failed to cleanup desired configuration.", Thrown([] { SetDesiredUserConfig({Account("b", "b")}); }));
  EXPECT_EQ("a=kept", Logins(ListStagedConfig()));
}

TEST(DesiredConfig, IsThatOfTheRowElseTheStagedOne) {
  TestStore store;
  const char kColumns[] = "UserValue, DesiredValue, Success";
  PutRow(UserAccount("confirmed"), kColumns, R"('{"login":"x"}', null, 1)");
  PutRow(UserAccount("desired"), kColumns, R"('{"login":"x"}', '{"login":"row"}', 1)");
  PutRow(UserAccount("unconfirmed"), kColumns, R"('{"login":"row"}', null, 0)");
  SetDesiredUserConfig({Account("confirmed", "staged"), Account("desired", "staged"), Account("new", "staged"),
                        Account("unconfirmed", "staged")});
  const auto type = std::make_shared<FilterSpecObject>(UserAccount(""));
  EXPECT_EQ("desired=row unconfirmed=row confirmed=staged new=staged", Logins(GetDesiredUserConfigInstances(type)));
  for (const std::string pair : {"confirmed=staged", "desired=row", "new=staged", "unconfirmed=row"}) {
    EXPECT_EQ(pair, Logins({GetDesiredUserConfig(UserAccount(pair.substr(0, pair.find('='))))}));
  }
  EXPECT_EQ(nullptr, GetDesiredUserConfig(UserAccount("none")));
  EXPECT_EQ(nullptr, GetDesiredUserConfig(kTimeSource));

  const auto staged = std::make_shared<FilterSpecObject>(UserAccount(""));
  staged->SetValue("login", "staged");
  EXPECT_EQ("confirmed=staged new=staged", Logins(GetDesiredUserConfigInstances(staged)));
  EXPECT_EQ("2000 GetInstances() API called for singleton object",
            Thrown([] { GetDesiredUserConfigInstances(std::make_shared<FilterSpecObject>(kTimeSource)); }));
}

TEST(DesiredConfig, MaskStandsForTheSecretThatIsPendingElseStored) {
  TestStore store;
  const auto with = [](const std::string& secret) {
    return R"({"login":"x","uid":1,"password_hash":")" + secret + "\"}";
  };
  const auto stageMask = [&with] {
    SetDesiredUserConfig({ConfigStore::CreateObject(UserAccount("a"), with(kSecretMask))});
    return GetDesiredUserConfig(UserAccount("a"))->GetData();
  };
  EXPECT_EQ(
      "1087 Failed to validate User config [/password_hash: Secret is masked, and nothing is stored that the "
      "mask could stand for]",
      Thrown(stageMask));
  store.Set(UserAccount("a"), with("stored"));
  EXPECT_EQ(with("stored"), stageMask());
  SetDesiredUserConfig({ConfigStore::CreateObject(UserAccount("a"), with("staged"))});
  EXPECT_EQ(with("staged"), stageMask());
}

}  // namespace
