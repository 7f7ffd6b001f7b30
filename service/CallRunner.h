// Runs calls that may hang on other threads, so that the caller can give up.
#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <memory>

#include "base/Mutex.h"

namespace Service {

// Thread-safe. Must not be destroyed after the first call, because idle threads keep waiting for
// calls.
class CallRunner {
 public:
  struct Call {
    std::function<void()> m_Work;  // must not throw
    // Called once, on the waiting thread, if the work has not returned in time. Must not block.
    std::function<void()> m_OnGivingUp;
    // Called on the thread that ran the work if it returns after that.
    std::function<void()> m_OnLateReturn;
  };

  // Runs the work on another thread and waits for it. Returns false if it has not returned within
  // `limit`. If no thread can be started, runs it on this thread, without a time limit.
  bool Run(Call call, std::chrono::milliseconds limit);

 private:
  struct Task;
  using TaskPtr = std::shared_ptr<Task>;

  bool Enqueue(const TaskPtr& task);
  void StartThread();
  void RunTasks();
  void SetIdle();
  void SetBusy();
  TaskPtr NextTask();

  Base::Mutex m_Lock;
  Base::ConditionVariable m_HasTask;
  std::deque<TaskPtr> m_Tasks HOST_GUARDED_BY(m_Lock);
  std::size_t m_IdleThreads HOST_GUARDED_BY(m_Lock) = 0;
};

}  // namespace Service
