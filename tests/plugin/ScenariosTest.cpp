// The scenarios in examples/, and the events that they raise.

#include <gmock/gmock.h>

#include "cardsim/scenario/Scenario.h"
#include "hostkit/Texts.h"
#include "tests/support/HeldCall.h"
#include "tests/support/SimulatedHost.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Plays a scenario on three cards at the shortest poll interval. Returns the names of the events up
// to ten seconds after its end, all of which must belong to card1.
std::vector<std::string> EventsOf(const std::string& scenario) {
  SimulatedHost host;
  host.WriteIni("PollInterval=2\n");
  for (int i = 0; i < 3; ++i) host.AddCard(0x1003);
  EXPECT_EQ(host.Start(), 0U);
  const std::string file = std::string(CORVANE_EXAMPLES) + "/" + scenario + ".json";
  const CardSim::PlayObserver observer = {[](std::uint64_t, const std::string&) {},
                                          [] { return false; }};
  CardSim::PlayScenario(CardSim::ReadScenario(file), host.Cards(), 1, observer);
  SleepFor(10000);
  std::vector<std::string> names;
  for (const PI::CEvent& event : host.CollectEvents()) {
    names.push_back(HostKit::NameOf(HostKit::Family::Event, event.m_EventID));
    EXPECT_EQ(event.m_SourceName, "SanDisk Flash Adapter 785GB (2)");
  }
  return names;
}

TEST(Scenarios, AHotCardWarnsThenThrottlesThenReturnsToNormal) {
  EXPECT_THAT(EventsOf("hot-card"),
              ElementsAre("CTRL_TEMPERATURE_ABOVE_WARN", "CTRL_TEMPERATURE_WRITE_REGULATION",
                          "CTRL_NORMAL"));
}

TEST(Scenarios, AFlickeringBitDoesNotRaiseAnEvent) {
  EXPECT_THAT(EventsOf("flicker"), IsEmpty());
}

TEST(Scenarios, ACardThatIsRemovedAndReturnsRaisesRemoveThenAdd) {
  EXPECT_THAT(EventsOf("card-goes-and-returns"), ElementsAre("CTRL_PNPREMOVE", "CTRL_PNPADD"));
}

TEST(Scenarios, ADetachAndAnAttachRaiseTheirEvents) {
  EXPECT_THAT(EventsOf("detach-attach"), ElementsAre("CTRL_DETACHED", "CTRL_ATTACHED"));
}

}  // namespace
}  // namespace CorvaneTest
