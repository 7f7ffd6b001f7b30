// A session with the plug-in that the collector holds, for jobs: reads wait for the cards.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "console/plugin/CommandSession.h"
#include "service/Collector.h"
#include "service/Snapshot.h"

namespace Service {

// Each member throws `Console::Failure` if no plug-in is running.
class CollectorSession : public Console::CommandSession {
 public:
  // All of them must outlive the session.
  CollectorSession(const Collector& collector, const SnapshotStore& store,
                   Console::EventLogClient& eventLog, const Console::TimeLimits& limits);
  // Makes the collector read what has changed.
  ~CollectorSession() override;

  Console::PluginInfo Info() const override { return m_Snapshot->m_Info; }
  bool HasCards() const override { return m_Snapshot->m_HasCards; }
  std::size_t LostThreads() const override { return m_Collector.LostThreads(); }
  // The events that the collector has logged since the session began or the last call.
  std::vector<HostKit::LoggedEvent> CollectEvents() override;
  using Session::WaitForNotification;
  bool WaitForNotification(std::chrono::milliseconds timeout,
                           const Console::WaitSet& also) override;

 private:
  std::optional<Console::PluginReply> Call(Console::PluginCommand command,
                                           const Console::Deadline& deadline,
                                           Console::OnStop onStop) override;
  // The collector itself replaces a plug-in that does not respond.
  void Abandon() override {}

  const Collector& m_Collector;
  const SnapshotStore& m_Store;
  SnapshotPtr m_Snapshot;
  std::int64_t m_LastEvent = 0;
};

}  // namespace Service
