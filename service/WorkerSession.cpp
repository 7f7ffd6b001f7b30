#include "service/WorkerSession.h"

#include <utility>

#include "console/base/Failure.h"

namespace Service {

WorkerSession::WorkerSession(Worker& worker, Console::EventLogClient& eventLog,
                             const Console::TimeLimits& limits)
    : CommandSession(eventLog, limits), m_Worker(worker) {
  Start();
}

std::optional<Console::PluginReply> WorkerSession::Call(Console::PluginCommand command,
                                                        const Console::Deadline& deadline,
                                                        Console::OnStop) {
  auto reply = m_Worker.Call(command, deadline, Worker::DuringFormat::Wait);
  if (!reply && !m_Worker.IsAlive()) {
    throw Console::Failure(Console::ExitCode::Failed, "PLUGIN_ENDED",
                           "the plug-in process has exited");
  }
  return reply;
}

bool WorkerSession::WaitForNotification(std::chrono::milliseconds timeout,
                                        const Console::WaitSet& extra) {
  return m_Worker.Notifications().Wait(timeout, extra);
}

}  // namespace Service
