#include "service/ManagerReports.h"

#include <fmt/format.h>

#include <algorithm>

#include "base/Printable.h"

namespace Service {
namespace {

using std::chrono::milliseconds;

// Short, because units that depend on the service wait for the first snapshot, which is published
// after one to two seconds.
constexpr milliseconds kIntervalUntilReady(50);
constexpr milliseconds kIntervalWhenReady(1000);
constexpr int kPingsPerTimeout = 3;

}  // namespace

void ManagerReports::Update() {
  UpdateStatus();
  NotifyWatchdog();
}

milliseconds ManagerReports::Interval() const {
  if (!m_IsReady) return kIntervalUntilReady;
  if (!m_Settings.m_Watchdog) return kIntervalWhenReady;
  const auto pingInterval =
      std::chrono::duration_cast<milliseconds>(*m_Settings.m_Watchdog / kPingsPerTimeout);
  return std::clamp(pingInterval, milliseconds(1), kIntervalWhenReady);
}

void ManagerReports::UpdateStatus() {
  const SnapshotPtr snapshot = m_Store.Get();
  if (snapshot->m_Number == m_Reported) return;
  m_Reported = snapshot->m_Number;
  std::string status = StatusLine(*snapshot);
  if (m_IsReady && status == m_Status) return;
  m_Settings.m_Send((m_IsReady ? "STATUS=" : "READY=1\nSTATUS=") + status);
  m_IsReady = true;
  m_Status = std::move(status);
}

void ManagerReports::NotifyWatchdog() {
  if (!m_Settings.m_Watchdog || m_Settings.m_IsStuck()) return;
  const auto now = m_Settings.m_Now();
  if (m_LastPing && now - *m_LastPing < *m_Settings.m_Watchdog / kPingsPerTimeout) return;
  m_Settings.m_Send("WATCHDOG=1");
  m_LastPing = now;
}

std::string StatusLine(const Snapshot& snapshot) {
  if (!snapshot.m_Plugin.m_IsUp) {
    return fmt::format("plug-in down: {}", Base::Printable(snapshot.m_Plugin.m_Reason));
  }
  if (!snapshot.m_HasCards) return "no supported card found";
  const auto cards = std::count_if(
      snapshot.m_Objects.begin(), snapshot.m_Objects.end(),
      [](const PI::CObject& object) { return object.m_ObjectType == PI::OBJECT_ADAPTER; });
  return fmt::format("{} {}", cards, cards == 1 ? "card" : "cards");
}

}  // namespace Service
