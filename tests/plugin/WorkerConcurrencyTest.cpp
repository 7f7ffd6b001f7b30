// Host threads, the worker and jobs running simultaneously, with native threads and under many
// seeded schedules.

#include <gmock/gmock.h>

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <vector>

#include "host/Toolkit.h"
#include "hostkit/Inspect.h"
#include "tests/support/HeldCall.h"
#include "tests/support/HostThread.h"
#include "tests/support/Numbers.h"
#include "tests/support/SimulatedHost.h"

namespace CorvaneTest {
namespace {

using testing::ElementsAreArray;
using testing::IsEmpty;

constexpr std::uint64_t PLUGIN = 0x0130000000000000;
constexpr std::uint64_t FIRST = 0x0130000000000001;
constexpr std::uint64_t FIRST_DRIVE = 0x0130000000000002;
constexpr std::uint64_t SECOND = 0x0130000000000003;

constexpr int NATIVE_RUNS = 10;

void RunWithNativeThreads(void (*scenario)(Schedule)) {
  for (int i = 0; i < NATIVE_RUNS; ++i) scenario(NATIVE);
}

// Three cards at the shortest interval, and the events that the host has collected.
class ThreeCardHost {
 public:
  explicit ThreeCardHost(Schedule schedule) : m_Host(TimeModeSetter(schedule)) {
    // Trace lines would take up half the run time of hundreds of schedules.
    HostKit::SetTraceMask(0);
    m_Host.WriteIni("PollInterval=2\n");
    for (const char* state : {"2", "0", "2"}) {
      const std::string card = m_Host.AddCard();
      m_Host.Cards().Set(card, "iom_state", state);
    }
    EXPECT_EQ(m_Host.Initialize(), 0U);
    m_Host.Plugin()->m_HostNotify = [this](IPLUGINAPI*) { ++m_Notifications; };
    EXPECT_EQ(m_Host.AssignAdapterNumbers(), 0U);
    // Each call to the card library is a switch point.
    m_Host.ClearCalls();
    CardSim::SetHook([](const CardSim::Call&) { HostKit::SwitchPoint(); });
  }

  // Collects the queued events, in order.
  void Collect() {
    PI::COperation collect;
    collect.m_OperationID = PI::OP_GET_EVENTS;
    EXPECT_EQ(m_Host.Execute(PI::CMD_EXECUTE_OPERATION, PLUGIN, &collect), 0U);
    const std::lock_guard<std::mutex> guard(m_Mutex);
    for (const PI::CEvent& event : collect.m_Events)
      m_Seen[event.m_ObjectID].push_back(event.m_EventID);
  }
  std::vector<std::uint32_t> Seen(std::uint64_t object) {
    const std::lock_guard<std::mutex> guard(m_Mutex);
    return m_Seen[object];
  }
  // Waits until `count` events of the object have been collected.
  void AwaitEvents(std::uint64_t object, std::size_t count) {
    constexpr int kMaxAttempts = 1000;
    for (int i = 0; i < kMaxAttempts && Seen(object).size() < count; ++i) SleepFor(100);
  }

  // Stops the plug-in and expects that its threads have ended without being canceled.
  void StopAndExpectCleanExit() {
    EXPECT_EQ(m_Host.DeInitialize(), 0U);
    for (const HostKit::ThreadView& thread : HostKit::Threads()) {
      EXPECT_TRUE(thread.ended);
      EXPECT_FALSE(thread.canceled);
    }
    for (const HostKit::LockView& lock : HostKit::Locks()) EXPECT_EQ(lock.owner, "");
    EXPECT_THAT(CardSim::Misuse(), IsEmpty());
  }

  std::atomic<int> m_Notifications{0};
  SimulatedHost m_Host;

 private:
  std::mutex m_Mutex;
  std::map<std::uint64_t, std::vector<std::uint32_t>> m_Seen;
};

// The first card is detached and attached outside the plug-in, and the worker reports each change.
// Jobs on the second card fail and queue their own events. Two threads collect continuously.
void CollectWhileWorkerAndJobsQueueEvents(Schedule schedule) {
  ThreeCardHost host(schedule);
  CardSim::FailCall("vsl_iom_attach_create", 1, 62, "failed", 3);
  std::atomic<bool> done{false};
  const auto collect = [&] {
    while (!done) {
      host.Collect();
      SleepFor(70);
    }
  };
  {
    const HostThread first(collect);
    const HostThread second(collect);
    for (std::size_t round = 1; round <= 3; ++round) {
      EXPECT_EQ(host.m_Host.Run(SECOND, PI::OP_ATTACH), 0U);
      host.m_Host.Cards().Set("card0", "iom_state", round % 2 == 1 ? "0" : "2");
      host.AwaitEvents(FIRST, round);
      host.AwaitEvents(SECOND, round);
    }
    done = true;
  }
  SleepFor(5000);
  host.Collect();
  EXPECT_THAT(host.Seen(FIRST).size(), 3U);
  EXPECT_THAT(host.Seen(SECOND),
              testing::ElementsAre(Number::CTRL_ATTACH_FAILED, Number::CTRL_ATTACH_FAILED,
                                   Number::CTRL_ATTACH_FAILED));
  EXPECT_GE(host.m_Notifications, 3);
  host.StopAndExpectCleanExit();
}

TEST(WorkerConcurrency, EachEventIsCollectedOnce) {
  RunWithNativeThreads(CollectWhileWorkerAndJobsQueueEvents);
}

TEST(WorkerConcurrency, EachEventIsCollectedOnceInEverySeededSchedule) {
  RunInManySchedules(CollectWhileWorkerAndJobsQueueEvents);
}

// One thread collects, so that the events keep the order of the queue.
void CollectInOrder(Schedule schedule) {
  ThreeCardHost host(schedule);
  std::atomic<bool> done{false};
  std::vector<std::uint32_t> expected;
  {
    const HostThread collector([&] {
      while (!done) {
        host.Collect();
        SleepFor(50);
      }
    });
    for (std::size_t round = 1; round <= 4; ++round) {
      host.m_Host.Cards().Set("card0", "iom_state", round % 2 == 1 ? "0" : "2");
      host.AwaitEvents(FIRST, round);
      expected.push_back(round % 2 == 1 ? Number::CTRL_DETACHED : Number::CTRL_ATTACHED);
    }
    done = true;
  }
  EXPECT_THAT(host.Seen(FIRST), ElementsAreArray(expected));
  host.StopAndExpectCleanExit();
}

TEST(WorkerConcurrency, EventsKeepTheirOrder) {
  RunWithNativeThreads(CollectInOrder);
}

TEST(WorkerConcurrency, EventsKeepTheirOrderInEverySeededSchedule) {
  RunInManySchedules(CollectInOrder);
}

// Expects a consistent tree, in which every link refers to an object.
void ExpectConsistentTree(const std::vector<PI::CObject>& objects) {
  std::map<std::uint64_t, const PI::CObject*> byId;
  for (const PI::CObject& object : objects) {
    EXPECT_TRUE(byId.emplace(object.m_ID, &object).second);
  }
  std::size_t links = 0;
  for (const PI::CObject& object : objects) {
    for (const std::uint64_t child : object.m_Children) {
      ++links;
      ASSERT_EQ(byId.count(child), 1U);
      EXPECT_EQ(byId[child]->m_Parents, std::vector<std::uint64_t>{object.m_ID});
    }
  }
  EXPECT_EQ(links, objects.size() - 1);
}

void ReadWhileCardsAreRemovedAndReturn(Schedule schedule) {
  ThreeCardHost host(schedule);
  std::atomic<bool> done{false};
  const auto read = [&] {
    while (!done) {
      ExpectConsistentTree(host.m_Host.Topology());
      for (const std::uint64_t id : {PLUGIN, FIRST, FIRST_DRIVE}) host.m_Host.Properties(id);
      host.m_Host.Check(FIRST, PI::OP_DETACH);
      SleepFor(130);
    }
  };
  {
    const HostThread first(read);
    const HostThread second(read);
    for (const char* path : {"/dev/hidden", "/dev/fct2", "/dev/hidden", "/dev/fct2"}) {
      host.m_Host.Cards().Set("card2", "device_path", path);
      SleepFor(3000);
    }
    done = true;
  }
  host.StopAndExpectCleanExit();
}

TEST(WorkerConcurrency, TheTreeIsConsistentWhileCardsAreRemovedAndReturn) {
  RunWithNativeThreads(ReadWhileCardsAreRemovedAndReturn);
}

TEST(WorkerConcurrency, TheTreeIsConsistentWhileCardsAreRemovedAndReturnInEverySeededSchedule) {
  RunInManySchedules(ReadWhileCardsAreRemovedAndReturn);
}

// The host collects events in the callback while other threads change the poll interval and run
// drive operations.
void CollectInCallback(Schedule schedule) {
  ThreeCardHost host(schedule);
  std::atomic<int> collected{0};
  host.m_Host.Plugin()->m_HostNotify = [&](IPLUGINAPI*) {
    host.Collect();
    ++collected;
  };
  {
    const HostThread operate([&] {
      for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(
            host.m_Host.Run(FIRST_DRIVE, i % 2 == 0 ? PI::OP_MAKE_OFFLINE : PI::OP_MAKE_ONLINE),
            0U);
        SleepFor(300);
      }
    });
    const HostThread configure([&] {
      for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(host.m_Host.SetPollInterval(2 + i), 0U);
        SleepFor(400);
      }
    });
    host.m_Host.Cards().Set("card0", "iom_state", "0");
  }
  host.AwaitEvents(FIRST, 1);
  EXPECT_THAT(host.Seen(FIRST), testing::ElementsAre(Number::CTRL_DETACHED));
  EXPECT_GE(collected, 2);
  host.StopAndExpectCleanExit();
}

TEST(WorkerConcurrency, TheHostCanSendCommandsInTheCallback) {
  RunWithNativeThreads(CollectInCallback);
}

TEST(WorkerConcurrency, TheHostCanSendCommandsInTheCallbackInEverySeededSchedule) {
  RunInManySchedules(CollectInCallback);
}

// Stops the plug-in at a time that depends on the schedule.
void StopAtAnyTime(Schedule schedule) {
  ThreeCardHost host(schedule);
  host.m_Host.Cards().Set("card0", "iom_state", "0");
  SleepFor(static_cast<std::int64_t>(schedule.value_or(7) * 13 % 2100));
  host.StopAndExpectCleanExit();
  EXPECT_EQ(host.m_Host.Calls().back(), "vsl_fini");
  host.m_Host.Release();
}

TEST(WorkerConcurrency, AStopEndsTheWorkerInEverySeededSchedule) {
  RunInManySchedules(StopAtAnyTime);
}

}  // namespace
}  // namespace CorvaneTest
