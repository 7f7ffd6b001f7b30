// The collector with the real plug-in in a process of corvane-host.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

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
