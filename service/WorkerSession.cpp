#include "service/WorkerSession.h"

#include <utility>

namespace Service {

WorkerSession::WorkerSession(Worker& worker, Console::EventHistory& eventHistory,
                             const Console::TimeLimits& limits)
    : CommandSession(eventHistory, limits), m_Worker(worker) {
  Start();
}

std::optional<Console::PluginReply> WorkerSession::Call(Console::PluginCommand command,
                                                        const Console::Deadline& deadline,
                                                        Console::OnStop) {
  return m_Worker.Call(command, deadline);
}

bool WorkerSession::WaitForNotification(std::chrono::milliseconds atMost,
                                        const Console::WaitSet& also) {
  return m_Worker.Notifications().Wait(atMost, also);
}

}  // namespace Service
