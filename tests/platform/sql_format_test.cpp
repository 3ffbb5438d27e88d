#include "platform/sql_format.h"

#include <gtest/gtest.h>

#include "support/test_store.h"

using OrvoConfigStore::FormatSql;

namespace {

TEST(SqlFormat, FillsPlacesInOnePassAndDoublesQuotes) {
  EXPECT_EQ("a 'x' b 'y'", FormatSql("a '%s' b '%s'", {"x", "y"}));
  EXPECT_EQ("('y', 'x', 'x')", FormatSql("('%2$s', '%1$s', '%1$s')", {"x", "y"}));
  EXPECT_EQ("('x', 'y') 'x'", FormatSql("('%s', '%s') '%1$s'", {"x", "y"}));
  EXPECT_EQ("'%s' 'y' 'it''s; %1$s'", FormatSql("'%s' '%s' '%s'", {"%s", "y", "it's; %1$s"}));
  EXPECT_EQ("100% '\n'", FormatSql("100% '%s'", {"\n"}));
}

TEST(SqlFormat, RefusesNulAndMissingValues) {
  EXPECT_EQ("2000 A name cannot hold a NUL byte.", Thrown([] { FormatSql("'%s'", {std::string_view("a\0b", 3)}); }));
  EXPECT_NE("", Thrown([] { FormatSql("'%s' '%s'", {"a"}); }));
}

}  // namespace
