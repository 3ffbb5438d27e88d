#include <unistd.h>

#include "platform/test_database.h"

using namespace DBStore;

namespace {

using Connection = TestDatabase::Connection;

// Steps, one character each: b begin, c commit, x cancel, B and C and R the
// statements BEGIN IMMEDIATE, COMMIT and ROLLBACK; f fills the disk (the write
// fails), g gives room again; a digit writes a row of that name. `results` has
// the step's result; a write has '.' for 0 and '!' for 1. `stored` is what
// another connection finds at the end.
// clang-format off
const struct { const char *name, *steps, *results, *stored; } kStepCases[] = {
    {"Commit", "b1c", "0.0", "1"},                           {"Cancel", "b1x", "0.0", "-"},
    {"NestedCommits", "b1b2b3ccc", "0.0.0.000", "1 2 3"},    {"InnerCancelled", "b1b2x3c", "0.0.0.0", "1 3"},
    {"OuterCancelsCommittedInner", "b1b2cx", "0.0.00", "-"}, {"InnerTwice", "b1b2xb3cc", "0.0.00.00", "1 3"},
    {"NothingToEnd", "cx1", "12.", "1"},                     {"EndedOnce", "b1ccx2", "0.012.", "1 2"},
    {"FailedStatementKeepsTheTransaction", "b11c", "0.!0", "1"},
    {"FullDisk", "b1f2bcxx3", "0.!!1102.", "3"},   {"FullDiskInNested", "b1b2f3xgx4", "0.0.!!0g0.", "4"},
    {"FullDiskAutocommit", "1fg2", ".!g.", "1 2"}, {"Texts", "B1C2", "0.0.", "1 2"},
    {"TextRollback", "B1R2", "0.0.", "2"},         {"TextInTransaction", "b1Bc", "0.10", "1"},
    {"TextWithoutTransaction", "CR1", "11.", "1"}, {"LevelsInText", "B1b2x3C", "0.0.0.0", "1 3"},
    {"TextEndedByCancel", "B1x2", "0.0.", "2"},    {"TextEndedByCommit", "B1c2", "0.0.", "1 2"},
    {"TextRollbackUnderALevel", "b1RR2bcxR3", "0.01!1101.", "3"},
    {"TextCommitUnderALevel", "b1C2x3", "0.0!0.", "1 3"},
    {"FullDiskInText", "B1fg2BCR3", "0.!g!110.", "3"},
    {"FullDiskInTextThenCancel", "B1fg2x3", "0.!g!0.", "3"},
};
// clang-format on

char Step(const Connection& connection, char step) {
  const auto digit = [](int result) { return static_cast<char>('0' + result); };
  const auto mark = [](int result) { return result == 0 ? '.' : '!'; };
  const auto run = [&](const char* sql) { return TestDatabase::Run(connection, sql); };
  if (step == 'b') return digit(BeginTransaction(connection));
  if (step == 'c') return digit(CommitTransaction(connection));
  if (step == 'x') return digit(CancelTransaction(connection));
  if (step == 'B') return digit(run("BEGIN IMMEDIATE;"));
  if (step == 'C') return digit(run("COMMIT;"));
  if (step == 'R') return digit(run("ROLLBACK;"));
  if (step == 'g') return run("PRAGMA max_page_count=100000"), 'g';
  if (step != 'f') return mark(TestDatabase::Put(connection, std::string(1, step)));
  run("PRAGMA max_page_count=1");
  return mark(TestDatabase::Put(connection, "full", std::string(100000, 'x')));
}

std::string Steps(const Connection& connection, const std::string& steps) {
  std::string results;
  for (const char step : steps) results += Step(connection, step);
  return results;
}

TEST(Transactions, KeepCountOfTheirLevels) {
  for (const auto& row : kStepCases) {
    SCOPED_TRACE(row.name);
    const TestDatabase host;
    const Connection connection = host.Connect();
    EXPECT_EQ(row.results, Steps(connection, row.steps));
    EXPECT_EQ(row.stored, host.StoredKeys());
    EXPECT_EQ(2, CancelTransaction(connection)) << "nothing is left open";
  }
}

TEST(Transactions, AreUndoneWithTheirConnectionAndLeaveTheFailureOnRecord) {
  const TestDatabase host;
  Connection connection = host.Connect();
  ASSERT_EQ(0, BeginTransaction(connection));
  ASSERT_EQ(0, host.Put(connection, "k"));
  connection.reset();
  EXPECT_EQ("-", host.StoredKeys());
  connection = host.Connect();
  ASSERT_EQ(0, BeginTransaction(connection));
  ASSERT_EQ(1, host.Run(connection, "SELECT no FROM KVTable"));
  ASSERT_EQ(0, CancelTransaction(connection));
  EXPECT_EQ(SQLITE_ERROR, LastFailure().code);
}

// What a child did to its parent's transaction would show first in the journal.
TEST(ForkedChild, LeavesTheJournalOfAnInheritedTransactionAlone) {
  const TestDatabase host;
  const Connection schemas = GetConnection(TYPE_SCHEMA_STORE);
  ASSERT_EQ(0, BeginTransaction(schemas));
  ASSERT_EQ(0, host.Run(schemas, "INSERT INTO ConfigSchema(Name) VALUES('n')"));
  const std::string journal = std::string(HaldenLib::kSchemaStoreFile) + "-journal";
  ASSERT_TRUE(HaldenLib::FileExists(journal));
  EXPECT_EQ(0, InChild([&] { return CancelTransaction(schemas); }));
  EXPECT_TRUE(HaldenLib::FileExists(journal));
  EXPECT_EQ(1, InChild([&] { return host.Run(schemas, "SELECT 1"); }));
  EXPECT_TRUE(HaldenLib::FileExists(journal));
  EXPECT_EQ(0, CommitTransaction(schemas));
}

// SQLite counts locks per process: without records of its own the child would
// hold none, and the parent would delete the log that the child writes to.
TEST(ForkedChild, KeepsItsLogWhenTheParentCloses) {
  const TestDatabase host;
  Connection connection = host.Connect();
  ASSERT_EQ(0, BeginTransaction(connection));
  ASSERT_EQ(0, host.Put(connection, "parent"));
  int ready[2], go[2];
  ASSERT_TRUE(pipe(ready) == 0 && pipe(go) == 0);
  char byte = 0;
  const pid_t child = StartChild([&] {
    close(go[1]);  // so that the child ends with the test
    const Connection own = host.Connect();
    const bool isReady = RowsOf(own, "SELECT count(*) FROM KVTable") == "0" && write(ready[1], &byte, 1) == 1;
    return isReady && read(go[0], &byte, 1) == 1 && host.Put(own, "child") == 0 ? 0 : 1;
  });
  ASSERT_EQ(1, read(ready[0], &byte, 1));
  ASSERT_EQ(0, CommitTransaction(connection));
  connection.reset();
  ASSERT_EQ(1, write(go[1], &byte, 1));
  EXPECT_EQ(0, ResultOf(child));
  for (const int end : {ready[0], ready[1], go[0], go[1]}) close(end);
  EXPECT_EQ("parent child", host.StoredKeys());
}

}  // namespace
