// A running plug-in for tests of its jobs.
#pragma once

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/support/HeldCall.h"
#include "tests/support/SimulatedHost.h"

namespace CorvaneTest {

// The ids of the first three adapters, and card states as in the simulator's state file.
inline constexpr std::uint64_t FIRST = 0x0130000000000001;
inline constexpr std::uint64_t SECOND = 0x0130000000000003;
inline constexpr std::uint64_t THIRD = 0x0130000000000005;
inline constexpr const char* DETACHED = "0";
inline constexpr const char* ATTACHED = "2";
inline constexpr std::int64_t LONGER_THAN_A_JOB_MS = 10000;

// "CTRL_ATTACH_FAILED severity 4 object 1 source NAME|first placeholder|second|...".
inline std::string Render(const PI::CEvent& event) {
  std::string text = NameOrNumber(HostKit::Family::Event, event.m_EventID) + " severity " +
                     std::to_string(event.m_Severity) + " object " +
                     std::to_string(event.m_ObjectID & 0xFF) + " source " + event.m_SourceName;
  for (const std::string& place : event.m_PlaceHolders) text += "|" + place;
  return text;
}

// A running plug-in whose worker sleeps longer than any of these tests takes.
class JobHost : public testing::Test {
 protected:
  // One card per state.
  void StartWith(const std::vector<const char*>& states, const char* milliseconds = "5000") {
    m_Host.WriteIni("PollInterval=255\n");
    for (const char* state : states) {
      const std::string card = m_Host.AddCard();
      m_Host.Cards().Set(card, "iom_state", state);
      m_Host.Cards().Set(card, "attach_ms", milliseconds);
      m_Host.Cards().Set(card, "detach_ms", milliseconds);
    }
    ASSERT_EQ(m_Host.Start(), 0U);
    SleepFor(1);
    Clear();
  }

  void Clear() {
    m_Host.ClearCalls();
    m_Host.ClearTraces();
  }

  std::string StateOf(const char* card) { return m_Host.Cards().Get(card, "iom_state"); }

  std::vector<std::string> Events() {
    std::vector<std::string> texts;
    for (const PI::CEvent& event : m_Host.CollectEvents()) texts.push_back(Render(event));
    return texts;
  }

  SimulatedHost m_Host;
};

}  // namespace CorvaneTest
