// The collector with the real plug-in in a process of corvane-host.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

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

// A collector with a clock that the test controls and a plug-in that reports nothing on its own.
class ProgressFixture : public CollectorFixture {
 protected:
  ~ProgressFixture() override { m_pCollector.reset(); }

  void StartWithTestClock(Service::CollectorSettings settings) {
    settings.m_PluginFiles = {TEST_PLUGIN, {}};
    settings.m_CallTimeout =
        std::chrono::minutes(30);  // measured in real time, so it never expires here
    settings.m_Now = [this] {
      ++m_ClockReads;
      return Service::ProgressWatch::Clock::time_point(std::chrono::seconds(m_Elapsed));
    };
    Start(settings);
    m_Process = AwaitObjects(5)->m_Plugin.m_Process;
    EXPECT_TRUE(m_pCollector->Refresh(Deadline(kTimeout)));
  }
  void SuspendProcess() const { CorvaneTest::SendSignal(m_Process, SIGSTOP); }
  void ResumeProcess() const { CorvaneTest::SendSignal(m_Process, SIGCONT); }
  void Advance(std::chrono::minutes time) { m_Elapsed += std::chrono::seconds(time).count(); }
  // Waits until the collector is blocked in a call: it then publishes nothing for two seconds.
  void AwaitCall() const {
    while (m_Store.Get()->m_Number !=
           m_Store.AwaitNewer(m_Store.Get()->m_Number, Deadline(milliseconds(2000)))->m_Number) {
    }
  }
  bool AwaitStuck(bool isStuck) const {
    const Deadline deadline(kTimeout);
    while (m_pCollector->IsStuck() != isStuck && !deadline.HasPassed()) {
      std::this_thread::sleep_for(milliseconds(1));
    }
    return m_pCollector->IsStuck() == isStuck;
  }
  // Formats a drive. Returns whether the call gets a reply.
  bool Format() const {
    PI::COperation operation;
    operation.m_OperationID = PI::OP_FORMAT_DEVICE;
    return m_pCollector->Call({PI::CMD_EXECUTE_OPERATION, 0, operation}, Deadline()).has_value();
  }
  // Starts a format while the collector is stuck. The collector stops being stuck once the format
  // is running.
  std::future<bool> StartFormat() {
    while (!m_pCollector->IsStuck()) Advance(std::chrono::hours(100));
    auto format = std::async(std::launch::async, [this] { return Format(); });
    EXPECT_TRUE(AwaitStuck(false));
    return format;
  }

  std::atomic<int> m_ClockReads{0};
  std::atomic<std::chrono::seconds::rep> m_Elapsed{0};
  pid_t m_Process = 0;
};

using CollectorProgress = ProgressFixture;

TEST_F(Collector, PublishesTheCards) {
  m_Host.AddCard();
  m_Host.AddCard();
  Start(Settings());
  const SnapshotPtr snapshot = AwaitObjects(5);  // the plug-in and two cards, each with a drive
  EXPECT_TRUE(snapshot->m_Plugin.m_IsUp);
  EXPECT_EQ(1U, snapshot->m_Plugin.m_Starts);
  EXPECT_TRUE(snapshot->m_HasCards);
  EXPECT_EQ(CORVANE_PLUGIN, snapshot->m_Info.m_File);
  EXPECT_GT(snapshot->m_Times.m_ObservedAt, 0U);
}

TEST_F(Collector, PublishesAMachineWithoutCards) {
  Start(Settings());
  const SnapshotPtr snapshot = Await([](const auto& it) { return it.m_Plugin.m_IsUp; });
  EXPECT_FALSE(snapshot->m_HasCards);
}

TEST_F(Collector, FindsTheFirstCard) {
  Start(Settings());
  Await([](const auto& it) { return it.m_Plugin.m_IsUp; });
  m_Host.AddCard();
  EXPECT_TRUE(AwaitObjects(3)->m_HasCards);
}

TEST_F(Collector, SearchesForCardsAgainWithoutBackoff) {
  Service::CollectorSettings settings = Settings();
  settings.m_InitialBackoff = settings.m_MaxBackoff = std::chrono::hours(1);
  Start(settings);
  Await([](const auto& it) { return it.m_Plugin.m_Starts == 3; });
  m_Host.AddCard();
  AwaitObjects(3);
}

TEST_F(Collector, RefreshesOnAMachineWithoutCards) {
  Service::CollectorSettings settings = Settings();
  settings.m_RefreshInterval = kTimeout;
  Start(settings);
  Await([](const auto& it) { return it.m_Plugin.m_IsUp; });
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(m_pCollector->Refresh(Deadline(kTimeout))) << i;
    EXPECT_TRUE(m_Store.Get()->m_Plugin.m_IsUp);
  }
  m_Host.AddCard();
  ASSERT_TRUE(m_pCollector->Refresh(Deadline(kTimeout)));
  EXPECT_EQ(3U, m_Store.Get()->m_Objects.size());
}

TEST_F(Collector, ExecutesCommandsOnAMachineWithoutCards) {
  Start(Settings());
  Await([](const auto& it) { return it.m_Plugin.m_IsUp; });
  const Console::PluginCommand command = {PI::CMD_GET_TOPOLOGY, 0, std::vector<PI::CObject>()};
  int calls = 0;
  while (m_Store.Get()->m_Plugin.m_Starts < 4) {
    ASSERT_TRUE(m_pCollector->Call(command, Deadline(kTimeout))) << calls;
    ++calls;
  }
}

TEST_F(Collector, RestartsAKilledProcess) {
  m_Host.AddCard();
  Start(Settings());
  const pid_t first = AwaitObjects(3)->m_Plugin.m_Process;
  CorvaneTest::SendSignal(first, SIGKILL);
  const SnapshotPtr down = Await([](const auto& it) { return !it.m_Plugin.m_IsUp; });
  EXPECT_EQ("the plug-in process has exited", down->m_Plugin.m_Reason);
  EXPECT_EQ(3U, down->m_Objects.size());  // the objects of the last read
  const SnapshotPtr up = Await([](const auto& it) { return it.m_Plugin.m_IsUp; });
  EXPECT_EQ(2U, up->m_Plugin.m_Starts);
  EXPECT_NE(first, up->m_Plugin.m_Process);
  EXPECT_EQ(3U, up->m_Objects.size());
}

TEST_F(Collector, ReplacesAProcessThatDoesNotRespond) {
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
  CorvaneTest::SendSignal(second, SIGSTOP);
  const SnapshotPtr down = Await([](const auto& it) { return !it.m_Plugin.m_IsUp; });
  EXPECT_EQ("the plug-in is not responding", down->m_Plugin.m_Reason);
  Await([second](const auto& it) { return it.m_Plugin.m_IsUp && it.m_Plugin.m_Process != second; });
}

// A process that does not respond within the timeout is replaced, so waiting for that timeout
// counts as progress.
TEST_F(CollectorProgress, IsStuckOnlyAfterTheTimeoutsOfItsCalls) {
  StartWithTestClock(Settings());
  SuspendProcess();
  AwaitCall();
  Advance(std::chrono::minutes(100));
  EXPECT_TRUE(AwaitStuck(false));
  Advance(std::chrono::minutes(121));
  EXPECT_TRUE(AwaitStuck(true));
  ResumeProcess();
  EXPECT_TRUE(AwaitStuck(false));
}

TEST_F(CollectorProgress, IsNotStuckWhileItWaitsForAFormat) {
  StartWithTestClock(Settings());
  SuspendProcess();
  AwaitCall();
  auto format = StartFormat();
  ResumeProcess();
  EXPECT_TRUE(format.get());
  EXPECT_TRUE(m_pCollector->Refresh(Deadline(kTimeout)));
}

TEST_F(CollectorProgress, AbandonsAFormatOnStop) {
  StartWithTestClock(Settings());
  SuspendProcess();
  AwaitCall();
  auto format = StartFormat();
  auto stop = std::async(std::launch::async, [this] { m_pCollector->Stop(); });
  EXPECT_EQ(std::future_status::ready, format.wait_for(kTimeout));
  ResumeProcess();
  EXPECT_FALSE(format.get());
  stop.get();
  EXPECT_FALSE(Format());
}

TEST_F(CollectorProgress, DoesNotCallThePluginDuringAFormat) {
  Service::CollectorSettings settings = Settings();
  settings.m_RefreshInterval = kTimeout;
  StartWithTestClock(settings);
  SuspendProcess();
  auto format = StartFormat();
  const std::uint64_t published = m_Store.Get()->m_Number;
  // The collector starts a new step, and reads the clock, each time that it wakes.
  const int reads = m_ClockReads + 20;
  const Deadline deadline(kTimeout);
  while (m_ClockReads < reads && !deadline.HasPassed()) {
    m_pCollector->RequestRefresh();
    std::this_thread::sleep_for(milliseconds(1));
  }
  EXPECT_GE(m_ClockReads, reads);
  EXPECT_EQ(published, m_Store.Get()->m_Number);
  ResumeProcess();
  EXPECT_TRUE(format.get());
  EXPECT_TRUE(m_pCollector->Refresh(Deadline(kTimeout)));
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
  while (count() == 0 && !deadline.HasPassed()) std::this_thread::sleep_for(milliseconds(5));
  m_pCollector.reset();
  EXPECT_THAT(events, testing::ElementsAre(CorvaneTest::Number::CTRL_PNPREMOVE));
}

TEST_F(Collector, ReportsAPluginThatCannotBeLoadedAndRetries) {
  Service::CollectorSettings settings = Settings();
  settings.m_PluginFiles.m_Plugin = m_Host.Directory() / "missing.so";
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

TEST_F(Collector, RefusesARefreshWithoutAPlugin) {
  Service::CollectorSettings settings = Settings();
  settings.m_PluginFiles.m_Plugin = m_Host.Directory() / "missing.so";
  Start(settings);
  EXPECT_FALSE(m_pCollector->Refresh(Deadline(kTimeout)));
}

TEST_F(Collector, LogsTheEventsOfTheCards) {
  const std::string card = m_Host.AddCard();
  Start(Settings());
  AwaitObjects(3);
  m_Host.Cards().RemoveCard(card);
  const Deadline deadline(kTimeout);
  while (LoggedEvents().empty() && !deadline.HasPassed()) {
    m_Store.AwaitNewer(m_Store.Get()->m_Number, Deadline(milliseconds(100)));
  }
  EXPECT_THAT(LoggedEvents(), testing::ElementsAre(CorvaneTest::Number::CTRL_PNPREMOVE));
}

// A fault of one of three cards at the start of the plug-in process, and how it is reported.
struct FaultAtStart {
  const char* m_Function;
  bool m_Hangs;
  const char* m_Reason;
};

void PrintTo(const FaultAtStart& fault, std::ostream* out) {
  *out << fault.m_Function << (fault.m_Hangs ? " hangs" : " fails");
}

constexpr FaultAtStart kFaultsAtStart[] = {
    {"vsl_iom_create_by_name", true, "the card is not responding"},
    {"vsl_iom_create_by_name", false, "the card cannot be opened: device busy (error 12)"},
    {"vsl_open", true, "the card is not responding"},
    {"vsl_open", false, "the card cannot be opened: device busy (error 12)"},
    {"vsl_temp_internal_deg_c", true, "the card is not responding"},
    {"vsl_iom_format_create", true, "the card is not responding"},
    {"vsl_vsu_iterate", true, "the card is not responding"},
};

class FaultyAtStart : public CorvaneTest::CollectorFixture,
                      public testing::WithParamInterface<FaultAtStart> {
 protected:
  ~FaultyAtStart() override { m_pCollector.reset(); }
};

TEST_P(FaultyAtStart, CardIsOmittedUntilItCanBeRead) {
  std::vector<std::string> cards;
  for (const char* serial : {"S0", "S1", "S2"}) {
    cards.push_back(m_Host.AddCard());
    m_Host.Cards().Set(cards.back(), "serial_number", serial);
  }
  const FaultAtStart& fault = GetParam();
  if (fault.m_Hangs) {
    m_Host.Cards().Hang(fault.m_Function, cards[1]);
  } else {
    m_Host.Cards().Fail(fault.m_Function, cards[1], 12, "device busy");
  }
  m_Host.WriteIni("PollInterval=2\n");
  Start(Settings());
  const Service::SnapshotPtr first = AwaitObjects(5);  // the plug-in, two cards and their drives
  ASSERT_EQ(1u, first->m_UnresponsiveCards.size());
  const Console::UnresponsiveCard& omitted = first->m_UnresponsiveCards.front();
  EXPECT_EQ("S1", omitted.m_SerialNumber);
  EXPECT_EQ(fault.m_Reason, omitted.m_Reason);
  EXPECT_TRUE(omitted.m_IsOmitted);
  m_Host.Cards().ClearFailure(fault.m_Function, cards[1]);
  const Service::SnapshotPtr second = AwaitObjects(7);
  EXPECT_TRUE(second->m_UnresponsiveCards.empty());
  EXPECT_THAT(LoggedEvents(), testing::ElementsAre());
}

INSTANTIATE_TEST_SUITE_P(Calls, FaultyAtStart, testing::ValuesIn(kFaultsAtStart));

// The list ends before the third card, or is empty. The other cards are known from the previous
// process. If a call for the second card hangs, it also cannot be read.
class IncompleteList : public CollectorFixture {
 protected:
  ~IncompleteList() override { m_pCollector.reset(); }

  pid_t StartWithThreeCards() {
    for (const char* serial : {"S0", "S1", "S2"}) {
      m_Cards.push_back(m_Host.AddCard());
      m_Host.Cards().Set(m_Cards.back(), "serial_number", serial);
    }
    Start(Settings());
    return AwaitObjects(7)->m_Plugin.m_Process;
  }
  SnapshotPtr Replace(pid_t process) {
    CorvaneTest::SendSignal(process, SIGKILL);
    return Await([process](const Service::Snapshot& it) {
      return it.m_Plugin.m_IsUp && it.m_Plugin.m_Process != process;
    });
  }

  std::vector<std::string> m_Cards;
};

TEST_F(IncompleteList, IsCompletedIfItHangs) {
  const pid_t process = StartWithThreeCards();
  m_Host.Cards().Hang("vsl_has_device_path", m_Cards[1]);
  const SnapshotPtr second = Replace(process);
  EXPECT_EQ(5u, second->m_Objects.size());
  ASSERT_EQ(1u, second->m_UnresponsiveCards.size());
  EXPECT_EQ("S1", second->m_UnresponsiveCards.front().m_SerialNumber);
  m_Host.Cards().ClearFailure("vsl_has_device_path", m_Cards[1]);
  AwaitObjects(7);
}

TEST_F(IncompleteList, IsCompletedIfItFails) {
  const pid_t process = StartWithThreeCards();
  m_Host.Cards().Fail("vsl_iom_iterate", 12, "device busy");
  const SnapshotPtr second = Replace(process);
  EXPECT_EQ(7u, second->m_Objects.size());
  EXPECT_TRUE(second->m_UnresponsiveCards.empty());
}

TEST_F(IncompleteList, MakesTheStartFailIfNoCardIsKnown) {
  m_Host.AddCard();
  m_Host.Cards().Fail("vsl_iom_iterate", 12, "device busy");
  Start(Settings());
  Await([](const Service::Snapshot& it) {
    return it.m_Plugin.DownReason() == "cannot list the cards: device busy";
  });
}

}  // namespace
