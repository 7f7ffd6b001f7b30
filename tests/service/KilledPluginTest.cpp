// The service's state when its plug-in is killed: each change to a card is logged as one event,
// whether or not the plug-in has reported it.
#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "hostkit/Database.h"
#include "hostkit/EventLog.h"
#include "service/state/StateThread.h"
#include "tests/service/CollectorFixture.h"
#include "tests/support/Temporary.h"

namespace {

using Console::Deadline;
using CorvaneTest::kTimeout;
using std::chrono::milliseconds;

// Hard-coded, so that the test does not rely on the tables under test.
constexpr std::uint32_t kWarm = 10967;
constexpr std::uint32_t kNormal = 10980;
constexpr std::uint32_t kAttached = 10983;
constexpr std::uint32_t kDetached = 10984;
constexpr std::uint32_t kAdded = 11093;
constexpr std::uint32_t kRemoved = 11094;

class KilledPlugin : public CorvaneTest::CollectorFixture {
 protected:
  KilledPlugin() {
    m_Database.emplace("CORVANE_DATABASE", (m_Host.Directory() / "corvane.db").string());
    HostKit::ReopenDatabase();
    m_Host.WriteIni("PollInterval=2\n");
    m_Card = m_Host.AddCard();
    m_Host.AddCard();
  }
  ~KilledPlugin() override {
    m_pCollector.reset();
    m_State.Stop();
    m_Database.reset();
    HostKit::ReopenDatabase();
  }

  void StartService() {
    Service::CollectorSettings settings = Settings();
    settings.m_OnObservation = [this](const Service::Observation& observation) {
      return m_State.QueueChange(
          [observation](Service::StateStore& store) { return store.Record(observation); },
          [this](const auto& outcome) { m_Recorded += outcome.m_Result ? 1 : 0; });
    };
    Start(settings);
    AwaitRecord();
  }

  // Waits until a snapshot that was read entirely after this call has been recorded.
  void AwaitRecord() {
    const std::uint64_t starts = m_Store.Get()->m_Plugin.m_Starts;
    Await([&](const auto& it) { return it.m_Plugin.m_IsUp && it.m_Plugin.m_Starts >= starts; });
    const int before = m_Recorded;
    const Deadline deadline(kTimeout);
    while (m_Recorded < before + 2 && !deadline.HasPassed()) {
      std::this_thread::sleep_for(milliseconds(5));
    }
    EXPECT_GE(m_Recorded, before + 2);
  }

  void Kill() {
    const Service::PluginState plugin = m_Store.Get()->m_Plugin;
    CorvaneTest::SendSignal(plugin.m_Process, SIGKILL);
    Await([&](const auto& it) { return it.m_Plugin.m_Starts > plugin.m_Starts; });
    AwaitRecord();
  }

  // Renders the IDs of the logged events as "10984, 10983".
  std::string LogText() const {
    std::string text;
    for (const HostKit::LoggedEvent& event : HostKit::ReadEvents(0, 1000)) {
      text += (text.empty() ? "" : ", ") + std::to_string(event.m_EventID);
    }
    return text;
  }
  static std::string IDList(const std::vector<std::uint32_t>& events) {
    std::string text;
    for (const std::uint32_t event : events) {
      text += (text.empty() ? "" : ", ") + std::to_string(event);
    }
    return text;
  }

  std::optional<ScopedVariable> m_Database;
  std::string m_Card;
  std::atomic<int> m_Recorded{0};
  Service::StateThread m_State{[](const std::string& cause) { ADD_FAILURE() << cause; }};
};

TEST_F(KilledPlugin, LogsEventsThatWereNotReported) {
  StartService();
  m_Host.Cards().Raise(m_Card, "TEMPERATURE_ABOVE_WARN");
  Kill();
  EXPECT_EQ(LogText(), IDList({kWarm}));
  m_Host.Cards().Clear(m_Card, "TEMPERATURE_ABOVE_WARN");
  Kill();
  EXPECT_EQ(LogText(), IDList({kWarm, kNormal}));
  m_Host.Cards().RemoveCard(m_Card);
  Kill();
  EXPECT_EQ(LogText(), IDList({kWarm, kNormal, kRemoved}));
  m_Host.AddCard();
  Kill();
  EXPECT_EQ(LogText(), IDList({kWarm, kNormal, kRemoved, kAdded}));
  Kill();
  EXPECT_EQ(LogText(), IDList({kWarm, kNormal, kRemoved, kAdded}));
}

// The plug-in notices a detached card within its poll interval. Depending on the round, it is
// killed before, while or after it reports the event.
TEST_F(KilledPlugin, LogsEachChangeOnceWheneverItIsKilled) {
  StartService();
  std::vector<std::uint32_t> expected;
  for (int round = 0; round < 12; ++round) {
    const bool isDetached = round % 2 == 0;
    m_Host.Cards().Set(m_Card, "iom_state", isDetached ? "0" : "2");
    expected.push_back(isDetached ? kDetached : kAttached);
    std::this_thread::sleep_for(milliseconds(round * 150));
    Kill();
    EXPECT_EQ(LogText(), IDList(expected)) << "round " << round;
  }
}

}  // namespace
