#include "support/test_store.h"

using namespace OrvoConfigStore;

TEST(CheckObject, SaysWhatASetWouldRefuseAndWritesNothing) {
  TestStore store;
  const auto found = [](const ConfigStoreObjectId& id, const char* json, USERDATA_CONTEXT context) {
    std::string text;
    for (const ErrorInfo& info : CheckObject(ConfigStore::CreateObject(id, json), context)) {
      text += info.field + ": " + info.error + "; ";
    }
    return text;
  };
  const USERDATA_CONTEXT outside{USERDATA_CONTEXT::EXTERNAL};
  const USERDATA_CONTEXT host{USERDATA_CONTEXT::AUTOCONFIGURATION};
  EXPECT_EQ("", found(kTimeSource, R"({"method":"ntp"})", outside));
  EXPECT_EQ("/method: INCORRECT TYPE: expected string.; ", found(kTimeSource, R"({"method":1})", host));
  EXPECT_NE("", found(UserAccount("a"), "{}", outside));  // required members
  EXPECT_EQ("", found(UserAccount("a"), "{}", host));
  EXPECT_EQ("2000 Schema not found for object: component c group b key a", Thrown([&] {
              found({"a", "b", "c"}, "{}", outside);
            }));
  EXPECT_EQ("", store.Layers("time_source"));
}
