// The summary of the event log, with a real database file.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "host/Database.h"
#include "hostkit/Database.h"
#include "hostkit/EventCounts.h"
#include "hostkit/EventLog.h"
#include "service/EventSummary.h"
#include "tests/support/Temporary.h"

namespace {

using testing::ElementsAre;

constexpr std::uint32_t kWarm = 10967;
constexpr std::uint32_t kRemoved = 11094;
constexpr std::uint32_t kAdapter = 3;

HostKit::LoggedEvent Event(std::uint64_t time, std::uint32_t id, const std::string& serial,
                           const std::string& name = "card") {
  HostKit::LoggedEvent event = {};
  event.m_Time = time;
  event.m_EventID = id;
  event.m_Severity = 2;
  event.m_SerialNumber = serial;
  event.m_SourceName = name;
  event.m_ObjectType = kAdapter;
  return event;
}

class Summary : public testing::Test {
 protected:
  Summary() { HostKit::ReopenDatabase(); }

  void Log(const std::vector<HostKit::LoggedEvent>& events) {
    HostKit::AppendEvents(events);
    m_Summary.Update();
  }

  // Returns the events as "TIME ID SERIAL".
  static std::vector<std::string> Events(Service::EventSummary& summary, std::uint64_t sinceMs = 0,
                                         std::size_t limit = 1000) {
    std::vector<std::string> texts;
    for (const HostKit::LoggedEvent& each : summary.ReadEvents(sinceMs, limit)) {
      texts.push_back(std::to_string(each.m_Time) + " " + std::to_string(each.m_EventID) + " " +
                      each.m_SerialNumber);
    }
    return texts;
  }

  // Returns the counts as "ID SEVERITY COUNT SERIAL".
  static std::vector<std::string> Counts(Service::EventSummary& summary) {
    std::vector<std::string> texts;
    for (const HostKit::EventCount& each : summary.CountEvents()) {
      texts.push_back(std::to_string(each.m_EventID) + " " + std::to_string(each.m_Severity) + " " +
                      std::to_string(each.m_Count) + " " + each.m_SerialNumber);
    }
    return texts;
  }

  std::vector<std::string> Events() { return Events(m_Summary); }
  std::vector<std::string> Counts() { return Counts(m_Summary); }

  void RemoveFile() const {
    for (const char* const suffix : {"", "-wal", "-shm"}) {
      std::filesystem::remove(File().string() + suffix);
    }
  }
  std::filesystem::path File() const { return m_Directory.Path() / "log.db"; }

  TemporaryDirectory m_Directory;
  ScopedVariable m_Database{"CORVANE_DATABASE", File().string()};
  Service::EventSummary m_Summary;
};

TEST_F(Summary, HasNoCountsBeforeTheFirstUpdate) {
  HostKit::AppendEvents({Event(1, kWarm, "S1")});
  EXPECT_THAT(Events(), ElementsAre());
  EXPECT_THROW(Counts(), DBEXCEPTION::DatabaseException);
  m_Summary.Update();
  EXPECT_EQ(1U, Counts().size());
}

TEST_F(Summary, KeepsTheNewestEventOfEachKindAndObject) {
  Log({Event(1, kWarm, "S1"), Event(2, kWarm, "S2"), Event(3, kRemoved, "S1")});
  Log({Event(4, kWarm, "S1")});
  EXPECT_THAT(Events(), ElementsAre("2 10967 S2", "3 11094 S1", "4 10967 S1"));
}

TEST_F(Summary, IdentifiesAnObjectWithoutSerialNumberByItsName) {
  Log({Event(1, kWarm, "", "one"), Event(2, kWarm, "", "two"), Event(3, kWarm, "", "one")});
  Log({Event(4, kWarm, "S1", "one"), Event(5, kWarm, "S1", "two")});
  EXPECT_THAT(Events(), ElementsAre("2 10967 ", "3 10967 ", "5 10967 S1"));
}

TEST_F(Summary, ReturnsTheNewestEventsWithinTheLimits) {
  Log({Event(5, kWarm, "S1"), Event(9, kWarm, "S2"), Event(7, kWarm, "S3")});
  EXPECT_THAT(Events(m_Summary, 7), ElementsAre("9 10967 S2", "7 10967 S3"));
  EXPECT_THAT(Events(m_Summary, 0, 1), ElementsAre("7 10967 S3"));
  EXPECT_THAT(Events(m_Summary, 0, 0), ElementsAre());
}

TEST_F(Summary, CountsAllEvents) {
  Log({Event(1, kWarm, "S1"), Event(2, kWarm, "S1"), Event(3, kRemoved, "S1")});
  Log({Event(4, kWarm, "S2")});
  EXPECT_THAT(Counts(), ElementsAre("10967 2 2 S1", "10967 2 1 S2", "11094 2 1 S1"));
}

TEST_F(Summary, IsRestoredFromTheLog) {
  Log({Event(1, kWarm, "S1"), Event(2, kWarm, "S1")});
  Service::EventSummary restarted;
  restarted.Update();
  EXPECT_THAT(Events(restarted), ElementsAre("2 10967 S1"));
  EXPECT_THAT(Counts(restarted), ElementsAre("10967 2 2 S1"));
}

TEST_F(Summary, DropsEventsThatTheLogNoLongerHas) {
  Log({Event(1, kWarm, "S1"), Event(2, kWarm, "S2")});
  const std::vector<HostKit::LoggedEvent> others(19999, Event(3, kRemoved, "S3"));
  Log(others);
  EXPECT_THAT(Events(), ElementsAre("2 10967 S2", "3 11094 S3"));
  EXPECT_EQ(20000U, HostKit::ReadEvents(0, 100000).size());
}

TEST_F(Summary, KeepsItsEventsWhileTheFileCannotBeUsed) {
  Log({Event(1, kWarm, "S1")});
  RemoveFile();
  std::filesystem::create_directory(File());
  m_Summary.Update();
  EXPECT_THROW(HostKit::CountEvents(), DBEXCEPTION::DatabaseException);
  EXPECT_THAT(Events(), ElementsAre("1 10967 S1"));
  EXPECT_THAT(Counts(), ElementsAre("10967 2 1 S1"));
}

TEST_F(Summary, KeepsItsEventsWhenTheFileIsDeleted) {
  Log({Event(1, kWarm, "S1"), Event(2, kRemoved, "S1")});
  RemoveFile();
  m_Summary.Update();
  EXPECT_THAT(Events(), ElementsAre("1 10967 S1", "2 11094 S1"));
  EXPECT_THAT(Counts(), ElementsAre("10967 2 1 S1", "11094 2 1 S1"));
  Log({Event(3, kWarm, "S1")});
  EXPECT_THAT(Events(), ElementsAre("2 11094 S1", "3 10967 S1"));
  EXPECT_THAT(Counts(), ElementsAre("10967 2 2 S1", "11094 2 1 S1"));
  Log({Event(4, kWarm, "S1")});
  EXPECT_THAT(Counts(), ElementsAre("10967 2 3 S1", "11094 2 1 S1"));
}

}  // namespace
