#include "tests/hostkit/database/Fixture.h"

namespace {

using Cells = std::vector<std::string>;

class Query : public HostDatabaseTest {};

TEST_F(Query, GivesAllCellsInOneList) {
  EXPECT_EQ(HostDatabaseTest::Query("SELECT 1, 'a' UNION SELECT 2, 'b'"),
            (Cells{"1", "a", "2", "b"}));
}

TEST_F(Query, GivesEveryKindOfCellAsText) {
  EXPECT_EQ(HostDatabaseTest::Query("SELECT NULL, -5, 2.5, '', x'6162', 12.0"),
            (Cells{"NULL", "-5", "2.5", "", "ab", "12.0"}));
}

TEST_F(Query, RunsTheStatementsOfATextInTurn) {
  EXPECT_EQ(HostDatabaseTest::Query("CREATE TABLE n (v); INSERT INTO n VALUES (1); SELECT v FROM n;"
                                    "-- a word\n UPDATE n SET v = 2; ; SELECT v FROM n"),
            (Cells{"1", "2"}));
}

TEST_F(Query, OfNothingGivesNothing) {
  EXPECT_EQ(HostDatabaseTest::Query(""), Cells());
  EXPECT_EQ(HostDatabaseTest::Query(" -- nothing to do"), Cells());
}

TEST_F(Query, TakesTheSwitchForForeignKeysInFrontOfAStatement) {
  EXPECT_EQ(HostDatabaseTest::Query("PRAGMA foreign_keys = ON; SELECT 5"), Cells{"5"});
}

TEST_F(Query, StopsAtTheStatementThatFails) {
  EXPECT_EQ(FailureOf("CREATE TABLE n (v); INSERT INTO m VALUES (1); INSERT INTO n VALUES (1)"),
            "no such table: m");
  EXPECT_EQ(HostDatabaseTest::Query("SELECT COUNT(*) FROM n"), Cells{"0"});
}

TEST_F(Query, LeavesNoTransactionBehindAFailure) {
  EXPECT_EQ(FailureOf("BEGIN; CREATE TABLE n (v); INSERT INTO m VALUES (1); COMMIT"),
            "no such table: m");
  EXPECT_EQ(FailureOf("SELECT * FROM n"), "no such table: n");
  EXPECT_EQ(FailureOf("BEGIN; COMMIT"), "");
}

TEST_F(Query, FailsWithTheLibrarysText) {
  EXPECT_EQ(FailureOf("SELEC 1"), "near \"SELEC\": syntax error");
  EXPECT_EQ(FailureOf("SELECT 'open"), "unrecognized token: \"'open\"");
}

TEST_F(Query, TakesNoTextWithANul) {
  EXPECT_EQ(FailureOf(std::string("SELECT 1\0 WHERE 0", 17)), "a statement holds a NUL character");
}

TEST_F(Query, ReachesNoOtherFile) {
  const std::string other = (m_Folder.Path() / "other.db").string();
  EXPECT_EQ(FailureOf("ATTACH '" + other + "' AS other"), "too many attached databases - max 0");
  EXPECT_NE(FailureOf("VACUUM INTO '" + other + "'"), "");
  EXPECT_FALSE(std::filesystem::exists(other));
}

TEST_F(Query, WritesAheadInALog) {
  EXPECT_EQ(HostDatabaseTest::Query("PRAGMA journal_mode"), Cells{"wal"});
}

}  // namespace
