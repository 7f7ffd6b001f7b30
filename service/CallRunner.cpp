#include "service/CallRunner.h"

#include <system_error>
#include <thread>
#include <utility>

#include "base/CancellationGuard.h"
#include "base/ThreadName.h"

namespace Service {
namespace {

// Idle threads beyond this number exit.
constexpr std::size_t kMaxIdleThreads = 2;

}  // namespace

struct CallRunner::Task {
  // Reports the end of the work to the waiting thread. Returns whether that has given up.
  bool End() {
    Base::MutexLock lock(m_Lock);
    m_IsDone = true;
    const bool isGivenUp = m_IsGivenUp;
    lock.Unlock();  // the waiting thread would otherwise wake up only to wait for the lock
    m_Done.NotifyAll();
    return isGivenUp;
  }

  // Called on the waiting thread.
  bool Await(std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    Base::MutexLock lock(m_Lock);
    while (!m_IsDone && std::chrono::steady_clock::now() < deadline) {
      m_Done.WaitUntil(lock, deadline);
    }
    if (m_IsDone) return true;
    m_IsGivenUp = true;
    m_Call.m_OnGivingUp();  // under the lock, so that it precedes the late return
    return false;
  }

  Call m_Call;
  Base::Mutex m_Lock;
  Base::ConditionVariable m_Done;
  bool m_IsDone HOST_GUARDED_BY(m_Lock) = false;
  bool m_IsGivenUp HOST_GUARDED_BY(m_Lock) = false;
};

// The plug-in may cancel the waiting thread, which must not unwind while it holds a lock.
bool CallRunner::Run(Call call, std::chrono::milliseconds limit) {
  const Base::CancellationGuard guard;
  const auto task = std::make_shared<Task>();
  task->m_Call = std::move(call);
  if (Enqueue(task)) return task->Await(limit);
  task->m_Call.m_Work();
  return true;
}

// Returns false if no thread can run the task.
bool CallRunner::Enqueue(const TaskPtr& task) {
  Base::MutexLock lock(m_Lock);
  if (m_IdleThreads <= m_Tasks.size()) {
    try {
      StartThread();
    } catch (const std::system_error&) {
      return false;
    }
  }
  m_Tasks.push_back(task);
  lock.Unlock();
  m_HasTask.NotifyOne();
  return true;
}

void CallRunner::StartThread() {
  std::thread(&CallRunner::RunTasks, this).detach();
}

// The thread is idle before it reports the end of the work, because the caller's next
// call would otherwise start another thread.
void CallRunner::RunTasks() {
  Base::NameThread("card-call");
  SetIdle();
  while (const TaskPtr task = NextTask()) {
    task->m_Call.m_Work();
    SetIdle();
    if (!task->End()) continue;
    SetBusy();
    task->m_Call.m_OnLateReturn();
    SetIdle();
  }
}

void CallRunner::SetIdle() {
  const Base::MutexLock lock(m_Lock);
  ++m_IdleThreads;
}

// Starts another thread if a task relies on this one. If that fails, the task waits for this
// thread.
void CallRunner::SetBusy() {
  const Base::MutexLock lock(m_Lock);
  --m_IdleThreads;
  if (m_Tasks.size() <= m_IdleThreads) return;
  try {
    StartThread();
  } catch (const std::system_error&) {
  }
}

// Waits for a task. Returns null if there are enough idle threads.
CallRunner::TaskPtr CallRunner::NextTask() {
  Base::MutexLock lock(m_Lock);
  if (m_Tasks.empty() && m_IdleThreads > kMaxIdleThreads) {
    --m_IdleThreads;
    return nullptr;
  }
  while (m_Tasks.empty()) m_HasTask.Wait(lock);
  --m_IdleThreads;
  TaskPtr task = m_Tasks.front();
  m_Tasks.pop_front();
  return task;
}

}  // namespace Service
