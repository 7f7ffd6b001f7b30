#include "service/CollectorSession.h"

#include <utility>

#include "console/base/Failure.h"
#include "host/Database.h"

namespace Service {

CollectorSession::CollectorSession(const Collector& collector, const SnapshotStore& store,
                                   Console::EventLogClient& eventLog,
                                   const Console::TimeLimits& limits)
    : CommandSession(eventLog, limits),
      m_Collector(collector),
      m_Store(store),
      m_Snapshot(store.Get()) {
  for (const auto& event : eventLog.Read(0, 1)) m_LastEvent = event.m_Number;
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

// If the log cannot be read, returns no events; the collector reports the error on its next write.
std::vector<HostKit::LoggedEvent> CollectorSession::CollectEvents() {
  try {
    auto events = HostKit::ReadEventsAfter(m_LastEvent, Console::EventLogClient::kAll);
    if (!events.empty()) m_LastEvent = events.back().m_Number;
    return events;
  } catch (const DBEXCEPTION::DatabaseException&) {
    return {};
  }
}

bool CollectorSession::WaitForNotification(std::chrono::milliseconds timeout,
                                           const Console::WaitSet&) {
  const std::uint64_t known = m_Snapshot->m_Number;
  m_Snapshot = m_Store.AwaitNewer(known, Console::Deadline(timeout));
  return m_Snapshot->m_Number > known;
}

}  // namespace Service
