// The list of the cards that were found at startup. Scans use the positions and paths of its
// entries, but not their numbers, so the test reads the list itself.

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/plugin/inner/PrivateMember.h"
#include "tests/support/HeldCall.h"
#include "tests/support/SimulatedHost.h"

namespace CorvaneTest {
namespace {

PRIVATE_MEMBER(ControlDevicePathsMember, m_ControlDevicePaths,
               std::vector<NAMESPACE_Corvane::CControlDevicePath> Plugin::*);

using testing::ElementsAre;

// Renders the number and path of each entry, such as "0 /dev/fct1".
std::vector<std::string> ControlDevicePaths() {
  std::vector<std::string> texts;
  for (const auto& entry : ThePlugin().*PointerTo(ControlDevicePathsMember())) {
    texts.push_back(std::to_string(entry.m_CardIndex) + " " + entry.m_DevicePath);
  }
  return texts;
}

TEST(ControlDevicePaths, AreNumberedWithoutUnusableCards) {
  SimulatedHost host;
  for (int i = 0; i < 4; ++i) host.AddCard();
  host.Cards().MakeAbsent("card0", "serial_number");
  host.Cards().MakeAbsent("card2", "device_path");
  ASSERT_EQ(host.Initialize(), 0U);
  EXPECT_THAT(ControlDevicePaths(), ElementsAre("0 /dev/fct1", "1 /dev/fct3"));
}

TEST(ControlDevicePaths, AreKeptWhenCardsAreRemovedAndAdded) {
  SimulatedHost host;
  for (int i = 0; i < 2; ++i) host.AddCard();
  host.WriteIni("PollInterval=2\n");
  ASSERT_EQ(host.Start(), 0U);
  host.Cards().RemoveCard("card0");
  SleepFor(5000);
  ASSERT_EQ(host.Topology().size(), 3U);
  host.AddCard();
  SleepFor(5000);
  EXPECT_THAT(ControlDevicePaths(), ElementsAre("0 /dev/fct0", "1 /dev/fct1"));
}

TEST(ControlDevicePaths, AreKeptAfterAFailedFirstScan) {
  SimulatedHost host;
  host.AddCard();
  CardSim::FailCall("vsl_open", 1, 7, "no");
  ASSERT_NE(host.Initialize(), 0U);
  EXPECT_THAT(ControlDevicePaths(), ElementsAre("0 /dev/fct0"));
}

}  // namespace
}  // namespace CorvaneTest
