#include "hostkit/EventCounts.h"
#include "hostkit/EventLog.h"
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
  static void Happen(PI::_EVENT_ID id, PI::_SEVERITY severity, int times) {
    for (int i = 0; i < times; ++i) AppendEvent(Event(id, severity));
  }

  // "event/severity count" of each, separated by commas.
  static std::string Counts() {
    std::string text;
    for (const auto& [event, severity, count] : HostKit::CountEvents()) {
      text += (text.empty() ? "" : ", ") + std::to_string(event) + "/" + std::to_string(severity) +
              " " + std::to_string(count);
    }
    return text;
  }
};

TEST_F(EventCounts, AreEmptyAtFirst) {
  EXPECT_EQ(Counts(), "");
}

TEST_F(EventCounts, TellEventsAndSeveritiesApart) {
  Happen(PI::Event::CTRL_TEMPERATURE_ABOVE_WARN, PI::SEVERITY_WARNING, 2);
  Happen(PI::Event::CTRL_NORMAL, PI::SEVERITY_INFORMATION, 1);
  Happen(PI::Event::CTRL_TEMPERATURE_ABOVE_WARN, PI::SEVERITY_ERROR, 1);
  EXPECT_EQ(Counts(), "10967/3 2, 10967/4 1, 10980/2 1");
}

TEST_F(EventCounts, OutliveTheHostAndTheLog) {
  Happen(PI::Event::CTRL_TEMPERATURE_ABOVE_WARN, PI::SEVERITY_WARNING, 1);
  Restart();
  OtherProgram(File()).Run("DELETE FROM host_event_log");
  Happen(PI::Event::CTRL_TEMPERATURE_ABOVE_WARN, PI::SEVERITY_WARNING, 1);
  EXPECT_EQ(HostKit::ReadEvents(0, 10).size(), 1U);
  EXPECT_EQ(Counts(), "10967/3 2");
}

TEST_F(EventCounts, TakeOverALogThatIsOlder) {
  Happen(PI::Event::CTRL_TEMPERATURE_ABOVE_WARN, PI::SEVERITY_WARNING, 3);
  OtherProgram(File()).Run("DROP TRIGGER host_event_counted; DROP TABLE host_event_counts");
  Restart();
  EXPECT_EQ(Counts(), "10967/3 3");
  Restart();
  Happen(PI::Event::CTRL_TEMPERATURE_ABOVE_WARN, PI::SEVERITY_WARNING, 1);
  EXPECT_EQ(Counts(), "10967/3 4");
}

TEST_F(EventCounts, SayWhenTheyCannotBeRead) {
  std::filesystem::create_directories(m_Folder.Path() / "folder");
  Use((m_Folder.Path() / "folder").string());
  EXPECT_THROW(HostKit::CountEvents(), DBEXCEPTION::DatabaseException);
}

}  // namespace
