#include "hostkit/EventCounts.h"
#include "hostkit/EventLog.h"
#include "hostkit/Texts.h"
#include "tests/hostkit/database/Fixture.h"

namespace {

PI::CEvent Event(PI::_EVENT_ID id, PI::_SEVERITY severity) {
  PI::CEvent event;
  event.m_EventID = id;
  event.m_Severity = severity;
  return event;
}

class EventCounts : public HostDatabaseTest {
 protected:
  static void Log(PI::_EVENT_ID id, PI::_SEVERITY severity, int times) {
    for (int i = 0; i < times; ++i) AppendEvent(Event(id, severity));
  }

  // Renders the counts as "event/severity count serial", separated by commas.
  static std::string Counts() {
    std::string text;
    for (const auto& [event, severity, count, serial] : HostKit::CountEvents()) {
      text += (text.empty() ? "" : ", ") + HostKit::NameOf(HostKit::Family::Event, event) + "/" +
              std::to_string(severity) + " " + std::to_string(count) + (serial.empty() ? "" : " ") +
              serial;
    }
    return text;
  }
};

TEST_F(EventCounts, AreEmptyWithoutEvents) {
  EXPECT_EQ(Counts(), "");
}

TEST_F(EventCounts, DistinguishEventsAndSeverities) {
  Log(PI::Event::CTRL_TEMPERATURE_ABOVE_WARN, PI::SEVERITY_WARNING, 2);
  Log(PI::Event::CTRL_NORMAL, PI::SEVERITY_INFORMATION, 1);
  Log(PI::Event::CTRL_TEMPERATURE_ABOVE_WARN, PI::SEVERITY_ERROR, 1);
  EXPECT_EQ(Counts(),
            "CTRL_TEMPERATURE_ABOVE_WARN/3 2, CTRL_TEMPERATURE_ABOVE_WARN/4 1, CTRL_NORMAL/2 1");
}

TEST_F(EventCounts, SurviveARestartAndDeletedEvents) {
  Log(PI::Event::CTRL_TEMPERATURE_ABOVE_WARN, PI::SEVERITY_WARNING, 1);
  Restart();
  OtherProgram(File()).Run("DELETE FROM host_event_log");
  Log(PI::Event::CTRL_TEMPERATURE_ABOVE_WARN, PI::SEVERITY_WARNING, 1);
  EXPECT_EQ(HostKit::ReadEvents(0, 10).size(), 1U);
  EXPECT_EQ(Counts(), "CTRL_TEMPERATURE_ABOVE_WARN/3 2");
}

TEST_F(EventCounts, AreRebuiltFromTheLogIfTheirTableIsMissing) {
  Log(PI::Event::CTRL_TEMPERATURE_ABOVE_WARN, PI::SEVERITY_WARNING, 3);
  OtherProgram(File()).Run("DROP TRIGGER host_event_counted; DROP TABLE host_event_totals");
  Restart();
  EXPECT_EQ(Counts(), "CTRL_TEMPERATURE_ABOVE_WARN/3 3");
  Restart();
  Log(PI::Event::CTRL_TEMPERATURE_ABOVE_WARN, PI::SEVERITY_WARNING, 1);
  EXPECT_EQ(Counts(), "CTRL_TEMPERATURE_ABOVE_WARN/3 4");
}

TEST_F(EventCounts, DistinguishCards) {
  HostKit::LoggedEvent event =
      HostKit::LogEntryFor(Event(PI::Event::CTRL_TEMPERATURE_ABOVE_WARN, PI::SEVERITY_WARNING));
  event.m_SerialNumber = "S2";
  HostKit::AppendEvents({event, event});
  event.m_SerialNumber = "S1";
  HostKit::AppendEvents({event});
  EXPECT_EQ(Counts(), "CTRL_TEMPERATURE_ABOVE_WARN/3 1 S1, CTRL_TEMPERATURE_ABOVE_WARN/3 2 S2");
}

TEST_F(EventCounts, KeepTheSumsOfAnEarlierVersion) {
  HostKit::LoggedEvent event =
      HostKit::LogEntryFor(Event(PI::Event::CTRL_TEMPERATURE_ABOVE_WARN, PI::SEVERITY_WARNING));
  event.m_SerialNumber = "S1";
  HostKit::AppendEvents({event, event});
  OtherProgram(File()).Run(
      "DROP TRIGGER host_event_counted; DROP TABLE host_event_totals;"
      "CREATE TABLE host_event_counts (event_id INTEGER NOT NULL, severity INTEGER NOT NULL, "
      "count INTEGER NOT NULL, PRIMARY KEY (event_id, severity)) STRICT;"
      "INSERT INTO host_event_counts VALUES (10967, 3, 7), (10967, 4, 1)");
  Restart();
  EXPECT_EQ(Counts(),
            "CTRL_TEMPERATURE_ABOVE_WARN/3 5, CTRL_TEMPERATURE_ABOVE_WARN/3 2 S1, "
            "CTRL_TEMPERATURE_ABOVE_WARN/4 1");
  Restart();
  HostKit::AppendEvents({event});
  EXPECT_EQ(Counts(),
            "CTRL_TEMPERATURE_ABOVE_WARN/3 5, CTRL_TEMPERATURE_ABOVE_WARN/3 3 S1, "
            "CTRL_TEMPERATURE_ABOVE_WARN/4 1");
}

TEST_F(EventCounts, FailWithoutAReadableFile) {
  std::filesystem::create_directories(m_Directory.Path() / "directory");
  Use((m_Directory.Path() / "directory").string());
  EXPECT_THROW(HostKit::CountEvents(), DBEXCEPTION::DatabaseException);
}

}  // namespace
