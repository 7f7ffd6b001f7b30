// A session with the plug-in of a worker process.
#pragma once

#include "console/plugin/CommandSession.h"
#include "service/Worker.h"

namespace Service {

class WorkerSession : public Console::CommandSession {
 public:
  // Initializes the plug-in of the worker, which takes more than a second. Throws
  // `Console::Failure`; finding no card is not a failure. Worker and event log must outlive the
  // session.
  WorkerSession(Worker& worker, Console::EventLogClient& eventLog,
                const Console::TimeLimits& limits);

  pid_t ProcessId() const { return m_Worker.ProcessId(); }
  Console::PluginInfo Info() const override { return m_Worker.Info(); }
  std::size_t FailedThreads() const override { return m_Worker.FailedThreads(); }
  using Session::WaitForNotification;
  bool WaitForNotification(std::chrono::milliseconds timeout,
                           const Console::WaitSet& also) override;

 private:
  std::optional<Console::PluginReply> Call(Console::PluginCommand command,
                                           const Console::Deadline& deadline,
                                           Console::OnStop onStop) override;
  // Kills the process, because a hung call cannot be ended in another way.
  void Abandon() override { m_Worker.Kill(); }

  Worker& m_Worker;
};

}  // namespace Service
