// Restrictions on the statements of plug-ins, including SQL injected through a card's strings.
#include <chrono>
#include <iterator>
#include <sstream>

#include "hostkit/EventCounts.h"
#include "hostkit/EventLog.h"
#include "tests/hostkit/database/Fixture.h"
#include "tests/support/InjectionStrings.h"

namespace {

using namespace RaidDataModels;
using DatabaseORM::is_equal;
using DatabaseORM::where;

class Confinement : public HostDatabaseTest {
 protected:
  Confinement() {
    PI::CEvent event;
    event.m_SourceName = "first";
    AppendEvent(event);
    m_pStorage->insert(AnAdapter(1));
    m_Schema = Schema();
  }

  std::string Schema() {
    return OtherProgram(File()).Run("SELECT type, name, sql FROM sqlite_schema ORDER BY name");
  }

  // Expects that the host's tables are unchanged and still usable.
  void ExpectIntact(const std::string& after) {
    const auto events = HostKit::ReadEvents(0, 10);
    ASSERT_EQ(events.size(), 1U) << after;
    EXPECT_EQ(events[0].m_SourceName, "first") << after;
    const auto counts = HostKit::CountEvents();
    ASSERT_EQ(counts.size(), 1U) << after;
    EXPECT_EQ(counts[0].m_Count, 1U) << after;
    EXPECT_EQ(Schema(), m_Schema) << after;
    EXPECT_FALSE(std::filesystem::exists("planted.db")) << after;
    EXPECT_EQ(FailureOf("DELETE FROM host_adapter_rows WHERE ad_adapter_number = 9"), "") << after;
    OtherProgram(File()).Run("BEGIN IMMEDIATE; ROLLBACK");  // no lock is held
  }

  // Runs `use`, which the database may reject.
  template <class Use>
  void RunIgnoringRejection(Use use) {
    try {
      use();
    } catch (const DBEXCEPTION::DatabaseException&) {
    }
  }

  std::string m_Schema;
};

TEST_F(Confinement, AllowsAccessOnlyToRowsOfPlugins) {
  for (const std::string& statement : ForbiddenStatements()) {
    EXPECT_NE(FailureOf(statement), "") << statement;
    ExpectIntact(statement);
    EXPECT_NE(FailureOf("SELECT 1; " + statement + "; SELECT 2"), "") << statement;
    ExpectIntact(statement);
  }
  for (const std::string& expression : ForbiddenExpressions()) {
    EXPECT_NE(FailureOf("SELECT " + expression), "") << expression;
    EXPECT_NE(FailureOf("UPDATE host_adapter_rows SET ad_name = " + expression), "") << expression;
    ExpectIntact(expression);
  }
}

TEST_F(Confinement, ReportsThatAStatementIsNotAllowed) {
  EXPECT_EQ(FailureOf("DROP TABLE host_event_log"), "not authorized");
  EXPECT_EQ(FailureOf("SELECT message FROM host_event_log"),
            "access to host_event_log.message is prohibited");
  EXPECT_EQ(FailureOf("SELECT random()"), "not authorized to use function: random");
}

TEST_F(Confinement, AllowsTheStatementsOfTheLayer) {
  struct Case {
    const char* sql;
    const char* cell;
  };
  for (const Case& each :
       {Case{"SELECT MAX(ID) FROM host_adapter_rows", "1"},
        Case{"SELECT COUNT(*), MAX(ID) FROM host_plugin_rows", "0"},
        Case{"PRAGMA foreign_keys = ON; SELECT count(ID) FROM host_adapter_rows ad", "1"},
        Case{"SELECT ad.ad_adapter_number FROM host_adapter_rows ad WHERE ad.ad_host_name = "
             "'localhost'",
             "1"}}) {
    const auto cells = Query(each.sql);
    ASSERT_FALSE(cells.empty()) << each.sql;
    EXPECT_EQ(cells[0], each.cell) << each.sql;
  }
}

// `trim` takes ten seconds with two strings of 64 KiB, and the time limit is not checked while it
// runs.
TEST_F(Confinement, RejectsFunctionsThatTheLayerDoesNotUse) {
  for (const std::string call :
       {"abs(1)",       "avg(1)",    "coalesce(1, 2)",   "group_concat(1)", "ifnull(1, 2)",
        "instr(1, 2)",  "length(1)", "lower(1)",         "ltrim(1, 2)",     "min(1)",
        "nullif(1, 2)", "quote(1)",  "replace(1, 2, 3)", "round(1)",        "rtrim(1, 2)",
        "substr(1, 2)", "sum(1)",    "total(1)",         "trim(1, 2)",      "typeof(1)",
        "upper(1)"}) {
    const std::string name = call.substr(0, call.find('('));
    EXPECT_EQ(FailureOf("SELECT " + call), "not authorized to use function: " + name);
  }
  EXPECT_EQ(FailureOf("SELECT 1 LIKE 2"), "not authorized to use function: LIKE");
  EXPECT_EQ(FailureOf("SELECT 1 GLOB 2"), "not authorized to use function: GLOB");
}

// A file from an earlier version may contain triggers that were injected through a card's strings.
TEST_F(Confinement, DropsInjectedTriggersOfTheHostsTables) {
  Use(":memory:");
  OtherProgram(File()).Run(
      "CREATE TRIGGER planted AFTER INSERT ON host_event_log BEGIN DELETE FROM host_event_log; END;"
      "CREATE TRIGGER \"pl\"\"anted\" BEFORE DELETE ON host_event_totals BEGIN SELECT 1; END;"
      "DROP TRIGGER host_event_counted;"
      "CREATE TRIGGER host_event_counted AFTER INSERT ON host_event_log BEGIN "
      "DELETE FROM host_event_totals; END");
  Use(File().string());
  EXPECT_EQ(Schema(), m_Schema);
  AppendEvent(PI::CEvent());
  EXPECT_EQ(HostKit::ReadEvents(0, 10).size(), 2U);
  EXPECT_EQ(HostKit::CountEvents().at(0).m_Count, 2U);
}

TEST_F(Confinement, DropsIndexesOfTheLog) {
  Use(":memory:");
  OtherProgram(File()).Run(
      "CREATE UNIQUE INDEX one ON HOST_EVENT_LOG (severity);"
      "CREATE UNIQUE INDEX two ON host_event_totals (count)");
  Use(File().string());
  EXPECT_EQ(Schema(), m_Schema);
  AppendEvent(PI::CEvent());
  EXPECT_EQ(HostKit::ReadEvents(0, 10).size(), 2U);
}

// Names are case-insensitive in SQL.
TEST_F(Confinement, DropsInjectedTriggersIgnoringCase) {
  Use(":memory:");
  OtherProgram(File()).Run(
      "CREATE TRIGGER a AFTER INSERT ON HOST_EVENT_LOG BEGIN DELETE FROM host_event_log; END;"
      "CREATE TRIGGER b AFTER DELETE ON Host_Life BEGIN DELETE FROM host_event_log; END;"
      "CREATE TRIGGER c AFTER INSERT ON Host_Event_Totals BEGIN SELECT 1; END;"
      "DROP TRIGGER host_event_counted;"
      "CREATE TRIGGER HOST_EVENT_COUNTED AFTER INSERT ON host_event_log BEGIN "
      "DELETE FROM host_event_totals; END");
  Use(File().string());
  EXPECT_EQ(Schema(), m_Schema);
  AppendEvent(PI::CEvent());
  EXPECT_EQ(HostKit::ReadEvents(0, 10).size(), 2U);
}

// The host's own statements, which clear the rows of the previous run, are not restricted, and
// neither are the triggers that they fire.
TEST_F(Confinement, DropsTriggersOfTheRowsBeforeClearingThem) {
  Use(":memory:");
  OtherProgram(File()).Run(
      "CREATE TRIGGER a AFTER DELETE ON HOST_ADAPTER_ROWS BEGIN DELETE FROM host_event_log; END;"
      "CREATE TRIGGER b BEFORE DELETE ON host_drive_rows BEGIN SELECT 1; END;"
      "CREATE TRIGGER c AFTER INSERT ON host_plugin_rows BEGIN DELETE FROM host_event_log; END");
  Use(File().string());
  EXPECT_EQ(Schema(), m_Schema);
  EXPECT_EQ(HostKit::ReadEvents(0, 10).size(), 1U);
  EXPECT_EQ(Counts(), "adapters 0 drives 0 plugins 0");
}

TEST_F(Confinement, ReplacesInjectedObjectsNamedLikeATable) {
  for (const char* injected :
       {"CREATE VIEW HOST_ADAPTER_ROWS AS SELECT 1",
        "CREATE VIEW host_adapter_rows AS SELECT 1; CREATE TRIGGER t INSTEAD OF DELETE ON "
        "host_adapter_rows BEGIN DELETE FROM host_event_log; END",
        "CREATE TABLE Host_Adapter_Rows (v)",
        "CREATE TABLE other (v); CREATE INDEX HOST_ADAPTER_ROWS ON other (v)"}) {
    Use(":memory:");
    OtherProgram(File()).Run(std::string("DROP TABLE host_adapter_rows; ") + injected);
    Use(File().string());
    OtherProgram(File()).Run("DROP TABLE IF EXISTS other");
    EXPECT_EQ(Schema(), m_Schema) << injected;
    EXPECT_EQ(Counts(), "adapters 0 drives 0 plugins 0") << injected;
  }
  EXPECT_EQ(HostKit::ReadEvents(0, 10).size(), 1U);
}

TEST_F(Confinement, ConfinesTriggersOfTheRows) {
  OtherProgram(File()).Run(
      "CREATE TRIGGER planted AFTER UPDATE ON host_adapter_rows BEGIN "
      "DELETE FROM host_event_log; END");
  EXPECT_EQ(FailureOf("UPDATE host_adapter_rows SET ad_name = \"x\""), "not authorized");
  EXPECT_EQ(HostKit::ReadEvents(0, 10).size(), 1U);
}

// A cross join of eight copies of the table has 850 billion rows.
TEST_F(Confinement, AbortsAStatementThatTakesTooLong) {
  for (int i = 0; i < 30; ++i) m_pStorage->insert(AnAdapter(i));
  const char* const product =
      "FROM host_adapter_rows a, host_adapter_rows b, host_adapter_rows c, host_adapter_rows d, "
      "host_adapter_rows e, host_adapter_rows f, host_adapter_rows g, host_adapter_rows h";
  EXPECT_EQ(FailureOf(std::string("SELECT COUNT(*) ") + product), "a statement takes too long");
  EXPECT_EQ(
      FailureOf("INSERT INTO host_plugin_rows (pi_object_id) SELECT a.ID " + std::string(product)),
      "a statement takes too long");
  EXPECT_EQ(Counts(), "adapters 31 drives 0 plugins 0");
  ExpectIntact("a long statement");
}

// Nested queries whose compile time doubles with each level.
std::string DoublingQueries(int levels) {
  std::string sql = "WITH q0 AS (SELECT 1 AS v)";
  for (int level = 1; level <= levels; ++level) {
    const std::string before = "q" + std::to_string(level - 1);
    sql += ", q" + std::to_string(level) + " AS (SELECT a.v + b.v AS v FROM " + before + " a, " +
           before + " b)";
  }
  return sql + " SELECT v FROM q" + std::to_string(levels);
}

TEST_F(Confinement, RejectsQueriesThatGrowExponentially) {
  EXPECT_EQ(FailureOf(DoublingQueries(3)), "");
  EXPECT_EQ(FailureOf(DoublingQueries(18)), "out of memory");
  EXPECT_EQ(FailureOf(DoublingQueries(40)), "out of memory");
  ExpectIntact("queries that double");
}

// SQLite's query planner compares each OR term with many others.
std::string ManyOrTerms(const std::vector<std::string>& columns, std::size_t count) {
  std::vector<std::string> terms;
  for (std::size_t i = 0; i < count; ++i) {
    terms.push_back(columns[i % columns.size()] + " = " + std::to_string(i));
  }
  // The terms form a balanced tree, because SQLite limits the depth of an expression.
  while (terms.size() > 1) {
    std::vector<std::string> pairs;
    for (std::size_t i = 0; i < terms.size(); i += 2) {
      const bool isLast = i + 1 == terms.size();
      pairs.push_back(isLast ? terms[i] : "(" + terms[i] + " OR " + terms[i + 1] + ")");
    }
    terms = std::move(pairs);
  }
  return "SELECT ID FROM host_adapter_rows WHERE " + terms.front();
}

TEST_F(Confinement, RejectsAStatementWithTooManyTokens) {
  std::istringstream names(
      OtherProgram(File()).Run("SELECT name FROM pragma_table_info('host_adapter_rows')"));
  const std::vector<std::string> columns{std::istream_iterator<std::string>(names), {}};
  ASSERT_EQ(columns.size(), 149U);
  EXPECT_EQ(FailureOf(ManyOrTerms(columns, 2'000)), "");
  EXPECT_EQ(FailureOf(ManyOrTerms(columns, 45'000)), "a statement contains too many tokens");
  EXPECT_EQ(FailureOf("SELECT \"" + std::string(16'381, '.') + "\""), "");
  EXPECT_EQ(FailureOf("SELECT \"" + std::string(16'382, '.') + "\""),
            "a statement contains too many tokens");
  ExpectIntact("many alternatives");
}

TEST_F(Confinement, LimitsTheQueriesOfACall) {
  std::string sql;
  for (int i = 0; i < 32; ++i) sql += "SELECT 1;";
  EXPECT_EQ(FailureOf(sql), "");
  EXPECT_EQ(FailureOf(sql + "SELECT 1"), "a statement contains too many queries");
  EXPECT_EQ(FailureOf(sql), "");
}

// Rows are sorted in memory, and 28 million rows of three kilobytes exceed the memory limit.
TEST_F(Confinement, LimitsTheMemoryOfSorting) {
  for (int i = 0; i < 30; ++i) m_pStorage->insert(AnAdapter(i));
  Query("UPDATE host_adapter_rows SET ad_name = \"" + std::string(1000, 'x') + "\"");
  EXPECT_EQ(FailureOf("SELECT a.ID FROM host_adapter_rows a, host_adapter_rows b, "
                      "host_adapter_rows c, host_adapter_rows d, host_adapter_rows e "
                      "ORDER BY a.ad_name || b.ad_name || c.ad_name, d.ID, e.ID LIMIT 1 OFFSET "
                      "9000000"),
            "out of memory");
  EXPECT_EQ(FailureOf("SELECT a.ID FROM host_adapter_rows a, host_adapter_rows b "
                      "ORDER BY a.ad_name || b.ad_name"),
            "");
  ExpectIntact("a large sort");
}

TEST_F(Confinement, LimitsTheLengthOfAStatement) {
  const std::string blanks(4 << 20, ' ');
  EXPECT_EQ(FailureOf("SELECT 1" + blanks), "string or blob too big");
  EXPECT_EQ(FailureOf("SELECT 1" + blanks.substr(8)), "");
}

TEST_F(Confinement, LimitsTheSizeOfAResult) {
  for (int i = 0; i < 4; ++i) {
    m_pStorage->insert(AnAdapter(i));
    Query("UPDATE host_adapter_rows SET ad_name = \"" + std::string(1'000'000, 'x') + "\"");
  }
  EXPECT_EQ(FailureOf("SELECT a.ad_name FROM host_adapter_rows a, host_adapter_rows b, "
                      "host_adapter_rows c"),
            "the result is too large");
  ExpectIntact("a large result");
}

TEST_F(Confinement, LimitsTheLengthOfAString) {
  const std::string half(600 << 10, 'x');
  EXPECT_EQ(FailureOf("SELECT \"" + half + "\" || \"" + half + "\""), "string or blob too big");
  EXPECT_EQ(FailureOf("SELECT \"" + half + "\""), "");
  EXPECT_EQ(FailureOf("SELECT \"" + half + half + "\""), "string or blob too big");
}

constexpr int kRowsThatFit = 256 << 20 >> 20;  // rows of 1 MiB in the limit of 256 MiB

// Inserts rows of nearly a mebibyte until the file is full. Returns their number, or -1 if the file
// does not become full.
int Fill(DatabaseORM::storage_t& storage) {
  const std::string insert =
      "INSERT INTO host_plugin_rows (pi_vendor) VALUES (\"" + std::string(1'040'000, 'x') + "\")";
  for (int i = 0; i <= 2 * kRowsThatFit; ++i) {
    try {
      storage.dao->query(insert);
    } catch (const DBEXCEPTION::DatabaseException& exception) {
      EXPECT_STREQ(exception.what(), "database or disk is full");
      return i;
    }
  }
  return -1;
}

TEST_F(Confinement, LimitsTheSizeOfTheFile) {
  Use(":memory:");
  EXPECT_NEAR(Fill(*m_pStorage), kRowsThatFit, 5);
  AppendEvent(PI::CEvent());
  EXPECT_EQ(HostKit::ReadEvents(0, 10).size(), 1U);
}

// Free pages count toward the limit.
TEST_F(Confinement, LimitsTheSizeOfAFileWithFreePages) {
  Fill(*m_pStorage);
  Restart();
  EXPECT_NEAR(Fill(*m_pStorage), kRowsThatFit, 5);
}

// The database limits the number of pages, whose size differs between files.
TEST_F(Confinement, LimitsTheSizeOfAFileWithLargePages) {
  Use(":memory:");
  std::filesystem::remove(File());
  OtherProgram(File()).Run("PRAGMA page_size = 65536; CREATE TABLE other (v)");
  Use(File().string());
  EXPECT_NEAR(Fill(*m_pStorage), kRowsThatFit, 20);
}

// The persistence layer reads the cells of a result by their position.
TEST_F(Confinement, RejectsResultsThatTheLayerCannotRead) {
  const std::string all = "SELECT * FROM host_plugin_rows pi  WHERE pi.pi_plugin_name = 'x' ";
  const std::string columns = "'t', 'NULL', 't', '15', 't', '1', '2', 't', 't', 't'";
  EXPECT_EQ(FailureOf(all + "UNION SELECT '7', " + columns), "");
  EXPECT_EQ(FailureOf(all + "UNION SELECT 'warm', " + columns),
            "invalid value in host_plugin_rows.ID");
  EXPECT_EQ(FailureOf(all + "UNION SELECT 2147483648, " + columns),
            "invalid value in host_plugin_rows.ID");
  EXPECT_EQ(FailureOf(all + "UNION SELECT '', " + columns), "invalid value in host_plugin_rows.ID");
  EXPECT_EQ(FailureOf(all + "; SELECT 1"),
            "the result contains an incomplete row of host_plugin_rows");
}

// These tests pass each hostile string to each kind of statement that the persistence layer sends.
TEST_F(Confinement, WithstandsInjectionInAnInsert) {
  struct Case {
    std::string Plugin::*field;
    int valuesAfter;
  };
  for (const Case& each :
       {Case{&Plugin::apiVersion, 9}, Case{&Plugin::pluginName, 7}, Case{&Plugin::vendor, 1}}) {
    for (const std::string& text : InjectionStrings(each.valuesAfter)) {
      auto row = APlugin();
      row.*each.field = text;
      RunIgnoringRejection([&] { m_pStorage->insert(row); });
      ExpectIntact(text);
    }
  }
}

TEST_F(Confinement, WithstandsInjectionInAnUpdate) {
  for (const std::string& text : InjectionStrings(0)) {
    for (const auto field : {&Adapter::serialNumber, &Adapter::name, &Adapter::firmwareVersion,
                             &Adapter::driverVersion, &Adapter::hostName}) {
      auto row = AnAdapter(1);
      row.id = 1;
      row.*field = text;
      RunIgnoringRejection([&] { m_pStorage->update(row); });
    }
    ExpectIntact(text);
  }
}

TEST_F(Confinement, WithstandsInjectionInAQuery) {
  for (const std::string& text : InjectionStrings(0)) {
    RunIgnoringRejection([&] {
      m_pStorage->get_all<PD>(
          where(is_equal(&PD::serialNumber, text) and is_equal(&PD::hostName, "localhost")));
    });
    RunIgnoringRejection(
        [&] { m_pStorage->get_all<Plugin>(where(is_equal(&Plugin::pluginName, text))); });
    RunIgnoringRejection(
        [&] { m_pStorage->get_all<Adapter>(where(is_equal(&Adapter::name, text))); });
    ExpectIntact(text);
  }
}

TEST_F(Confinement, WithstandsInjectionInADelete) {
  for (const std::string& text : InjectionStrings(0)) {
    RunIgnoringRejection(
        [&] { m_pStorage->remove_all<Plugin>(where(is_equal(&Plugin::pluginName, text))); });
    RunIgnoringRejection(
        [&] { m_pStorage->remove_all<Adapter>(where(is_equal(&Adapter::name, text))); });
    ExpectIntact(text);
  }
}

}  // namespace
