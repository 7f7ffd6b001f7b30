// Runs functions of several threads one at a time, without holding a lock.
#pragma once

#include <exception>
#include <optional>
#include <thread>
#include <type_traits>
#include <utility>

#include "base/Mutex.h"

namespace HostKit {

// Guards members like a lock: only functions that it runs may use them. Each function runs on the
// thread that calls `Run`, or on a separate thread that `Start` has started. Thread-safe.
class HOST_CAPABILITY SerialExecutor {
 public:
  SerialExecutor() = default;
  // Calls `Stop`.
  ~SerialExecutor();
  SerialExecutor(const SerialExecutor&) = delete;
  SerialExecutor& operator=(const SerialExecutor&) = delete;

  // Waits for the functions of other threads, then runs `work`. Returns what it returns and throws
  // what it throws. `work` must not call `Run`.
  template <class Work>
  auto Run(Work work) HOST_BLOCKS HOST_NO_THREAD_SAFETY_ANALYSIS {
    using Result = std::invoke_result_t<Work&>;
    if constexpr (std::is_void_v<Result>) {
      Execute(work);
    } else {
      std::optional<Result> result;
      auto assign = [&]() HOST_NO_THREAD_SAFETY_ANALYSIS { result.emplace(work()); };
      Execute(assign);
      return std::move(*result);
    }
  }

  // Starts the thread, which runs all later functions. Throws `std::system_error`. Does nothing if
  // the thread is running. Call `Start` and `Stop` on one thread at a time.
  void Start();
  // Runs the waiting functions and ends the thread. Later functions run on their own threads.
  void Stop();

 private:
  // A function that a thread waits for. On that thread's stack, so that waiting needs no memory.
  struct Task {
    void (*m_Run)(void*);
    void* m_pWork;
    std::exception_ptr m_pFailure = nullptr;
    bool m_IsDone = false;
    Task* m_pNext = nullptr;
  };

  template <class Work>
  void Execute(Work& work) {
    Task task = {[](void* own) HOST_NO_THREAD_SAFETY_ANALYSIS { (*static_cast<Work*>(own))(); },
                 &work};
    Execute(task);
  }

  class Turn;

  void Execute(Task& task);
  bool PassToThread(Task& task);
  void RunTasks();
  Task* AwaitTask();

  Base::Mutex m_Lock;  // not held while a function runs
  Base::ConditionVariable m_Changed;
  bool m_IsRunning HOST_GUARDED_BY(m_Lock) = false;  // a function is running
  bool m_HasThread HOST_GUARDED_BY(m_Lock) = false;  // new functions run on the thread
  // The tasks that wait for the thread, oldest first.
  Task* m_pFirst HOST_GUARDED_BY(m_Lock) = nullptr;
  Task* m_pLast HOST_GUARDED_BY(m_Lock) = nullptr;

  std::thread m_Thread;
};

}  // namespace HostKit
