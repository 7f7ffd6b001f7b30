// What the service reports to the service manager, and when.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "service/ProgressWatch.h"
#include "service/Snapshot.h"

namespace Service {

// For one thread.
class ManagerReports {
 public:
  using Clock = ProgressWatch::Clock;

  struct Settings {
    std::function<void(const std::string&)> m_Send;       // receives the assignments
    std::optional<std::chrono::microseconds> m_Watchdog;  // the manager's limit
    std::function<Clock::time_point()> m_Now = &Clock::now;
  };

  // The store and the progress must outlive it.
  ManagerReports(const SnapshotStore& store, const ProgressWatch& progress, Settings settings)
      : m_Store(store), m_Progress(progress), m_Settings(std::move(settings)) {}

  // Reports what is due: READY=1 with the first snapshot or the reason why there is none, STATUS
  // when it has changed, and WATCHDOG=1 three times within the manager's limit while there is
  // progress. Call it again after `Interval`.
  void Update();
  std::chrono::milliseconds Interval() const;
  void Stopping() const { m_Settings.m_Send("STOPPING=1\nSTATUS=stopping"); }
  // After a reload. Before the first report, that one follows.
  void Reloaded() const {
    if (m_IsReady) m_Settings.m_Send("READY=1");
  }

 private:
  void UpdateStatus();
  void FeedWatchdog();

  const SnapshotStore& m_Store;
  const ProgressWatch& m_Progress;
  const Settings m_Settings;
  bool m_IsReady = false;
  std::uint64_t m_Reported = 0;  // the snapshot's number
  std::string m_Status;
  std::optional<Clock::time_point> m_Fed;
};

// "3 cards", "no supported card found", "plug-in down: REASON"; without line breaks.
std::string StatusLine(const Snapshot& snapshot);

}  // namespace Service
