#include "service/state/StateThread.h"

#include <exception>

#include "base/ThreadName.h"

namespace Service {

StateThread::StateThread(std::function<void(const std::string&)> onFailure)
    : m_OnFailure(std::move(onFailure)), m_Thread(&StateThread::Run, this) {}

StateThread::~StateThread() {
  Stop();
}

void StateThread::Stop() {
  {
    const Base::MutexLock lock(m_Lock);
    m_IsStopping = true;
  }
  m_Changed.NotifyAll();
  if (m_Thread.joinable()) m_Thread.join();
}

bool StateThread::AddTask(std::function<void()> task) {
  {
    const Base::MutexLock lock(m_Lock);
    if (m_IsStopping || m_Queue.size() >= kMaxQueued) return false;
    m_Queue.push_back(std::move(task));
  }
  m_Changed.NotifyOne();
  return true;
}

std::string StateThread::Try(Kind kind, const std::function<void()>& work) {
  try {
    work();
    if (kind == Kind::Change) m_Reported.clear();
    return {};
  } catch (const std::exception& failure) {
    std::string reason = failure.what();
    if (reason.empty()) reason = "unknown error";
    if (m_Reported.insert(reason).second) m_OnFailure(reason);
    return reason;
  }
}

void StateThread::Run() {
  Base::NameThread("state");
  Base::MutexLock lock(m_Lock);
  for (;;) {
    while (!m_IsStopping && m_Queue.empty()) m_Changed.Wait(lock);
    if (m_Queue.empty()) return;
    const std::function<void()> task = std::move(m_Queue.front());
    m_Queue.pop_front();
    lock.Unlock();
    task();
    lock.Lock();
  }
}

}  // namespace Service
