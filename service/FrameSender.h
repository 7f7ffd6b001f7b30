// The thread that writes to the socket between the two processes of the service.
#pragma once

#include <deque>
#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <thread>

#include "base/Mutex.h"

namespace Service {

// Sends documents as frames, in the order in which they were queued. Only its thread writes to the
// socket, so that no other thread waits for a process that does not read. Thread-safe.
class FrameSender {
 public:
  // Starts the thread. Throws `std::system_error` if it cannot be started. The caller keeps
  // ownership of the descriptor, which must outlive the sender. If a frame cannot be sent, the
  // thread calls `onFailure`, if it is set, and drops all later frames.
  explicit FrameSender(int socket, std::function<void()> onFailure = nullptr);
  // Sends the queued frames and ends the thread.
  ~FrameSender();
  FrameSender(const FrameSender&) = delete;
  FrameSender& operator=(const FrameSender&) = delete;

  // Queues the document and returns immediately. Returns false if it is too large or an earlier
  // frame could not be sent.
  bool Send(const nlohmann::json& document);

 private:
  void Run();

  const int m_Socket;
  const std::function<void()> m_OnFailure;

  Base::Mutex m_Lock;
  Base::ConditionVariable m_Changed;
  std::deque<std::string> m_Queue HOST_GUARDED_BY(m_Lock);  // encoded frames
  bool m_IsBroken HOST_GUARDED_BY(m_Lock) = false;
  bool m_IsStopping HOST_GUARDED_BY(m_Lock) = false;

  std::thread m_Thread;
};

}  // namespace Service
