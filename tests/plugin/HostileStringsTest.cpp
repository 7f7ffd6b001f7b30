// A card whose attributes try to damage the host's database: nothing is lost, and the host keeps
// running.

#include <filesystem>
#include <type_traits>

#include "host/vsl_abstraction.h"
#include "hostkit/EventCounts.h"
#include "hostkit/EventLog.h"
#include "tests/hostkit/database/Fixture.h"
#include "tests/plugin/Watch.h"
#include "tests/support/InjectionStrings.h"
#include "tests/support/RowView.h"

namespace CorvaneTest {
namespace {

// The string attributes of a card.
std::vector<std::string> StringAttributes() {
  std::vector<std::string> names;
#define NOTE_TEXT(type, name) \
  if (std::is_same_v<type, const char*>) names.emplace_back(#name);
#define NOTE_FORMAT_TEXT(type, name) NOTE_TEXT(type, iom_format_##name)
  VSL_CARD_ATTRIBUTES(NOTE_TEXT)
  VSL_FORMAT_ATTRIBUTES(NOTE_FORMAT_TEXT)
#undef NOTE_FORMAT_TEXT
#undef NOTE_TEXT
  return names;
}

// The number of values after the serial number in a new row of an adapter, and of a drive.
constexpr int kValuesAfterSerialNumber[] = {25, 22};

// One statement of each kind; the database tests cover the others.
const std::vector<std::string> kStatements = {
    "DROP TABLE host_event_log",
    "DELETE FROM host_event_log",
    "UPDATE host_life SET number = 0",
    "CREATE TRIGGER planted AFTER INSERT ON host_event_log BEGIN DELETE FROM host_event_log; END",
    "CREATE TEMP VIEW host_plugin_rows AS SELECT 1",
    "ATTACH 'planted.db' AS planted",
    "BEGIN EXCLUSIVE",
    "PRAGMA writable_schema = 1",
    "WITH RECURSIVE n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT COUNT(*) FROM n"};

class HostileStrings : public WorkerFixture {
 protected:
  HostileStrings() {
    ScopedDatabase::Begin(File());
    PI::CEvent event;
    event.m_SourceName = "first";
    HostKit::AppendEvents({HostKit::LogEntryFor(event)});
    m_Schema = Schema();
    AddCards(2);
  }

  std::string File() const { return (m_Host.Directory() / "rows.db").string(); }
  std::string Schema() const {
    return OtherProgram(File()).Run("SELECT type, name, sql FROM sqlite_schema ORDER BY name");
  }

  void ExpectIntact(const std::string& after) {
    const auto events = HostKit::ReadEvents(0, 10);
    ASSERT_EQ(events.size(), 1U) << after;
    EXPECT_EQ(events[0].m_SourceName, "first") << after;
    EXPECT_EQ(HostKit::CountEvents().size(), 1U) << after;
    EXPECT_EQ(Schema(), m_Schema) << after;
    EXPECT_FALSE(std::filesystem::exists("planted.db")) << after;
    ExpectNoLockHeld();
  }

  // Whether a trace line reports the result of a row's statement.
  static bool ReportsRowStatement(const std::string& line) {
    return line.find(" to db.") != line.npos || line.find(" in db.") != line.npos ||
           line.find(" from db.") != line.npos;
  }

  // Runs the plug-in while the card reports the string: at startup, when the worker sees a change
  // of the card and of its drive, and when the card is removed.
  void RunWith(const std::string& attribute, const std::string& text) {
    Set("card0", attribute, text);
    ASSERT_EQ(m_Host.Start(), 0U) << text;
    ExpectIntact(text);
    Set("card0", "temp_internal_deg_c", "61.5");
    Set("card0", "sector_size_bytes", "4096");
    PassMs(16'000);
    ExpectIntact(text);
    EXPECT_EQ(m_Host.Topology().size(), 5U) << text;
    Hide(0);
    PassMs(16'000);
    ExpectIntact(text);
    EXPECT_EQ(m_Host.Topology().size(), 3U) << text;
    for (const std::string& line : m_Host.Traces(128))
      EXPECT_TRUE(ReportsRowStatement(line)) << line;
    m_Host.DeInitialize();
    m_Host.Release();
    m_Host.ClearTraces();
    Show(0);
    Set("card0", "temp_internal_deg_c", "50.5");
    Set("card0", "sector_size_bytes", "512");
  }

  const ScopedDatabase m_Database;
  std::string m_Schema;
};

class EachHostileString : public HostileStrings, public testing::WithParamInterface<std::string> {};

TEST_P(EachHostileString, DamagesNothing) {
  for (const std::string& text : InjectionStrings(0, kStatements)) RunWith(GetParam(), text);
}

TEST_F(HostileStrings, DamageNothingAfterACompleteNewRow) {
  for (const int values : kValuesAfterSerialNumber) {
    for (const std::string& text : InjectionStrings(values, kStatements)) {
      if (text.find("NULL") != text.npos) RunWith("serial_number", text);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Hostile, EachHostileString, testing::ValuesIn(StringAttributes()),
                         [](const auto& test) { return test.param; });

}  // namespace
}  // namespace CorvaneTest
