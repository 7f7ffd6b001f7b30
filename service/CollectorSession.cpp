#include "service/CollectorSession.h"

#include <algorithm>
#include <utility>

#include "console/base/Failure.h"

namespace Service {
namespace {

// More than the cards of one machine can cause between two calls.
constexpr std::size_t kNewest = 1000;

}  // namespace

CollectorSession::CollectorSession(const Collector& collector, const SnapshotStore& store,
                                   Console::EventLogClient& eventLog,
                                   const Console::TimeLimits& limits)
    : CommandSession(eventLog, limits),
      m_Collector(collector),
      m_Store(store),
      m_EventLog(eventLog),
      m_Snapshot(store.Get()) {
  for (const auto& event : m_EventLog.Read(0, 1)) m_LastEvent = event.m_Number;
}

CollectorSession::~CollectorSession() {
  m_Collector.RequestRefresh();
}

std::optional<Console::PluginReply> CollectorSession::Call(Console::PluginCommand command,
                                                           const Console::Deadline& deadline,
                                                           Console::OnStop) {
  auto reply = m_Collector.Call(command, deadline);
  if (!reply && !m_Collector.IsRunning()) {
    throw Console::Failure(Console::ExitCode::PluginUnusable, "PLUGIN_DOWN",
                           "the plug-in is not running");
  }
  return reply;
}

std::vector<HostKit::LoggedEvent> CollectorSession::CollectEvents() {
  std::vector<HostKit::LoggedEvent> events = m_EventLog.Read(0, kNewest);
  const auto isOld = [this](const auto& event) { return event.m_Number <= m_LastEvent; };
  events.erase(std::remove_if(events.begin(), events.end(), isOld), events.end());
  if (!events.empty()) m_LastEvent = events.back().m_Number;
  return events;
}

bool CollectorSession::WaitForNotification(std::chrono::milliseconds atMost,
                                           const Console::WaitSet&) {
  const std::uint64_t known = m_Snapshot->m_Number;
  m_Snapshot = m_Store.AwaitNewer(known, Console::Deadline(atMost));
  return m_Snapshot->m_Number > known;
}

}  // namespace Service
