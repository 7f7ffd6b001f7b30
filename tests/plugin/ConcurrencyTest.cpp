// Host threads that read while jobs attach and detach cards and the worker scans them, with native
// threads and under many seeded schedules.

#include <gmock/gmock.h>

#include <atomic>
#include <functional>
#include <optional>
#include <set>

#include "host/Toolkit.h"
#include "hostkit/Inspect.h"
#include "tests/support/HeldCall.h"
#include "tests/support/HostThread.h"
#include "tests/support/Numbers.h"
#include "tests/support/RowHandles.h"
#include "tests/support/SimulatedHost.h"

namespace CorvaneTest {
namespace {

using testing::AnyOf;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr std::uint64_t PLUGIN = 0x0130000000000000;
constexpr std::uint64_t FIRST = 0x0130000000000001;
constexpr std::uint64_t FIRST_DRIVE = 0x0130000000000002;
constexpr std::uint64_t SECOND = 0x0130000000000003;

// A running host with a detached and an attached card. Attach and detach take one second each.
class TwoCardHost {
 public:
  explicit TwoCardHost(Schedule schedule) : m_Host(TimeModeSetter(schedule)) {
    // Trace lines would take up half the run time of hundreds of schedules.
    if (schedule) HostKit::SetTraceMask(0);
    m_Host.WriteIni("PollInterval=2\n");
    for (const char* state : {"0", "2"}) {
      const std::string card = m_Host.AddCard();
      m_Host.Cards().Set(card, "iom_state", state);
      m_Host.Cards().Set(card, "attach_ms", "1000");
      m_Host.Cards().Set(card, "detach_ms", "1000");
    }
    EXPECT_EQ(m_Host.Start(), 0U);
    // Each call to the card library is a switch point.
    m_Host.ClearCalls();
    CardSim::SetHook([](const CardSim::Call&) { HostKit::SwitchPoint(); });
  }

  void Attach() { EXPECT_EQ(m_Host.Run(FIRST, PI::OP_ATTACH), 0U); }
  void Detach() { EXPECT_EQ(m_Host.Run(SECOND, PI::OP_DETACH), 0U); }

  // The requests with which a host refreshes its display.
  void Read() {
    EXPECT_EQ(m_Host.Topology().size(), 5U);
    for (const std::uint64_t id : {PLUGIN, FIRST, FIRST_DRIVE, SECOND}) {
      EXPECT_THAT(m_Host.Properties(id), testing::Not(IsEmpty()));
    }
    // The result depends on whether a job runs and on the last scan.
    EXPECT_THAT(m_Host.Check(FIRST, PI::OP_ATTACH),
                AnyOf(0U, Number::ERR_GENERAL, Number::ERR_ADAPTER_BUSY));
    EXPECT_THAT(m_Host.Check(SECOND, PI::OP_DETACH),
                AnyOf(0U, Number::ERR_GENERAL, Number::ERR_ADAPTER_BUSY));
    SleepFor(150);
  }

  // The numbers of the queued events, in order.
  std::vector<std::uint32_t> Events() {
    PI::COperation collect;
    collect.m_OperationID = PI::OP_GET_EVENTS;
    EXPECT_EQ(m_Host.Execute(PI::CMD_EXECUTE_OPERATION, PLUGIN, &collect), 0U);
    std::vector<std::uint32_t> numbers;
    for (const PI::CEvent& event : collect.m_Events) numbers.push_back(event.m_EventID);
    return numbers;
  }

  void ExpectBothCardsChanged() {
    EXPECT_EQ(m_Host.Cards().Get("card0", "iom_state"), "2");
    EXPECT_EQ(m_Host.Cards().Get("card1", "iom_state"), "0");
  }

  // Stops the plug-in first, because the worker may be polling.
  void StopAndExpectNoLeaks() {
    EXPECT_EQ(m_Host.DeInitialize(), 0U);
    for (const HostKit::LockView& lock : HostKit::Locks()) EXPECT_EQ(lock.owner, "");
    EXPECT_THAT(HandlesExceptRows(), IsEmpty());
    EXPECT_THAT(CardSim::Misuse(), IsEmpty());
  }

  SimulatedHost m_Host;
};

void ReadWhileJobsRun(Schedule schedule, int rounds) {
  TwoCardHost host(schedule);
  const auto read = [&] {
    for (int i = 0; i < rounds; ++i) host.Read();
  };
  {
    const HostThread first(read);
    const HostThread second(read);
    host.Attach();
    host.Detach();
  }
  SleepFor(5000);
  host.ExpectBothCardsChanged();
  EXPECT_THAT(host.Events(), UnorderedElementsAre(Number::CTRL_ATTACHED, Number::CTRL_DETACHED));
  host.StopAndExpectNoLeaks();
}

TEST(Concurrency, TwoThreadsReadWhileACardIsAttachedAndAnotherDetached) {
  for (int i = 0; i < 10; ++i) ReadWhileJobsRun(NATIVE, 10);
}

// Short jobs, with checks running at the same time.
TEST(Concurrency, ChecksRunWhileJobsStartAndEnd) {
  TwoCardHost host(NATIVE);
  HostKit::SetTraceMask(0);
  CardSim::SetHook({});
  CardSim::FailCall("vsl_iom_create_by_name", 1, 50, "no", 100000);
  std::atomic<bool> done{false};
  const auto isBusy = [&] {
    return host.m_Host.Check(FIRST, PI::OP_ATTACH) == Number::ERR_ADAPTER_BUSY;
  };
  {
    const HostThread checker([&] {
      while (!done) isBusy();
    });
    for (int i = 0; i < 300; ++i) {
      host.Attach();
      while (isBusy()) continue;
    }
    done = true;
  }
  SleepFor(100);
  EXPECT_EQ(host.Events(), std::vector<std::uint32_t>(300, Number::CTRL_ATTACH_FAILED));
  host.StopAndExpectNoLeaks();
}

// Each change of the interval wakes the worker, which unlocks the objects while another thread
// copies them.
TEST(Concurrency, TheIntervalIsSetRepeatedlyWhileOthersRead) {
  TwoCardHost host(NATIVE);
  HostKit::SetTraceMask(0);
  const std::uint64_t id = host.m_Host.PluginId();
  std::atomic<bool> done{false};
  {
    const HostThread reader([&] {
      while (!done) EXPECT_EQ(host.m_Host.Topology().size(), 5U);
    });
    for (int i = 0; i < 500; ++i) {
      PI::CProperty interval(PI::Property::POLL_INTERVAL, true);
      interval.SetValue(2 + i % 3, 2, 255, 1);
      EXPECT_EQ(host.m_Host.Execute(PI::CMD_SET_PROPERTY, id, &interval), 0U);
    }
    done = true;
  }
  EXPECT_EQ(host.m_Host.ReadIni(), "PollInterval=3\n");
  host.StopAndExpectNoLeaks();
}

TEST(Concurrency, ReadsAndJobsCompleteInEverySeededSchedule) {
  RunInManySchedules([](Schedule schedule) { ReadWhileJobsRun(schedule, 2); });
}

// A failing schedule can be reproduced from its seed.
TEST(Concurrency, TheSameSeedRepeatsTheSchedule) {
  const auto callsOf = [](std::uint64_t seed) {
    TwoCardHost host(seed);
    {
      const HostThread first([&] { host.Read(); });
      const HostThread second([&] { host.Read(); });
      host.Attach();
      host.Detach();
    }
    SleepFor(5000);
    return host.m_Host.Calls();
  };
  std::set<std::vector<std::string>> schedules;
  for (std::uint64_t seed = 1; seed <= 20; ++seed) {
    const std::vector<std::string> calls = callsOf(seed);
    EXPECT_EQ(calls, callsOf(seed)) << "seed " << seed;
    schedules.insert(calls);
  }
  EXPECT_EQ(schedules.size(), 20U);
}

// Both jobs fail while the host collects events: each event is collected exactly once. A scan may
// queue other events in the meantime.
void CollectWhileJobsFail(Schedule schedule) {
  TwoCardHost host(schedule);
  CardSim::FailCall("vsl_op_wait_for_result", 1, 51, "no", 2);
  std::multiset<std::uint32_t> seen;
  {
    const HostThread collector([&] {
      for (int i = 0; i < 20; ++i) {
        for (const std::uint32_t event : host.Events()) seen.insert(event);
        SleepFor(50);
      }
    });
    host.Attach();
    host.Detach();
  }
  SleepFor(5000);
  for (const std::uint32_t event : host.Events()) seen.insert(event);
  EXPECT_EQ(seen.count(Number::CTRL_ATTACH_FAILED), 1U);
  EXPECT_EQ(seen.count(Number::CTRL_DETACH_FAILED), 1U);
  host.StopAndExpectNoLeaks();
}

TEST(Concurrency, NoEventIsLostWhileTheHostCollects) {
  for (int i = 0; i < 10; ++i) CollectWhileJobsFail(NATIVE);
}

TEST(Concurrency, NoEventIsLostInAnySeededSchedule) {
  RunInManySchedules(CollectWhileJobsFail);
}

TEST(Concurrency, StoppingWaitsForTheJobsInEverySeededSchedule) {
  RunInManySchedules([](Schedule schedule) {
    TwoCardHost host(schedule);
    host.Attach();
    host.Detach();
    host.StopAndExpectNoLeaks();
    host.ExpectBothCardsChanged();
    host.m_Host.Release();
  });
}

}  // namespace
}  // namespace CorvaneTest
