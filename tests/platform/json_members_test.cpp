#include "platform/json_members.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/json_reader.h"
#include "support/test_store.h"

using OrvoConfigStore::JsonStorage;
using OrvoConfigStore::MemberIndex;

namespace {

// An object of `count` members, "m0" to "mN" from the last to the first, each
// there twice with its place as value, and names that resemble each other.
void Fill(JsonStorage& object, int count) {
  std::string text = "{";
  for (int i = 0; i < count; ++i) text += "\"m" + std::to_string(count - 1 - i) + "\":" + std::to_string(i) + ",";
  for (int i = 0; i < count; ++i) text += "\"m" + std::to_string(i) + "\":-1,";
  ASSERT_TRUE(OrvoConfigStore::ReadJson(text + R"("":-2,"m\u0000":-3,"M0":-4})", object.document, nullptr));
}

}  // namespace

TEST(MemberIndexing, FindsTheFirstMemberOfEveryName) {
  for (const int count : {1, 14, 15, 1000}) {
    JsonStorage object;
    Fill(object, count);
    MemberIndex members(object.document);
    for (int i = 0; i < count; ++i) {
      const MemberIndex::Member* member = members.Find("m" + std::to_string(count - 1 - i));
      ASSERT_NE(nullptr, member) << i;
      EXPECT_EQ(i, member->value.GetInt());
      EXPECT_EQ(static_cast<size_t>(i), members.PositionOf(member));
    }
    EXPECT_EQ(-2, members.Find("")->value.GetInt());
    EXPECT_EQ(-3, members.Find(std::string("m\0", 2))->value.GetInt());
    EXPECT_EQ(-4, members.Find("M0")->value.GetInt());
    for (const char* absent : {"m", "m00", "n0", "zzzzzzzz"}) EXPECT_EQ(nullptr, members.Find(absent)) << absent;
  }
}

TEST(MemberIndexing, NeedsAnObject) {
  JsonStorage value;
  ASSERT_TRUE(OrvoConfigStore::ReadJson("[]", value.document, nullptr));
  EXPECT_EQ("2000 Invalid JSON", Thrown([&] { MemberIndex members(value.document); }));
  ASSERT_TRUE(OrvoConfigStore::ReadJson("{}", value.document, nullptr));
  EXPECT_EQ(nullptr, MemberIndex(value.document).Find("a"));
}
