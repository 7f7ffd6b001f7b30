#include "tests/hostkit/database/Fixture.h"

namespace {

using Cells = std::vector<std::string>;

class Query : public HostDatabaseTest {};

TEST_F(Query, ReturnsAllCellsInOneList) {
  EXPECT_EQ(HostDatabaseTest::Query("SELECT 1, 'a' UNION SELECT 2, 'b'"),
            (Cells{"1", "a", "2", "b"}));
}

TEST_F(Query, ReturnsCellsOfAllTypesAsText) {
  EXPECT_EQ(HostDatabaseTest::Query("SELECT NULL, -5, 2.5, '', x'6162', 12.0"),
            (Cells{"NULL", "-5", "2.5", "", "ab", "12.0"}));
}

TEST_F(Query, RunsSeveralStatementsInOrder) {
  EXPECT_EQ(HostDatabaseTest::Query("INSERT INTO host_plugin_rows (pi_object_id) VALUES (1);"
                                    "SELECT pi_object_id FROM host_plugin_rows; -- a comment\n"
                                    "UPDATE host_plugin_rows SET pi_object_id = 2; ;"
                                    "SELECT pi_object_id FROM host_plugin_rows"),
            (Cells{"1", "2"}));
}

TEST_F(Query, ReturnsAnEmptyListForAnEmptyString) {
  EXPECT_EQ(HostDatabaseTest::Query(""), Cells());
  EXPECT_EQ(HostDatabaseTest::Query(" -- nothing to do"), Cells());
}

TEST_F(Query, AcceptsTheForeignKeysPragma) {
  EXPECT_EQ(HostDatabaseTest::Query("PRAGMA foreign_keys = ON; SELECT 5"), Cells{"5"});
}

TEST_F(Query, StopsAtTheStatementThatFails) {
  const std::string insert = "INSERT INTO host_plugin_rows (pi_object_id) VALUES (1);";
  EXPECT_EQ(FailureOf(insert + "INSERT INTO m VALUES (1);" + insert), "no such table: m");
  EXPECT_EQ(Counts(), "adapters 0 drives 0 plugins 1");
}

TEST_F(Query, ReportsTheErrorMessageFromSqlite) {
  EXPECT_EQ(FailureOf("SELEC 1"), "near \"SELEC\": syntax error");
  EXPECT_EQ(FailureOf("SELECT 'open"), "unrecognized token: \"'open\"");
}

TEST_F(Query, RejectsANulCharacter) {
  EXPECT_EQ(FailureOf(std::string("SELECT 1\0 WHERE 0", 17)),
            "a statement contains a NUL character");
}

TEST_F(Query, CannotOpenAnotherFile) {
  const std::string other = (m_Directory.Path() / "other.db").string();
  EXPECT_EQ(FailureOf("ATTACH '" + other + "' AS other"), "not authorized");
  EXPECT_NE(FailureOf("VACUUM INTO '" + other + "'"), "");
  EXPECT_FALSE(std::filesystem::exists(other));
}

TEST_F(Query, UsesAWriteAheadLog) {
  EXPECT_EQ(OtherProgram(File()).Run("PRAGMA journal_mode"), "wal");
}

}  // namespace
