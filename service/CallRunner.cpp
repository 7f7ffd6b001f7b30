#include "service/CallRunner.h"

#include <system_error>
#include <thread>
#include <utility>

#include "base/CancellationGuard.h"

namespace Service {
namespace {

// Idle threads beyond this number exit.
constexpr std::size_t kMaxIdleThreads = 2;

}  // namespace

struct CallRunner::Task {
  // Called on the thread of the work.
  void Run() {
    m_Call.m_Work();
    {
      const Base::MutexLock lock(m_Lock);
      m_IsDone = true;
      m_Done.NotifyAll();
      if (!m_IsGivenUp) return;
    }
    m_Call.m_OnLateReturn();
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
  const Base::MutexLock lock(m_Lock);
  if (m_IdleThreads <= m_Tasks.size()) {
    try {
      std::thread(&CallRunner::RunTasks, this).detach();
    } catch (const std::system_error&) {
      return false;
    }
  }
  m_Tasks.push_back(task);
  m_HasTask.NotifyOne();
  return true;
}

void CallRunner::RunTasks() {
  while (const TaskPtr task = NextTask()) task->Run();
}

// Waits for a task. Returns null if there are enough idle threads.
CallRunner::TaskPtr CallRunner::NextTask() {
  Base::MutexLock lock(m_Lock);
  if (m_Tasks.empty() && m_IdleThreads >= kMaxIdleThreads) return nullptr;
  ++m_IdleThreads;
  while (m_Tasks.empty()) m_HasTask.Wait(lock);
  --m_IdleThreads;
  TaskPtr task = m_Tasks.front();
  m_Tasks.pop_front();
  return task;
}

}  // namespace Service
