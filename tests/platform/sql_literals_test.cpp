#include "platform/sql_literals.h"

#include <gtest/gtest.h>

using namespace DBStore;

namespace {

struct LiftCase {
  const char* name;
  const char* sql;
  const char* lifted;      // "" when the text is to run as it is
  const char* parameters;  // in brackets; a given one is [?]
};

const LiftCase kLiftCases[] = {
    {"WhereClause", "SELECT a from Config WHERE Name='n' and Id = 'i';",
     "SELECT a from Config WHERE Name=? and Id = ?;", "[n][i]"},
    {"TableNamesStay", "SELECT Value, Version from'Config' WHERE Name='n'",
     "SELECT Value, Version from'Config' WHERE Name=?", "[n]"},
    {"InsertIntoQuotedTable", "INSERT OR REPLACE INTO 'T'(a, b)VALUES (?, 'x');",
     "INSERT OR REPLACE INTO 'T'(a, b)VALUES (?, ?);", "[?][x]"},
    {"GivenAndLiftedInTextOrder", "update c set u=?, v='a' where n='b' and x=?",
     "update c set u=?, v=? where n=? and x=?", "[?][a][b][?]"},
    {"ListOfValues", "insert into c values ('1',\n\t'2' , 3, ('4'))", "insert into c values (?,\n\t? , 3, (?))",
     "[1][2][4]"},
    {"EmptyLiteral", "DELETE FROM c WHERE d.id='' or a='x'", "DELETE FROM c WHERE d.id=? or a=?", "[][x]"},
    {"DoubledQuotes", "SELECT 1 WHERE a='it''s' and b='''' and c='x'", "SELECT 1 WHERE a=? and b=? and c=?",
     "[it's]['][x]"},
    {"SpecialCharacters", "SELECT 1 WHERE a='%s;\n--/*?:@$\"[`\xC3\xA4'", "SELECT 1 WHERE a=?",
     "[%s;\n--/*?:@$\"[`\xC3\xA4]"},
    {"AliasLikeAndBlobStay", "SELECT x 'alias' FROM c WHERE a LIKE 'p%' and b=x'00'",
     "SELECT x 'alias' FROM c WHERE a LIKE 'p%' and b=x'00'", ""},
    {"QuotesInQuotedNames", "SELECT \"o'ne\", [t'wo], `th'ree` FROM c WHERE a='b'",
     "SELECT \"o'ne\", [t'wo], `th'ree` FROM c WHERE a=?", "[b]"},
    {"LeadingBlanks", " \n select 1 where a='b'", " \n select 1 where a=?", "[b]"},
    {"Attach", "ATTACH DATABASE '/etc/x' AS ss;", "", ""},
    {"OtherVerb", "REPLACE INTO c VALUES('a')", "", ""},
    {"Short", "SEL", "", ""},
    {"LineComment", "SELECT 1 -- it's\nWHERE a='b'", "", ""},
    {"BlockComment", "SELECT 1 /* it's */ WHERE a='b'", "", ""},
    {"NumberedParameter", "SELECT ?2 WHERE a='b'", "", ""},
    {"NamedParameter", "SELECT :n WHERE a='b'", "", ""},
    {"DigitBehindLiteral", "SELECT 1 WHERE a='b'2", "", ""},
    {"UnclosedLiteral", "SELECT 1 WHERE a='b", "", ""},
    {"UnclosedName", "SELECT \"a WHERE a='b'", "", ""},
    {"OddQuotes", "SELECT 1 WHERE a='b'c'", "", ""},
};

class Lifting : public testing::TestWithParam<LiftCase> {};

TEST_P(Lifting, TakesLiteralsOutOfTheText) {
  LiftedStatement lifted;
  const bool isLifted = LiftLiterals(GetParam().sql, &lifted);
  EXPECT_EQ(GetParam().lifted, isLifted ? lifted.text : "");
  std::string parameters;
  for (const Parameter& each : lifted.parameters) {
    parameters += "[" + (each.isGiven ? "?" : std::string(each.literal)) + "]";
  }
  EXPECT_EQ(GetParam().parameters, isLifted ? parameters : "");
}

INSTANTIATE_TEST_SUITE_P(Texts, Lifting, testing::ValuesIn(kLiftCases),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
