#include "hostkit/Database.h"
#include "hostkit/EventLog.h"
#include "tests/hostkit/database/Fixture.h"

namespace {

PI::CEvent Overheated(std::uint64_t time, const std::string& name) {
  PI::CEvent event;
  event.m_ObjectID = 0x0130000000000003UL;
  event.m_EventID = PI::Event::CTRL_TEMPERATURE_ABOVE_WARN;
  event.m_Severity = PI::SEVERITY_WARNING;
  event.m_Time = time;
  event.m_SourceName = name;
  event.SetPlaceHolder1(name);
  return event;
}

class EventLog : public HostDatabaseTest {
 protected:
  // Returns the source names of the events, in order.
  static std::string NamesSince(std::uint64_t since, std::size_t limit) {
    std::string names;
    for (const auto& event : HostKit::ReadEvents(since, limit)) names += event.m_SourceName + " ";
    return names;
  }
};

TEST_F(EventLog, KeepsAllFieldsOfAnEvent) {
  AppendEvent(Overheated(1767225600000, "SanDisk \"fast\" card (1)"));
  const auto events = HostKit::ReadEvents(0, 10);
  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(events[0].m_Number, 1);
  EXPECT_EQ(events[0].m_Time, 1767225600000U);
  EXPECT_EQ(events[0].m_Severity, PI::SEVERITY_WARNING);
  EXPECT_EQ(events[0].m_EventID, PI::Event::CTRL_TEMPERATURE_ABOVE_WARN);
  EXPECT_EQ(events[0].m_ObjectID, 0x0130000000000003UL);
  EXPECT_EQ(events[0].m_SourceName, "SanDisk \"fast\" card (1)");
  EXPECT_NE(events[0].m_Message.find("SanDisk \"fast\" card (1)"), std::string::npos);
}

TEST_F(EventLog, ReturnsTheNewestEventsInOrder) {
  for (const char* name : {"a", "b", "c", "d"}) AppendEvent(Overheated(1000, name));
  EXPECT_EQ(NamesSince(0, 10), "a b c d ");
  EXPECT_EQ(NamesSince(0, 2), "c d ");
  EXPECT_EQ(NamesSince(0, 0), "");
}

TEST_F(EventLog, ReturnsTheEventsSinceATime) {
  AppendEvent(Overheated(1000, "a"));
  AppendEvent(Overheated(2000, "b"));
  AppendEvent(Overheated(3000, "c"));
  EXPECT_EQ(NamesSince(2000, 10), "b c ");
  EXPECT_EQ(NamesSince(3001, 10), "");
  EXPECT_EQ(NamesSince(18446744073709551615UL, 10), "");
}

TEST_F(EventLog, ReturnsTheFirstEventsAfterANumber) {
  struct Row {
    std::int64_t m_After;
    std::size_t m_Limit;
    const char* m_Names;
  };
  for (const char* name : {"a", "b", "c"}) AppendEvent(Overheated(1000, name));
  for (const Row& row : {Row{0, 10, "a b c "}, Row{0, 2, "a b "}, Row{1, 10, "b c "},
                         Row{2, 1, "c "}, Row{3, 10, ""}, Row{0, 0, ""}}) {
    std::string names;
    for (const auto& event : HostKit::ReadEventsAfter(row.m_After, row.m_Limit)) {
      names += event.m_SourceName + " ";
    }
    EXPECT_EQ(names, row.m_Names) << row.m_After;
  }
}

TEST_F(EventLog, ReturnsTheNumbersOfItsOldestAndNewestEvent) {
  EXPECT_EQ(HostKit::ReadEventNumbers().m_Oldest, 0);
  EXPECT_EQ(HostKit::ReadEventNumbers().m_Newest, 0);
  for (const char* name : {"a", "b", "c"}) AppendEvent(Overheated(1000, name));
  OtherProgram(File()).Run("DELETE FROM host_event_log WHERE number = 1");
  EXPECT_EQ(HostKit::ReadEventNumbers().m_Oldest, 2);
  EXPECT_EQ(HostKit::ReadEventNumbers().m_Newest, 3);
}

TEST_F(EventLog, KeepsEveryBitOfAnObjectId) {
  auto event = Overheated(1000, "a");
  event.m_ObjectID = 18446744073709551615UL;
  AppendEvent(event);
  EXPECT_EQ(HostKit::ReadEvents(0, 1).at(0).m_ObjectID, 18446744073709551615UL);
}

TEST_F(EventLog, SurvivesARestart) {
  AppendEvent(Overheated(1000, "a"));
  Restart();
  AppendEvent(Overheated(2000, "b"));
  EXPECT_EQ(NamesSince(0, 10), "a b ");
  EXPECT_EQ(HostKit::ReadEvents(0, 1).at(0).m_Number, 2);
}

TEST_F(EventLog, DropsTheOldestEventWhenFull) {
  AppendEvent(Overheated(1000, "first"));
  OtherProgram(File()).Run(
      "INSERT INTO host_event_log SELECT 20000, 1000, 3, 10967, 5, 'second', '', '', 0");
  AppendEvent(Overheated(1000, "third"));
  EXPECT_EQ(NamesSince(0, 10), "second third ");
}

TEST_F(EventLog, KeepsSerialNumberAndObjectType) {
  HostKit::LoggedEvent event = HostKit::LogEntryFor(Overheated(1000, "a"));
  event.m_SerialNumber = "S'100\"";
  event.m_ObjectType = PI::OBJECT_ADAPTER;
  HostKit::AppendEvents({event, HostKit::LogEntryFor(Overheated(2000, "b"))});
  const auto events = HostKit::ReadEvents(0, 10);
  ASSERT_EQ(events.size(), 2U);
  EXPECT_EQ(events[0].m_SerialNumber, "S'100\"");
  EXPECT_EQ(events[0].m_ObjectType, PI::OBJECT_ADAPTER);
  EXPECT_EQ(events[0].m_Message, "The temperature of adapter a is above its warning threshold.");
  EXPECT_EQ(events[1].m_SerialNumber, "");
  EXPECT_EQ(events[1].m_ObjectType, 0U);
}

// The table as the first version of the host created it.
TEST_F(EventLog, UpgradesTheLogOfTheFirstVersion) {
  const auto file = m_Directory.Path() / "early.db";
  OtherProgram(file).Run(
      "CREATE TABLE host_event_log (number INTEGER PRIMARY KEY AUTOINCREMENT, "
      "time INTEGER NOT NULL, severity INTEGER NOT NULL, event_id INTEGER NOT NULL, "
      "object_id INTEGER NOT NULL, name TEXT NOT NULL, message TEXT NOT NULL) STRICT;"
      "INSERT INTO host_event_log VALUES (7, 1000, 3, 10967, 5, 'early', 'It was hot.')");
  Use(file.string());
  AppendEvent(Overheated(2000, "late"));
  const auto events = HostKit::ReadEvents(0, 10);
  ASSERT_EQ(events.size(), 2U);
  EXPECT_EQ(events[0].m_Message, "It was hot.");
  EXPECT_EQ(events[0].m_SerialNumber, "");
  EXPECT_EQ(events[1].m_SourceName, "late");
  EXPECT_EQ(events[1].m_Number, 8);
  Restart();
  EXPECT_EQ(HostKit::ReadEvents(0, 10).size(), 2U);
}

TEST_F(EventLog, FailsWithoutAUsableFile) {
  std::filesystem::create_directories(m_Directory.Path() / "directory");
  Use((m_Directory.Path() / "directory").string());
  EXPECT_THROW(AppendEvent(PI::CEvent()), DBEXCEPTION::DatabaseException);
  EXPECT_THROW(HostKit::ReadEvents(0, 10), DBEXCEPTION::DatabaseException);
}

}  // namespace
