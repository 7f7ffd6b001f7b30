// A collector of simulated cards, with the real plug-in in a process of corvane-host.
#pragma once

#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <vector>

#include "hostkit/EventLog.h"
#include "hostkit/database/OwnTables.h"
#include "service/Collector.h"
#include "tests/support/SimulatedHost.h"

namespace CorvaneTest {

// Long enough for the slowest machine; a wait ends as soon as its condition is true.
inline constexpr std::chrono::milliseconds kTimeout(120000);

// Sends a signal to a process. Throws `std::logic_error` if `process` is not positive, for example
// because it did not start: `kill` would then send the signal to several processes.
inline void SendSignal(pid_t process, int signal) {
  if (process <= 0) throw std::logic_error("the process was not started");
  kill(process, signal);
}

class CollectorFixture : public testing::Test {
 protected:
  Service::CollectorSettings Settings() const {
    Service::CollectorSettings settings;
    settings.m_Program = CORVANE_HOST;
    settings.m_PluginFiles = {CORVANE_PLUGIN, Console::SimulatedCardLibrary()};
    settings.m_RefreshInterval = std::chrono::milliseconds(200);
    settings.m_InitialBackoff = std::chrono::milliseconds(20);
    settings.m_MaxBackoff = std::chrono::milliseconds(100);
    return settings;
  }

  void Start(const Service::CollectorSettings& settings) {
    m_pCollector = std::make_unique<Service::Collector>(settings, m_Store);
  }

  // Waits for the first snapshot that satisfies the predicate. Fails the test after `kTimeout`.
  Service::SnapshotPtr Await(const std::function<bool(const Service::Snapshot&)>& predicate) {
    const Console::Deadline deadline(kTimeout);
    Service::SnapshotPtr snapshot = m_Store.Get();
    while (!predicate(*snapshot) && !deadline.HasPassed()) {
      snapshot = m_Store.AwaitNewer(snapshot->m_Number, deadline);
    }
    EXPECT_TRUE(predicate(*snapshot));
    return snapshot;
  }
  Service::SnapshotPtr AwaitObjects(std::size_t count) {
    return Await([count](const auto& it) { return it.m_Objects.size() == count; });
  }

  // Returns the numbers of the events that were logged since the start of the test. The tests of a
  // program share one event log.
  std::vector<std::uint32_t> LoggedEvents() const {
    std::vector<std::uint32_t> numbers;
    for (const HostKit::LoggedEvent& event : HostKit::ReadEventsAfter(m_LastEarlierEvent, 100)) {
      numbers.push_back(event.m_EventID);
    }
    return numbers;
  }

  SimulatedHost m_Host{HostKit::UseRealTime};
  const std::int64_t m_LastEarlierEvent = HostKit::NewestEventNumber();
  Service::SnapshotStore m_Store;
  std::unique_ptr<Service::Collector> m_pCollector;  // destroyed before the cards
};

}  // namespace CorvaneTest
