#include "support/test_store.h"

using namespace OrvoConfigStore;

namespace {

// Puts an object's user part, desired value and success flag in place; "-" is none.
void Put(const ConfigStoreObjectId& id, const std::string& user, const std::string& desired, int success) {
  const auto literal = [](const std::string& text) { return text == "-" ? "null" : "'" + text + "'"; };
  PutRow(id, "UserValue, DesiredValue, Success",
         literal(user) + "," + literal(desired) + "," + std::to_string(success));
}

std::string Rows(TestStore& store) {
  return store.Query(
      "SELECT Name, Identifier, UserValue, DesiredValue, Success FROM Config ORDER BY Name, Identifier;");
}

// clang-format off
const char kPending[] = "time_source  new - 0; user_account a new - 0; user_account b old desired 1";
const struct { ConfigStoreObjectId id; bool success; const char *features, *rows; } kStatusCases[] = {
    {kTimeSource, true, "", "time_source  new - 1; user_account a new - 0; user_account b old desired 1"},
    {UserAccount("b"), true, "", "time_source  new - 0; user_account a new - 0; user_account b desired - 1"},
    {UserAccount(""), true, "", "time_source  new - 0; user_account a new - 1; user_account b desired - 1"},
    {kTimeSource, false, "", kPending},
    {UserAccount("c"), true, "", kPending},
    {kTimeSource, true, "ConfigStore=off\n", kPending},
};
// clang-format on

TEST(BootStatus, ConfirmsWhatIsPending) {
  for (const auto& row : kStatusCases) {
    SCOPED_TRACE(row.rows);
    TestStore store;
    Put(kTimeSource, "new", "-", 0);
    Put(UserAccount("a"), "new", "-", 0);
    Put(UserAccount("b"), "old", "desired", 1);
    store.Root().Write("/etc/halden/features", row.features);
    SetBootStatus(row.id, row.success);
    EXPECT_EQ(row.rows, Rows(store));
  }
  TempRoot withoutAStore;
  EXPECT_EQ("2000 SetBootStatus: Failed to mark success status for given csoId.",
            Thrown([] { SetBootStatus(kTimeSource, true); }));
  EXPECT_EQ("", Thrown([] { SetBootStatus(kTimeSource, false); }));
}

// Row before, the part that is confirmed, row after: "USER DESIRED SUCCESS".
// clang-format off
const char kNtp[] = R"({"method":"ntp"})", kNtpOff[] = R"({"method":"ntp","enabled":false})";
const char kNtpOn[] = R"({"method":"ntp","enabled":true})", kPtpOn[] = R"({"method":"ptp","enabled":true})";
const struct { const char *user, *desired; int success; const char *part, *after; } kPartCases[] = {
    {kNtpOff, "-", 0, kNtp, R"({"method":"ntp"} {"method":"ntp","enabled":false} 1)"},
    {kNtpOff, "-", 0, R"({"enabled":false,"method":"ntp"})", R"({"enabled":false,"method":"ntp"} - 1)"},
    {kPtpOn, kNtpOn, 1, R"({"method":"manual"})",
     R"({"enabled":true,"method":"manual"} {"method":"ntp","enabled":true} 1)"},
    {kPtpOn, kNtpOn, 1, kNtp, R"({"enabled":true,"method":"ntp"} - 1)"},
    {"-", kNtpOn, 1, kNtp, R"({"method":"ntp"} {"method":"ntp","enabled":true} 1)"},
    {"-", "-", 1, kNtp, R"({"method":"ntp"} - 1)"},
};
// clang-format on

TEST(PartialBootStatus, ConfirmsThePartAndKeepsTheRest) {
  for (const auto& row : kPartCases) {
    TestStore store;
    Put(kTimeSource, row.user, row.desired, row.success);
    SetPartialBootStatus(ConfigStore::CreateObject(kTimeSource, row.part));
    EXPECT_EQ(row.after, store.Query("SELECT UserValue, DesiredValue, Success FROM Config;"));
  }
}

TEST(PartialBootStatus, OfOneInstanceLeavesTheOthers) {
  TestStore store;
  for (const char* id : {"a", "b"}) Put(UserAccount(id), R"({"login":"x","uid":1,"shell":"/bin/s"})", "-", 0);
  SetPartialBootStatus(ConfigStore::CreateObject(UserAccount("b"), R"({"login":"x","uid":1})"));
  EXPECT_EQ(R"(user_account a {"login":"x","uid":1,"shell":"/bin/s"} - 0; )"
            R"(user_account b {"login":"x","uid":1} {"login":"x","uid":1,"shell":"/bin/s"} 1)",
            Rows(store));
}

TEST(PartialBootStatus, ThatIsRefusedChangesNothing) {
  TestStore store;
  LogCapture log(store.Root());
  Put(kTimeSource, R"({"method":"ntp"})", "-", 0);
  const std::string before = Rows(store);
  const auto confirm = [](const ConfigStoreObjectId& id, const char* part) {
    return Thrown([&] { SetPartialBootStatus(ConfigStore::CreateObject(id, part)); });
  };
  EXPECT_EQ("1088 Failed to validate Partial config [: Required property missing: method]",
            confirm(kTimeSource, R"({"enabled":true})"));
  EXPECT_EQ("2000 Non-Singleton object should contain instanceId", confirm(UserAccount(""), "{}"));
  SetPartialBootStatus(nullptr);
  EXPECT_EQ("[1040]SetPartialBootStatus: Configuration object is empty", log.Lines().back());
  EXPECT_EQ("", confirm(UserAccount("none"), R"({"login":"x","uid":1})"));
  FailAt("UPDATE OF Success ON Config");
  EXPECT_EQ("2000 Operation failed: Failed to confirm the user value.", confirm(kTimeSource, R"({"method":"ptp"})"));
  store.Root().Write("/etc/halden/features", "ConfigStore=off\n");
  EXPECT_EQ("", confirm(kTimeSource, R"({"method":"ptp"})"));
  EXPECT_EQ(before, Rows(store));
}

TEST(PartialBootStatus, OfASecretTakesTheMaskForThePendingOne) {
  TestStore store;
  const std::string account = R"({"login":"x","uid":1,"password_hash":")";
  Put(UserAccount("a"), account + "new\"}", "-", 0);
  SetPartialBootStatus(ConfigStore::CreateObject(UserAccount("a"), account + kSecretMask + "\"}"));
  EXPECT_EQ(account + "new\"} - 1", store.Query("SELECT UserValue, DesiredValue, Success FROM Config;"));
}

}  // namespace
