#include "platform/sql_format.h"
#include "platform/sql_forms.h"
#include "platform/sql_literals.h"
#include "support/test_store.h"

using namespace DBStore;

namespace {

// What is lifted of a text, and the parameters in brackets, a given one as [?]; "" when it is to run as it is.
// clang-format off
const struct { const char *sql, *lifted, *parameters; } kLiftCases[] = {
    {"SELECT a from Config WHERE Name='n' and Id = 'i';", "SELECT a from Config WHERE Name=? and Id = ?;", "[n][i]"},
    {"SELECT Value, Version from'Config' WHERE Name='n'", "SELECT Value, Version from'Config' WHERE Name=?", "[n]"},
    {"INSERT OR REPLACE INTO 'T'(a, b)VALUES (?, 'x');", "INSERT OR REPLACE INTO 'T'(a, b)VALUES (?, ?);", "[?][x]"},
    {"update c set u=?, v='a' where n='b' and x=?", "update c set u=?, v=? where n=? and x=?", "[?][a][b][?]"},
    {"insert into c values ('1',\n\t'2' , 3, ('4'))", "insert into c values (?,\n\t? , 3, (?))", "[1][2][4]"},
    {"DELETE FROM c WHERE d.id='' or a='x'", "DELETE FROM c WHERE d.id=? or a=?", "[][x]"},
    {"SELECT 1 WHERE a='it''s' and b='''' and c='x'", "SELECT 1 WHERE a=? and b=? and c=?", "[it's]['][x]"},
    {"SELECT 1 WHERE a='%s;\n--/*?:@$\"[`\xC3\xA4'", "SELECT 1 WHERE a=?", "[%s;\n--/*?:@$\"[`\xC3\xA4]"},
    {"SELECT a=\"x\" 'y' FROM c WHERE 1", "SELECT a=\"x\" 'y' FROM c WHERE 1", ""},
    {"SELECT x 'y' FROM c WHERE a LIKE 'p%' and b=x'00'", "SELECT x 'y' FROM c WHERE a LIKE 'p%' and b=x'00'", ""},
    {"SELECT \"o'ne\", [t'wo], `th'ree` WHERE a='b'", "SELECT \"o'ne\", [t'wo], `th'ree` WHERE a=?", "[b]"},
    {" \n select 1 where a='b'", " \n select 1 where a=?", "[b]"},
    {"ATTACH DATABASE '/etc/x' AS ss;", "", ""}, {"REPLACE INTO c VALUES('a')", "", ""}, {"SEL", "", ""},
    {"SELECT 1 -- it's\nWHERE a='b'", "", ""},   {"SELECT 1 /* it's */ WHERE a='b'", "", ""},
    {"SELECT ?2 WHERE a='b'", "", ""},           {"SELECT :n WHERE a='b'", "", ""},
    {"SELECT 1 WHERE a='b'2", "", ""},           {"SELECT 1 WHERE a='b", "", ""},
    {"SELECT \"a WHERE a='b'", "", ""},          {"SELECT 1 WHERE a='b'c'", "", ""},
};
// clang-format on

TEST(SqlLiterals, InValuePositionAreLiftedOutOfTheText) {
  for (const auto& row : kLiftCases) {
    LiftedStatement lifted;
    const bool isLifted = LiftLiterals(row.sql, &lifted);
    std::string parameters;
    for (const Parameter& each : lifted.parameters) {
      parameters += "[" + (each.isGiven ? "?" : std::string(each.literal)) + "]";
    }
    EXPECT_EQ(row.lifted, isLifted ? lifted.text : "") << row.sql;
    EXPECT_EQ(row.parameters, isLifted ? parameters : "") << row.sql;
  }
}

// Forms, with the names "n'1", "" and "3%s"; a form that is lifted must give what
// lifting the filled text gives.
struct FormCase {
  const char* form;
  bool canLift;
};

const FormCase kFormCases[] = {
    {"SELECT a from Config WHERE Name='%s' and Id = '%s' and b='%s';", true},
    {"INSERT INTO c VALUES ('%2$s', ?, (select a from c where i='%1$s' and j='%2$s'), '%3$s', ?)", true},
    {"DELETE FROM c", true},
    {"SELECT Value from'%s' WHERE Name='%s'", false},
    {"update c set %1$s=null where n='%2$s'", false},
    {"SELECT 1 WHERE '%1$s'='' or b='%1$s'", false},
    {"SELECT 1 WHERE a='x%s'", false},
    {"SELECT '%1$s'", false},
    {"SELECT 1 -- '%s'", false},
};

TEST(Forms, AreLiftedAsTheTextsThatTheyMake) {
  FormCache forms;
  const NamedText made{{}, {"n'1", "", "3%s"}};
  for (const FormCase& each : kFormCases) {
    EXPECT_EQ(each.canLift, forms.CanLift(each.form)) << each.form;
    if (!each.canLift) continue;
    const std::string filled = OrvoConfigStore::FormatSql(each.form, made.names);
    LiftedStatement expected, lifted;
    ASSERT_TRUE(LiftLiterals(filled, &expected));
    forms.Lift({each.form, made.names}, &lifted);
    EXPECT_EQ(expected.text, lifted.text);
    ASSERT_EQ(expected.parameters.size(), lifted.parameters.size());
    for (size_t i = 0; i < lifted.parameters.size(); ++i) {
      EXPECT_EQ(expected.parameters[i].isGiven, lifted.parameters[i].isGiven) << each.form << i;
      EXPECT_EQ(expected.parameters[i].literal, lifted.parameters[i].literal) << each.form << i;
    }
  }
}

TEST(SqlFormat, FillsPlacesInOnePassAndDoublesQuotes) {
  using OrvoConfigStore::FormatSql;
  EXPECT_EQ("a 'x' b 'y'", FormatSql("a '%s' b '%s'", {"x", "y"}));
  EXPECT_EQ("('y', 'x', 'x')", FormatSql("('%2$s', '%1$s', '%1$s')", {"x", "y"}));
  EXPECT_EQ("('x', 'y') 'x'", FormatSql("('%s', '%s') '%1$s'", {"x", "y"}));
  EXPECT_EQ("'%s' 100% 'it''s; %1$s\n'", FormatSql("'%s' 100% '%s'", {"%s", "it's; %1$s\n"}));
  EXPECT_EQ("2000 A name cannot hold a NUL byte.", Thrown([] { FormatSql("'%s'", {std::string_view("a\0b", 3)}); }));
  EXPECT_NE("", Thrown([] { FormatSql("'%s' '%s'", {"a"}); }));
}

}  // namespace
