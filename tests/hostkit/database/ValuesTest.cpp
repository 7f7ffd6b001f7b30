// Unusual values, which a card may report. The persistence layer does not escape them.
#include <cmath>
#include <string>

#include "tests/hostkit/database/Fixture.h"

namespace {

using namespace RaidDataModels;

class Values : public HostDatabaseTest {
 protected:
  Values() { m_pStorage->insert(AnAdapter(1)); }

  // Updates a row with the name. Returns the name as read back, or "(rejected)".
  std::string UpdateName(const std::string& name) {
    auto row = AnAdapter(1);
    row.id = 1;
    row.name = name;
    try {
      m_pStorage->update(row);
    } catch (const DBEXCEPTION::DatabaseException&) {
      return "(rejected)";
    }
    return Find(*m_pStorage, 1).at(0).name;
  }

  // Inserts a row with the name. Returns the name as read back, or "(rejected)".
  std::string InsertName(const std::string& name) {
    auto row = AnAdapter(2);
    row.name = name;
    try {
      m_pStorage->insert(row);
    } catch (const DBEXCEPTION::DatabaseException&) {
      return "(rejected)";
    }
    return Find(*m_pStorage, 2).at(0).name;
  }
};

TEST_F(Values, AreReadUnchanged) {
  for (const std::string& text :
       {std::string("o'hara"), std::string("a?b"), std::string("Größe 容量 \xF0\x9F\x92\xBE"),
        std::string("line\nline\ttab\\"), std::string("%s %d"), std::string("-- not a comment"),
        std::string("; DROP TABLE host_adapter_rows;"), std::string("  "), std::string("true"),
        std::string("\xFF\xFE not UTF-8"), std::string("null"), std::string("42"),
        std::string(1'000'000, 'x')}) {
    EXPECT_EQ(UpdateName(text), text);
  }
}

TEST_F(Values, AreNullIfTheTextIsNull) {
  EXPECT_EQ(UpdateName("NULL"), "NULL");
  EXPECT_EQ(Query("SELECT ad_name IS NULL FROM host_adapter_rows"), std::vector<std::string>{"1"});
}

TEST_F(Values, AreRejectedWithADoubleQuote) {
  for (const char* text : {"\"", "12\" shelf", "a\"b\"c", "ends in\""}) {
    EXPECT_EQ(UpdateName(text), "(rejected)") << text;
    EXPECT_EQ(InsertName(text), "(rejected)") << text;
  }
  EXPECT_EQ(UpdateName("the next one"), "the next one");
  EXPECT_EQ(Counts(), "adapters 1 drives 0 plugins 0");
}

// SQL interprets two quotes in a string as one, and evaluates an operator between two strings.
TEST_F(Values, AreChangedByPairsOfDoubleQuotes) {
  struct Case {
    const char* text;
    const char* stored;
  };
  for (const Case& each : {Case{"x\"\"y", "x\"y"}, Case{"\"\"", "\""}, Case{"\"\"\"\"", "\"\""},
                           Case{"12\"\" shelf", "12\" shelf"}, Case{"a\" || \"b", "ab"}}) {
    EXPECT_EQ(UpdateName(each.text), each.stored);
    EXPECT_EQ(InsertName(each.text), each.stored);
    Query("DELETE FROM host_adapter_rows WHERE ad_adapter_number = 2");
  }
}

TEST_F(Values, MatchOneQuoteForAPairOfSingleQuotes) {
  using DatabaseORM::is_equal;
  auto row = AnAdapter(3);
  row.serialNumber = "o'hara";
  m_pStorage->insert(row);
  const auto found =
      m_pStorage->get_all<Adapter>(DatabaseORM::where(is_equal(&Adapter::serialNumber, "o''hara")));
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].serialNumber, "o'hara");
}

TEST_F(Values, CannotBeQueriedWithASingleQuote) {
  using DatabaseORM::is_equal;
  EXPECT_THROW(m_pStorage->get_all<PD>(DatabaseORM::where(is_equal(&PD::serialNumber, "o'hara") and
                                                          is_equal(&PD::hostName, "localhost"))),
               DBEXCEPTION::DatabaseException);
}

// An UPDATE interprets a string with the name of a column as the column; an INSERT does not.
TEST_F(Values, AreReplacedIfTheyEqualAColumnName) {
  EXPECT_EQ(UpdateName("ad_host_name"), "localhost");
  EXPECT_EQ(UpdateName("AD_Adapter_Number"), "1");
  EXPECT_EQ(UpdateName("id"), "1");
  EXPECT_EQ(UpdateName("rowid"), "1");
  EXPECT_EQ(InsertName("ad_host_name"), "ad_host_name");
}

TEST_F(Values, AreKeptIfTheyEqualATableName) {
  EXPECT_EQ(UpdateName("host_adapter_rows"), "host_adapter_rows");
  EXPECT_EQ(UpdateName("ad"), "ad");
}

// Injected SQL can read and change rows of the plug-in's tables, but cannot access anything else.
TEST_F(Values, AreConfinedIfTheyInjectSql) {
  const auto other = m_Directory.Path() / "other.db";
  EXPECT_EQ(UpdateName("x\" WHERE 0; DELETE FROM host_adapter_rows WHERE ID = 5; --"), "NULL");
  EXPECT_EQ(UpdateName("x\" WHERE 0; ATTACH '" + other.string() + "' AS o; --"), "(rejected)");
  EXPECT_FALSE(std::filesystem::exists(other));
}

TEST_F(Values, AreRejectedWithANulCharacter) {
  EXPECT_EQ(UpdateName(std::string("a\0b", 3)), "(rejected)");
}

TEST_F(Values, AreSplitAtQuestionMarksInLists) {
  auto row = AnAdapter(1);
  row.id = 1;
  row.statusReasonNames = {"a?b", "", "c"};
  m_pStorage->update(row);
  EXPECT_EQ(Find(*m_pStorage, 1).at(0).statusReasonNames, (string_list{"a", "b", "c"}));
}

TEST_F(Values, AreRejectedIfInfiniteOrNan) {
  PD drive;
  drive.objectId = 1;
  for (const double value : {HUGE_VAL, -HUGE_VAL, std::nan("")}) {
    drive.remainingReserve = value;
    EXPECT_THROW(m_pStorage->insert(drive), DBEXCEPTION::DatabaseException);
  }
}

}  // namespace
