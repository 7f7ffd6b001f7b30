// A session with a plug-in that runs in a separate process.
#pragma once

#include "console/plugin/CommandSession.h"
#include "service/Worker.h"

namespace Service {

class WorkerSession : public Console::CommandSession {
 public:
  // Initializes the plug-in, which takes more than a second. Throws `Console::Failure`, but not if
  // the plug-in finds no cards. The worker and the event log must outlive the session.
  WorkerSession(Worker& worker, Console::EventLogClient& eventLog,
                const Console::TimeLimits& limits);

  pid_t ProcessId() const { return m_Worker.ProcessId(); }
  Console::PluginInfo Info() const override { return m_Worker.Info(); }
  std::size_t FailedThreads() const override { return m_Worker.FailedThreads(); }
  std::vector<Console::UnresponsiveCard> UnresponsiveCards() const override {
    return m_Worker.UnresponsiveCards();
  }
  using Session::WaitForNotification;
  bool WaitForNotification(std::chrono::milliseconds timeout,
                           const Console::WaitSet& extra) override;

 private:
  std::optional<Console::PluginReply> Call(Console::PluginCommand command,
                                           const Console::Deadline& deadline,
                                           Console::OnStop onStop) override;
  // Kills the process, because there is no other way to end a hung call.
  void Abandon() override { m_Worker.Kill(); }

  Worker& m_Worker;
};

}  // namespace Service
