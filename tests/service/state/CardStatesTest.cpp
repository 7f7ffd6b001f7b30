// The comparison of two states, without a database.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "service/state/CardStates.h"
#include "tests/service/state/Cards.h"

namespace {

using Service::CardStates;
using StateTest::Card;

namespace V = PI::Value;

// Hard-coded, so that the test does not rely on the tables under test.
constexpr std::uint32_t kFlashback = 10965;
constexpr std::uint32_t kWarm = 10967;
constexpr std::uint32_t kPowerRegulation = 10972;
constexpr std::uint32_t kDepleted = 10979;
constexpr std::uint32_t kNormal = 10980;
constexpr std::uint32_t kAttached = 10983;
constexpr std::uint32_t kDetached = 10984;
constexpr std::uint32_t kFormatChanged = 10985;
constexpr std::uint32_t kNewFirmware = 11087;
constexpr std::uint32_t kAdded = 11093;
constexpr std::uint32_t kRemoved = 11094;

CardStates StatesOf(const std::vector<Card>& cards) {
  return Service::StatesOf(Console::Model(StateTest::Objects(cards)));
}

Card With(std::vector<int> reasons, const char* serial = "S1") {
  Card card;
  card.m_Serial = serial;
  card.m_Reasons = std::move(reasons);
  return card;
}

Card WithLayout(unsigned long sizeMiB, unsigned long sectorSize) {
  Card card = With({V::ATTACHED});
  card.m_SizeMiB = sizeMiB;
  card.m_SectorSize = sectorSize;
  return card;
}

// Renders events as "10967 S1, 11094 S2".
std::string Render(const std::vector<Service::StateEvent>& events) {
  std::string text;
  for (const Service::StateEvent& event : events) {
    text += (text.empty() ? "" : ", ") + std::to_string(event.m_Event.m_EventID) + " " +
            event.m_SerialNumber;
  }
  return text;
}

// Renders events of card S1 with these IDs in the same way.
std::string OfS1(const std::vector<std::uint32_t>& numbers) {
  std::string text;
  for (const std::uint32_t number : numbers) {
    text += (text.empty() ? "" : ", ") + std::to_string(number) + " S1";
  }
  return text;
}

struct Case {
  const char* m_Name;
  std::vector<Card> m_Before;
  std::vector<Card> m_Now;
  std::string m_Events;
};

const std::vector<Case>& Cases() {
  static const std::vector<Case> cases = {
      {"no change", {With({V::ATTACHED})}, {With({V::ATTACHED})}, ""},
      {"a reason appears",
       {With({V::ATTACHED})},
       {With({V::ATTACHED, V::TEMPERATURE_ABOVE_WARN})},
       OfS1({kWarm})},
      {"two reasons appear, one remains",
       {With({V::TEMPERATURE_ABOVE_WARN})},
       {With({V::RESERVES_DEPLETED, V::FLASHBACK, V::TEMPERATURE_ABOVE_WARN})},
       OfS1({kFlashback, kDepleted})},
      {"one of two reasons ends",
       {With({V::TEMPERATURE_ABOVE_WARN, V::FLASHBACK})},
       {With({V::FLASHBACK})},
       ""},
      {"the last reason ends",
       {With({V::ATTACHED, V::FLASHBACK})},
       {With({V::ATTACHED})},
       OfS1({kNormal})},
      {"a reason replaces another",
       {With({V::FLASHBACK})},
       {With({V::TEMPERATURE_ABOVE_WARN})},
       OfS1({kWarm})},
      {"a reason with two events appears",
       {With({})},
       {With({V::POWER_WRITE_REGULATION})},
       OfS1({kPowerRegulation})},
      {"firmware was loaded", {With({})}, {With({V::UNACTIVATED_FIRMWARE})}, OfS1({kNewFirmware})},
      {"a reason without an event appears", {With({})}, {With({V::STOPPED})}, ""},
      {"the card was detached", {With({V::ATTACHED})}, {With({V::DETACHED})}, OfS1({kDetached})},
      {"the card was attached", {With({V::DETACHED})}, {With({V::ATTACHED})}, OfS1({kAttached})},
      {"the card was detached and its reason ended",
       {With({V::ATTACHED, V::FLASHBACK})},
       {With({V::DETACHED})},
       OfS1({kNormal, kDetached})},
      {"the card is busy", {With({V::ATTACHED})}, {With({})}, ""},
      {"a card was added, with a reason", {}, {With({V::ATTACHED, V::FLASHBACK})}, OfS1({kAdded})},
      {"a card was removed, with a reason", {With({V::FLASHBACK})}, {}, OfS1({kRemoved})},
      {"a card replaces another",
       {With({V::ATTACHED})},
       {With({V::ATTACHED}, "S2")},
       "11094 S1, 11093 S2"},
      {"two cards swap positions",
       {With({V::ATTACHED}), With({V::DETACHED}, "S2")},
       {With({V::DETACHED}, "S2"), With({V::ATTACHED})},
       ""},
      {"the drive's size changes",
       {WithLayout(1000, 512)},
       {WithLayout(2000, 512)},
       OfS1({kFormatChanged})},
      {"the drive's sector size changes",
       {WithLayout(1000, 512)},
       {WithLayout(1000, 4096)},
       OfS1({kFormatChanged})},
      {"the size becomes unknown", {WithLayout(1000, 512)}, {WithLayout(0, 512)}, ""},
      {"the size becomes known", {WithLayout(0, 512)}, {WithLayout(1000, 512)}, ""},
  };
  return cases;
}

TEST(EventsBetween, ReportsChanges) {
  for (const Case& each : Cases()) {
    const auto events = EventsBetween(StatesOf(each.m_Before), StatesOf(each.m_Now), 5000);
    EXPECT_EQ(Render(events), each.m_Events) << each.m_Name;
    for (const Service::StateEvent& event : events) EXPECT_EQ(event.m_Event.m_Time, 5000U);
  }
}

TEST(EventsBetween, DescribesTheCard) {
  const auto events = EventsBetween(StatesOf({}), StatesOf({With({V::ATTACHED})}), 1);
  ASSERT_EQ(events.size(), 1U);
  const PI::CEvent& event = events[0].m_Event;
  EXPECT_EQ(event.m_ObjectID, 0x0130000000000001UL);
  EXPECT_EQ(event.m_SourceName, "Card S1");
  EXPECT_EQ(event.m_Severity, PI::SEVERITY_INFORMATION);
  EXPECT_EQ(HostKit::LogEntryFor(event).m_Message, "Adapter Card S1 was added.");
  EXPECT_EQ(events[0].m_ObjectType, 19038U);
}

TEST(EventsBetween, DescribesTheDrive) {
  const auto events =
      EventsBetween(StatesOf({WithLayout(1000, 512)}), StatesOf({WithLayout(2000, 512)}), 1);
  ASSERT_EQ(events.size(), 1U);
  const PI::CEvent& event = events[0].m_Event;
  EXPECT_EQ(event.m_ObjectID, 0x0130000000000002UL);
  EXPECT_EQ(event.m_SourceName, "Drive S1");
  EXPECT_EQ(HostKit::LogEntryFor(event).m_Message,
            "On adapter Card S1, the format of drive Drive S1 has changed.");
  EXPECT_EQ(events[0].m_ObjectType, 19018U);
}

// These are the severities that the plug-in uses for the same events.
TEST(EventsBetween, HasTheSeveritiesOfThePlugin) {
  const auto before = StatesOf({With({V::ATTACHED}), With({}, "S2")});
  const auto events = EventsBetween(
      before, StatesOf({With({V::DETACHED, V::FLASHBACK, V::TEMPERATURE_ABOVE_WARN})}), 1);
  ASSERT_EQ(Render(events), "11094 S2, 10965 S1, 10967 S1, 10984 S1");
  EXPECT_EQ(events[0].m_Event.m_Severity, PI::SEVERITY_WARNING);
  EXPECT_EQ(events[1].m_Event.m_Severity, PI::SEVERITY_ERROR);
  EXPECT_EQ(events[2].m_Event.m_Severity, PI::SEVERITY_WARNING);
  EXPECT_EQ(events[3].m_Event.m_Severity, PI::SEVERITY_ERROR);
}

TEST(StatesOf, OmitsCardsWithoutASerialNumber) {
  EXPECT_TRUE(StatesOf({With({}, "")}).empty());
  EXPECT_EQ(StatesOf({With({}), With({V::FLASHBACK})}).at("S1").m_Reasons.size(), 0U);
}

class MissingEvents : public testing::Test {
 protected:
  void LogEvent(std::uint32_t number, const char* serial = "S1") {
    HostKit::LoggedEvent event{};
    event.m_EventID = number;
    event.m_SerialNumber = serial;
    event.m_SourceName = "Card";
    ApplyEvent(event, m_Logged);
  }
  void Observe(std::uint64_t timeMs, const std::vector<Card>& cards) {
    ApplyObservation(StatesOf(cards), timeMs, m_Logged, m_Absences);
  }
  // Returns the events that would be logged if the service were killed now and found these cards
  // after its restart.
  std::string Missing(const std::vector<Card>& cards) const {
    return Render(EventsBetween(m_Logged, StatesOf(cards), 1));
  }

  CardStates m_Logged = StatesOf({With({V::ATTACHED})});
  Service::Absences m_Absences;
};

TEST_F(MissingEvents, DoNotIncludeALoggedReason) {
  LogEvent(kWarm);
  EXPECT_EQ(Missing({With({V::ATTACHED, V::TEMPERATURE_ABOVE_WARN})}), "");
  LogEvent(kNormal);
  EXPECT_EQ(Missing({With({V::ATTACHED})}), "");
  EXPECT_EQ(Missing({With({V::ATTACHED, V::TEMPERATURE_ABOVE_WARN})}), OfS1({kWarm}));
}

TEST_F(MissingEvents, TreatAttachedAndDetachedAsExclusive) {
  LogEvent(kDetached);
  EXPECT_EQ(Missing({With({V::DETACHED})}), "");
  EXPECT_EQ(Missing({With({V::ATTACHED})}), OfS1({kAttached}));
  LogEvent(kAttached);
  EXPECT_EQ(Missing({With({V::ATTACHED})}), "");
}

TEST_F(MissingEvents, IncludeTheReturnOfARemovedCard) {
  LogEvent(kRemoved);
  EXPECT_EQ(Missing({}), "");
  EXPECT_EQ(Missing({With({V::ATTACHED})}), OfS1({kAdded}));
}

TEST_F(MissingEvents, DoNotIncludeTheFirstReasonsOfAnAddedCard) {
  LogEvent(kAdded, "S2");
  EXPECT_EQ(Missing({With({V::ATTACHED}), With({V::FLASHBACK}, "S2")}), "");
  Observe(1000, {With({V::ATTACHED}), With({V::FLASHBACK}, "S2")});
  EXPECT_EQ(Missing({With({V::ATTACHED}), With({V::FLASHBACK}, "S2")}), "");
  EXPECT_EQ(Missing({With({V::ATTACHED}), With({}, "S2")}), "10980 S2");
}

TEST_F(MissingEvents, IncludeAnObservedReasonThatWasNotLogged) {
  Observe(1000, {With({V::ATTACHED, V::FLASHBACK})});
  EXPECT_EQ(Missing({With({V::ATTACHED, V::FLASHBACK})}), OfS1({kFlashback}));
}

TEST_F(MissingEvents, IncludeAReasonThatReappearsAfterAMinute) {
  LogEvent(kFlashback);
  LogEvent(kWarm);
  Observe(1000, {With({V::FLASHBACK})});
  Observe(60999, {With({V::FLASHBACK})});
  EXPECT_EQ(Missing({With({V::FLASHBACK, V::TEMPERATURE_ABOVE_WARN})}), "");
  Observe(61000, {With({V::FLASHBACK})});
  EXPECT_EQ(Missing({With({V::FLASHBACK, V::TEMPERATURE_ABOVE_WARN})}), OfS1({kWarm}));
}

TEST_F(MissingEvents, DoNotIncludeAReasonThatReappearsWithinAMinute) {
  LogEvent(kFlashback);
  Observe(1000, {With({})});
  Observe(50000, {With({V::FLASHBACK})});
  Observe(62000, {With({})});
  EXPECT_EQ(Missing({With({V::FLASHBACK})}), "");
}

TEST_F(MissingEvents, IncludeTheAttachOfABusyCard) {
  Observe(1000, {With({})});
  EXPECT_EQ(Missing({With({V::ATTACHED})}), OfS1({kAttached}));
}

TEST_F(MissingEvents, DoNotIncludeALoggedFormatChange) {
  m_Logged = StatesOf({WithLayout(1000, 512)});
  Observe(1000, {WithLayout(2000, 512)});
  EXPECT_EQ(Missing({WithLayout(2000, 512)}), OfS1({kFormatChanged}));
  LogEvent(kFormatChanged);
  Observe(2000, {WithLayout(2000, 512)});
  EXPECT_EQ(Missing({WithLayout(2000, 512)}), "");
  EXPECT_EQ(Missing({WithLayout(1000, 512)}), OfS1({kFormatChanged}));
}

TEST_F(MissingEvents, IgnoreEventsOfUnknownObjects) {
  LogEvent(kWarm, "");
  LogEvent(kWarm, "S9");
  EXPECT_EQ(m_Logged.size(), 1U);
  EXPECT_EQ(Missing({With({V::ATTACHED})}), "");
}

}  // namespace
