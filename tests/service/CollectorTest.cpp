// The collector with the real plug-in in a process of corvane-host.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <functional>
#include <memory>

#include "hostkit/EventLog.h"
#include "service/Collector.h"
#include "tests/support/Numbers.h"
#include "tests/support/SimulatedHost.h"
#include "tests/support/Temporary.h"

namespace {

using Console::Deadline;
using Service::SnapshotPtr;
using std::chrono::milliseconds;

// Longer than any machine needs; a wait ends as soon as its condition holds.
constexpr milliseconds kTimeout(120000);

class CollectorFixture : public testing::Test {
 protected:
  Service::CollectorSettings Settings() const {
    Service::CollectorSettings settings;
    settings.m_Program = CORVANE_HOST;
    settings.m_PluginFile = CORVANE_PLUGIN;
    settings.m_RefreshInterval = milliseconds(200);
    settings.m_FirstPause = milliseconds(20);
    settings.m_LongestPause = milliseconds(100);
    return settings;
  }

  void Start(const Service::CollectorSettings& settings) {
    m_pCollector = std::make_unique<Service::Collector>(settings, m_Store);
  }

  // The first snapshot for which it holds.
  SnapshotPtr Await(const std::function<bool(const Service::Snapshot&)>& holds) {
    const Deadline deadline(kTimeout);
    SnapshotPtr snapshot = m_Store.Get();
    while (!holds(*snapshot) && !deadline.IsOver()) {
      snapshot = m_Store.AwaitNewer(snapshot->m_Number, deadline);
    }
    EXPECT_TRUE(holds(*snapshot));
    return snapshot;
  }
  SnapshotPtr AwaitObjects(std::size_t count) {
    return Await([count](const auto& it) { return it.m_Objects.size() == count; });
  }

  CorvaneTest::SimulatedHost m_Host{HostKit::UseRealTime};
  Service::SnapshotStore m_Store;
  std::unique_ptr<Service::Collector> m_pCollector;  // stops before the cards disappear
};

using Collector = CollectorFixture;

TEST_F(Collector, PublishesTheCards) {
  m_Host.AddCard();
  m_Host.AddCard();
  Start(Settings());
  const SnapshotPtr snapshot = AwaitObjects(5);  // the plug-in and two cards, each with a drive
  EXPECT_TRUE(snapshot->m_Plugin.m_IsUp);
  EXPECT_EQ(1U, snapshot->m_Plugin.m_Starts);
  EXPECT_TRUE(snapshot->m_HasCards);
  EXPECT_EQ(CORVANE_PLUGIN, snapshot->m_Info.m_File);
  EXPECT_GT(snapshot->m_ObservedAt.time_since_epoch().count(), 0);
}

TEST_F(Collector, PublishesAMachineWithoutCards) {
  Start(Settings());
  const SnapshotPtr snapshot = Await([](const auto& it) { return it.m_Plugin.m_IsUp; });
  EXPECT_FALSE(snapshot->m_HasCards);
}

TEST_F(Collector, FindsTheFirstCardOfAMachine) {
  Start(Settings());
  Await([](const auto& it) { return it.m_Plugin.m_IsUp; });
  m_Host.AddCard();
  EXPECT_TRUE(AwaitObjects(3)->m_HasCards);
}

TEST_F(Collector, StartsTheProcessAgainAfterItWasKilled) {
  m_Host.AddCard();
  Start(Settings());
  const pid_t first = AwaitObjects(3)->m_Plugin.m_Process;
  kill(first, SIGKILL);
  const SnapshotPtr down = Await([](const auto& it) { return !it.m_Plugin.m_IsUp; });
  EXPECT_EQ("the plug-in process has ended", down->m_Plugin.m_Reason);
  EXPECT_EQ(3U, down->m_Objects.size());  // as they were last read
  const SnapshotPtr up = Await([](const auto& it) { return it.m_Plugin.m_IsUp; });
  EXPECT_EQ(2U, up->m_Plugin.m_Starts);
  EXPECT_NE(first, up->m_Plugin.m_Process);
  EXPECT_EQ(3U, up->m_Objects.size());
}

TEST_F(Collector, ReplacesAProcessThatDoesNotAnswer) {
  m_Host.AddCard();
  Service::CollectorSettings settings = Settings();
  Start(settings);
  const pid_t first = AwaitObjects(3)->m_Plugin.m_Process;
  m_pCollector.reset();
  settings.m_CallTimeout = milliseconds(3000);
  Start(settings);
  const pid_t second = Await([first](const auto& it) {
                         return it.m_Plugin.m_IsUp && it.m_Plugin.m_Process != first;
                       })->m_Plugin.m_Process;
  kill(second, SIGSTOP);
  const SnapshotPtr down = Await([](const auto& it) { return !it.m_Plugin.m_IsUp; });
  EXPECT_EQ("the plug-in does not respond", down->m_Plugin.m_Reason);
  Await([second](const auto& it) { return it.m_Plugin.m_IsUp && it.m_Plugin.m_Process != second; });
}

TEST_F(Collector, ReportsAPluginThatCannotBeLoadedAndTriesAgain) {
  Service::CollectorSettings settings = Settings();
  settings.m_PluginFile = m_Host.Folder() / "missing.so";
  Start(settings);
  const SnapshotPtr snapshot = Await([](const auto& it) { return it.m_Plugin.m_Starts == 3; });
  EXPECT_FALSE(snapshot->m_Plugin.m_IsUp);
  EXPECT_THAT(snapshot->m_Plugin.m_Reason, testing::HasSubstr("missing.so"));
}

TEST_F(Collector, LogsTheEventsOfTheCards) {
  const std::string card = m_Host.AddCard();
  Start(Settings());
  AwaitObjects(3);
  m_Host.Cards().RemoveCard(card);
  const Deadline deadline(kTimeout);
  while (HostKit::ReadEvents(0, 10).empty() && !deadline.IsOver()) {
    m_Store.AwaitNewer(m_Store.Get()->m_Number, Deadline(milliseconds(100)));
  }
  std::vector<std::uint32_t> events;
  for (const HostKit::LoggedEvent& event : HostKit::ReadEvents(0, 10)) {
    events.push_back(event.m_EventID);
  }
  EXPECT_THAT(events, testing::ElementsAre(CorvaneTest::Number::CTRL_PNPREMOVE));
}

}  // namespace
