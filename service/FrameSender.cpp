#include "service/FrameSender.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "base/ThreadName.h"
#include "service/Frame.h"

namespace Service {

FrameSender::FrameSender(int socket, std::function<void()> onFailure)
    : m_Socket(socket), m_OnFailure(std::move(onFailure)), m_Thread(&FrameSender::Run, this) {}

FrameSender::~FrameSender() {
  {
    const Base::MutexLock lock(m_Lock);
    m_IsStopping = true;
  }
  m_Changed.NotifyOne();
  m_Thread.join();
}

bool FrameSender::Send(const nlohmann::json& document) {
  std::string frame = EncodeFrame(document);
  if (frame.empty()) return false;
  {
    const Base::MutexLock lock(m_Lock);
    if (m_IsBroken) return false;
    m_Queue.push_back(std::move(frame));
  }
  m_Changed.NotifyOne();
  return true;
}

void FrameSender::Run() {
  Base::NameThread("frame-sender");
  Base::MutexLock lock(m_Lock);
  for (;;) {
    while (!m_IsStopping && m_Queue.empty()) m_Changed.Wait(lock);
    if (m_Queue.empty()) return;
    const std::string frame = std::move(m_Queue.front());
    m_Queue.pop_front();
    lock.Unlock();
    const bool isSent = WriteFrame(m_Socket, frame);
    if (!isSent && m_OnFailure) m_OnFailure();
    lock.Lock();
    if (isSent) continue;
    m_IsBroken = true;
    m_Queue.clear();
  }
}

}  // namespace Service
