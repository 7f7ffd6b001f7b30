#include "service/CollectorSession.h"

#include <utility>

#include "console/base/Failure.h"
#include "host/Database.h"

namespace Service {

Console::Failure PluginEndedFailure() {
  return Console::Failure(
      Console::ExitCode::PluginUnusable, "PLUGIN_ENDED", "the plug-in process has exited",
      std::vector<std::string>{
          "The card may still be working, and nothing is rolled back. Check its state with show."});
}

CollectorSession::CollectorSession(const Collector& collector, const SnapshotStore& store,
                                   Console::EventLogClient& eventLog,
                                   const Console::TimeLimits& limits)
    : CommandSession(eventLog, limits),
      m_Collector(collector),
      m_Store(store),
      m_Snapshot(store.Get()),
      m_Process(m_Snapshot->m_Plugin.m_IsUp ? m_Snapshot->m_Plugin.m_Process : -1) {
  for (const auto& event : eventLog.Read(0, 1)) m_LastEvent = event.m_Number;
}

CollectorSession::~CollectorSession() {
  m_Collector.RequestRefresh();
}

std::optional<Console::PluginReply> CollectorSession::Call(Console::PluginCommand command,
                                                           const Console::Deadline& deadline,
                                                           Console::OnStop) {
  CallEnd end;
  if (HasExited(end)) throw PluginEndedFailure();
  auto reply = m_Collector.Call(command, deadline, &end);
  if (HasExited(end)) throw PluginEndedFailure();
  if (!reply && !m_Collector.IsRunning()) {
    throw Console::Failure(Console::ExitCode::PluginUnusable, "PLUGIN_DOWN",
                           "the plug-in is not running");
  }
  return reply;
}

// A plug-in without cards is restarted often, which does not end the session.
bool CollectorSession::HasExited(const CallEnd& end) const {
  if (end.m_HasExited) return true;
  const SnapshotPtr newest = m_Store.Get();
  const bool isRunning = newest->m_Plugin.m_IsUp && newest->m_Plugin.m_Process == m_Process;
  return m_Process != -1 && m_Snapshot->m_HasCards && !isRunning;
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
