// Reports of the service to the service manager.
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

// Not thread-safe.
class ManagerReports {
 public:
  using Clock = ProgressWatch::Clock;

  struct Settings {
    std::function<void(const std::string&)> m_Send;       // sends text such as READY=1
    std::function<bool()> m_IsStuck;                      // whether the service must be restarted
    std::optional<std::chrono::microseconds> m_Watchdog;  // the watchdog timeout; empty: none
    std::function<Clock::time_point()> m_Now = &Clock::now;
  };

  // The store must outlive this object.
  ManagerReports(const SnapshotStore& store, Settings settings)
      : m_Store(store), m_Settings(std::move(settings)) {}

  // Sends the pending notifications: READY=1 with the first snapshot, even if it only reports a
  // failed start; STATUS when it has changed; and WATCHDOG=1 three times per watchdog timeout while
  // the collector makes progress. Call again after `Interval`.
  void Update();
  std::chrono::milliseconds Interval() const;
  void Stopping() const { m_Settings.m_Send("STOPPING=1\nSTATUS=stopping"); }
  // Call after a reload. Does nothing before the first report, which sends READY=1 anyway.
  void Reloaded() const {
    if (m_IsReady) m_Settings.m_Send("READY=1");
  }

 private:
  void UpdateStatus();
  void NotifyWatchdog();

  const SnapshotStore& m_Store;
  const Settings m_Settings;
  bool m_IsReady = false;
  std::uint64_t m_Reported = 0;  // number of the last snapshot
  std::string m_Status;
  std::optional<Clock::time_point> m_LastPing;
};

// Returns "3 cards", "no supported card found" or "plug-in down: REASON", without line breaks.
std::string StatusLine(const Snapshot& snapshot);

}  // namespace Service
