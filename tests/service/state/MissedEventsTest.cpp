// Events that the plug-in did not deliver before it or the service was killed.
#include "tests/service/state/StateFixture.h"

namespace {

namespace V = PI::Value;

using StateTest::Card;
using StateTest::kMinute;
using StateTest::kStart;
using StateTest::Observe;

// Hard-coded, so that the test does not rely on the tables under test.
constexpr auto kFlashback = static_cast<PI::_EVENT_ID>(10965);
constexpr auto kWarm = static_cast<PI::_EVENT_ID>(10967);
constexpr auto kAdded = static_cast<PI::_EVENT_ID>(11093);

class MissedEvents : public StateTest::StoreTest {
 protected:
  static Card With(std::vector<int> reasons, const char* serial = "S0") {
    Card card;
    card.m_Serial = serial;
    card.m_Reasons = std::move(reasons);
    return card;
  }

  // Records the first observation of a new plug-in process.
  std::vector<HostKit::LoggedEvent> RecordFirst(const std::vector<Card>& cards) {
    return m_Store.Record(Observe(m_Time += 1000, cards, HostKit::NewestEventNumber(), true));
  }
  void RecordNext(const std::vector<Card>& cards) { Record(m_Time += 1000, cards); }

  // Records the first observation of a new plug-in process, which omits a card.
  std::vector<HostKit::LoggedEvent> RecordFirstWithout(const std::string& omitted,
                                                       const std::vector<Card>& cards) {
    auto observation = Observe(m_Time += 1000, cards, HostKit::NewestEventNumber(), true);
    observation.m_Omitted = {omitted};
    return m_Store.Record(observation);
  }

  // Logs an event that the plug-in delivers.
  static void Log(PI::_EVENT_ID number, const char* serial = "S0") {
    PI::CEvent event;
    event.m_EventID = number;
    HostKit::LoggedEvent logged = HostKit::LogEntryFor(event);
    logged.m_SerialNumber = serial;
    HostKit::AppendEvents({logged});
  }

  // Renders the event log as "10967 S0, 11094 S1".
  static std::string LogText() {
    std::string text;
    for (const HostKit::LoggedEvent& event : HostKit::ReadEvents(0, 100)) {
      text +=
          (text.empty() ? "" : ", ") + std::to_string(event.m_EventID) + " " + event.m_SerialNumber;
    }
    return text;
  }

  std::uint64_t m_Time = kStart;
};

TEST_F(MissedEvents, AreNotLoggedInANewDatabase) {
  EXPECT_TRUE(RecordFirst({With({V::FLASHBACK})}).empty());
  EXPECT_EQ(LogText(), "");
}

TEST_F(MissedEvents, AreLoggedOnce) {
  RecordFirst({With({})});
  const auto events = RecordFirst({With({V::FLASHBACK})});
  EXPECT_EQ(LogText(), "10965 S0");
  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(events[0].m_Number, 1);
  EXPECT_EQ(events[0].m_Time, m_Time);
  EXPECT_EQ(events[0].m_Message, "Adapter Card S0 reports a flashback error.");
  EXPECT_EQ(events[0].m_ObjectType, 19038U);
  RecordFirst({With({V::FLASHBACK})});
  EXPECT_EQ(LogText(), "10965 S0");
}

TEST_F(MissedEvents, AreLoggedAfterARestartOfTheService) {
  RecordFirst({With({}), With({}, "S1")});
  Restart();
  RestartService();
  // A new store treats its first record as the first one of a process.
  RecordNext({With({V::TEMPERATURE_ABOVE_WARN})});
  EXPECT_EQ(LogText(), "11094 S1, 10967 S0");
}

TEST_F(MissedEvents, ExcludeDeliveredEvents) {
  RecordFirst({With({})});
  Log(kFlashback);
  RecordNext({With({V::FLASHBACK})});
  RecordFirst({With({V::FLASHBACK})});
  EXPECT_EQ(LogText(), "10965 S0");
}

TEST_F(MissedEvents, ExcludeEventsDeliveredJustBeforeAKill) {
  RecordFirst({With({})});
  Log(kFlashback);  // without an observation after it
  RecordFirst({With({V::FLASHBACK})});
  EXPECT_EQ(LogText(), "10965 S0");
}

TEST_F(MissedEvents, IncludeReasonsThatWereOnlyObserved) {
  RecordFirst({With({})});
  RecordNext({With({V::FLASHBACK})});
  EXPECT_EQ(LogText(), "");  // the plug-in waits until the bit is stable
  RecordFirst({With({V::FLASHBACK})});
  EXPECT_EQ(LogText(), "10965 S0");
}

// The state thread may run later than the thread that logs events.
TEST_F(MissedEvents, ExcludeEventsLoggedAfterAnObservation) {
  RecordFirst({With({})});
  const std::int64_t before = HostKit::NewestEventNumber();
  Log(kFlashback);
  m_Store.Record(Observe(m_Time += 1000, {With({})}, before));
  m_Store.Record(Observe(m_Time += 2 * kMinute, {With({V::FLASHBACK})}, before + 1));
  RecordFirst({With({V::FLASHBACK})});
  EXPECT_EQ(LogText(), "10965 S0");
}

TEST_F(MissedEvents, ExcludeEventsAlreadyReadFromTheLog) {
  RecordFirst({With({V::FLASHBACK})});
  const std::int64_t before = HostKit::NewestEventNumber();
  Log(kWarm);  // by the plug-in that has just started, before its first observation is recorded
  m_Store.Record(Observe(m_Time += 1000, {With({})}, before, true));
  EXPECT_EQ(LogText(), "10967 S0, 10980 S0");
  RecordNext({With({V::TEMPERATURE_ABOVE_WARN})});
  RecordFirst({With({V::TEMPERATURE_ABOVE_WARN})});
  EXPECT_EQ(LogText(), "10967 S0, 10980 S0");
}

TEST_F(MissedEvents, ExcludeReasonsOfAddedCards) {
  RecordFirst({With({})});
  Log(kAdded, "S1");
  RecordNext({With({}), With({V::FLASHBACK}, "S1")});
  RecordFirst({With({}), With({V::FLASHBACK}, "S1")});
  EXPECT_EQ(LogText(), "11093 S1");
}

TEST_F(MissedEvents, IncludeTheRemovalOfTheLastCard) {
  RecordFirst({With({})});
  RecordFirst({});
  RecordFirst({});
  EXPECT_EQ(LogText(), "11094 S0");
  RecordFirst({With({V::FLASHBACK})});
  RecordFirst({With({V::FLASHBACK})});
  EXPECT_EQ(LogText(), "11094 S0, 11093 S0");
}

TEST_F(MissedEvents, AreLoggedLaterIfTheFileWasLocked) {
  RecordFirst({With({})});
  {
    OtherProgram other(File());
    other.Run("BEGIN IMMEDIATE");
    EXPECT_THROW(RecordFirst({With({V::FLASHBACK})}), DBEXCEPTION::DatabaseException);
    other.Run("COMMIT");
  }
  RecordNext({With({V::FLASHBACK})});
  EXPECT_EQ(LogText(), "10965 S0");
}

TEST_F(MissedEvents, ExcludeEventsLoggedByAnotherHost) {
  RecordFirst({With({})});
  RestartService();
  Log(kFlashback);
  RecordFirst({With({V::FLASHBACK})});
  EXPECT_EQ(LogText(), "10965 S0");
}

TEST_F(MissedEvents, AreCountedInTheMetrics) {
  RecordFirst({With({})});
  RecordFirst({With({V::FLASHBACK})});
  EXPECT_EQ(OtherProgram(File()).Run("SELECT event_id, count FROM host_event_totals"), "10965|1");
}

TEST_F(MissedEvents, IncludeNoRemovalOfACardThatCannotBeRead) {
  RecordFirst({With({}), With({}, "S1")});
  RecordFirstWithout("S1", {With({})});
  EXPECT_EQ(LogText(), "");
  EXPECT_EQ(Known(), "a0 S0, a1 S1");
}

TEST_F(MissedEvents, AreLoggedWhenACardCanBeReadAgain) {
  RecordFirst({With({}), With({}, "S1")});
  RecordFirstWithout("S1", {With({})});
  RecordNext({With({})});
  RecordFirst({With({}), With({V::FLASHBACK}, "S1")});
  EXPECT_EQ(LogText(), "10965 S1");
}

TEST_F(MissedEvents, IncludeTheRemovalOfACardThatCouldNotBeRead) {
  RecordFirst({With({}), With({}, "S1")});
  RecordFirstWithout("S1", {With({})});
  RecordFirst({With({})});
  EXPECT_EQ(LogText(), "11094 S1");
  EXPECT_EQ(Known(), "a0 S0, a1 S1 missing");
}

// The card was removed, then inserted again with a fault.
TEST_F(MissedEvents, AddACardOnceItCanBeRead) {
  RecordFirst({With({}), With({}, "S1")});
  RecordFirst({With({})});
  RecordFirstWithout("S1", {With({})});
  EXPECT_EQ(Known(), "a0 S0, a1 S1");
  EXPECT_EQ(m_Store.Forget("S1"), Service::ForgetResult::CardIsPresent);
  RecordFirst({With({}), With({}, "S1")});
  EXPECT_EQ(LogText(), "11094 S1, 11093 S1");
}

}  // namespace
