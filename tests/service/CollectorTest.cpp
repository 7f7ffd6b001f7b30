// The collector with the real plug-in in a process of corvane-host.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "hostkit/EventLog.h"
#include "tests/service/CollectorFixture.h"
#include "tests/support/Numbers.h"

namespace {

using Console::Deadline;
using CorvaneTest::CollectorFixture;
using CorvaneTest::kTimeout;
using Service::SnapshotPtr;
using std::chrono::milliseconds;

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

TEST_F(Collector, RestartsAKilledProcess) {
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

// A process that does not answer within the timeout is replaced, so waiting for that timeout counts
// as progress.
TEST_F(Collector, IsStuckOnlyAfterTheTimeoutsOfItsCalls) {
  m_Host.AddCard();
  std::atomic<std::chrono::seconds::rep> elapsed{0};
  Service::CollectorSettings settings = Settings();
  settings.m_CallTimeout = std::chrono::minutes(30);  // in real time, so it never expires here
  settings.m_Now = [&elapsed] {
    return Service::ProgressWatch::Clock::time_point(std::chrono::seconds(elapsed));
  };
  Start(settings);
  const pid_t process = AwaitObjects(3)->m_Plugin.m_Process;
  const auto becomes = [this](bool isStuck) {
    const Deadline deadline(kTimeout);
    while (m_pCollector->Progress().IsStuck() != isStuck && !deadline.IsOver()) {
      std::this_thread::sleep_for(milliseconds(1));
    }
    return m_pCollector->Progress().IsStuck() == isStuck;
  };
  kill(process, SIGSTOP);
  // Wait until the collector is blocked in a call.
  while (m_Store.Get()->m_Number !=
         m_Store.AwaitNewer(m_Store.Get()->m_Number, Deadline(milliseconds(2000)))->m_Number) {
  }
  elapsed += std::chrono::seconds(std::chrono::minutes(100)).count();
  EXPECT_TRUE(becomes(false));
  elapsed += std::chrono::seconds(std::chrono::minutes(121)).count();
  EXPECT_TRUE(becomes(true));
  kill(process, SIGCONT);
  EXPECT_TRUE(becomes(false));
}

TEST_F(Collector, ForwardsEvents) {
  const std::string card = m_Host.AddCard();
  std::mutex lock;
  std::vector<std::uint32_t> events;
  Service::CollectorSettings settings = Settings();
  settings.m_OnEvents = [&](const std::vector<HostKit::LoggedEvent>& collected) {
    const std::lock_guard<std::mutex> guard(lock);
    for (const HostKit::LoggedEvent& event : collected) events.push_back(event.m_EventID);
  };
  Start(settings);
  AwaitObjects(3);
  m_Host.Cards().RemoveCard(card);
  const Deadline deadline(kTimeout);
  const auto count = [&] {
    const std::lock_guard<std::mutex> guard(lock);
    return events.size();
  };
  while (count() == 0 && !deadline.IsOver()) std::this_thread::sleep_for(milliseconds(5));
  m_pCollector.reset();
  EXPECT_THAT(events, testing::ElementsAre(CorvaneTest::Number::CTRL_PNPREMOVE));
}

TEST_F(Collector, ReportsAPluginThatCannotBeLoadedAndTriesAgain) {
  Service::CollectorSettings settings = Settings();
  settings.m_PluginFile = m_Host.Directory() / "missing.so";
  Start(settings);
  const SnapshotPtr snapshot = Await([](const auto& it) { return it.m_Plugin.m_Starts == 3; });
  EXPECT_FALSE(snapshot->m_Plugin.m_IsUp);
  EXPECT_THAT(snapshot->m_Plugin.m_Reason, testing::HasSubstr("missing.so"));
}

TEST_F(Collector, ReadsTheCardsOnRequest) {
  m_Host.AddCard();
  Service::CollectorSettings settings = Settings();
  settings.m_RefreshInterval = kTimeout;
  Start(settings);
  AwaitObjects(3);
  for (int i = 0; i < 20; ++i) {
    const std::uint64_t before = m_Store.Get()->m_Refreshes;
    ASSERT_TRUE(m_pCollector->Refresh(Deadline(kTimeout)));
    EXPECT_EQ(before + 1, m_Store.Get()->m_Refreshes);
  }
}

TEST_F(Collector, CannotReadTheCardsWithoutAPlugin) {
  Service::CollectorSettings settings = Settings();
  settings.m_PluginFile = m_Host.Directory() / "missing.so";
  Start(settings);
  EXPECT_FALSE(m_pCollector->Refresh(Deadline(kTimeout)));
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
