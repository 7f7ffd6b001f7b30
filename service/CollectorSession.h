// A session with the collector's plug-in, for jobs. Reads are calls to the plug-in, so they wait
// for the cards.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "console/base/Failure.h"
#include "console/plugin/CommandSession.h"
#include "service/Collector.h"
#include "service/Snapshot.h"

namespace Service {

// Returns the failure for a change during which the plug-in process exited.
Console::Failure PluginEndedFailure();

// Members that call the plug-in throw `Console::Failure` if no plug-in is running, or if the
// process from which the session got its objects has exited.
class CollectorSession : public Console::CommandSession {
 public:
  // The references must outlive the session.
  CollectorSession(const Collector& collector, const SnapshotStore& store,
                   Console::EventLogClient& eventLog, const Console::TimeLimits& limits);
  // Requests a refresh, so that the next snapshot contains the session's changes.
  ~CollectorSession() override;

  Console::PluginInfo Info() const override { return m_Snapshot->m_Info; }
  bool IsShared() const override { return true; }
  bool HasCards() const override { return m_Snapshot->m_HasCards; }
  std::size_t FailedThreads() const override { return m_Collector.FailedThreads(); }
  Console::CardRecords Cards() const override { return m_Store.Get()->m_Cards; }
  // Returns the events that the collector has logged since the last call, or since the session was
  // created.
  std::vector<HostKit::LoggedEvent> CollectEvents() override;
  using Session::WaitForNotification;
  bool WaitForNotification(std::chrono::milliseconds timeout,
                           const Console::WaitSet& extra) override;

 private:
  std::optional<Console::PluginReply> Call(Console::PluginCommand command,
                                           const Console::Deadline& deadline,
                                           Console::OnStop onStop) override;
  // The collector itself restarts a plug-in that does not respond.
  void Abandon() override {}

  const Collector& m_Collector;
  const SnapshotStore& m_Store;
  bool HasExited(const CallEnd& end) const;

  SnapshotPtr m_Snapshot;
  const pid_t m_Process;  // of the plug-in at the start of the session; -1: it was down
  std::int64_t m_LastEvent = 0;
};

}  // namespace Service
