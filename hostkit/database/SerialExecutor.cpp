#include "hostkit/database/SerialExecutor.h"

#include "base/ThreadName.h"

namespace HostKit {

// The right to run a function. Waits until no other function is running.
class SerialExecutor::Turn {
 public:
  explicit Turn(SerialExecutor& executor) : m_Executor(executor) {
    Base::MutexLock lock(m_Executor.m_Lock);
    while (m_Executor.m_IsRunning) m_Executor.m_Changed.Wait(lock);
    m_Executor.m_IsRunning = true;
  }
  ~Turn() {
    const Base::MutexLock lock(m_Executor.m_Lock);
    m_Executor.m_IsRunning = false;
    m_Executor.m_Changed.NotifyAll();
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

 private:
  SerialExecutor& m_Executor;
};

SerialExecutor::~SerialExecutor() {
  Stop();
}

void SerialExecutor::Start() {
  const Base::MutexLock lock(m_Lock);
  if (m_HasThread) return;
  m_Thread = std::thread(&SerialExecutor::RunTasks, this);
  m_HasThread = true;
}

void SerialExecutor::Stop() {
  {
    const Base::MutexLock lock(m_Lock);
    m_HasThread = false;
    m_Changed.NotifyAll();
  }
  if (m_Thread.joinable()) m_Thread.join();
}

void SerialExecutor::Execute(Task& task) {
  if (PassToThread(task)) {
    if (task.m_pFailure) std::rethrow_exception(task.m_pFailure);
    return;
  }
  const Turn turn(*this);
  task.m_Run(task.m_pWork);
}

// Waits until the thread has run the task. Returns false if there is no thread.
bool SerialExecutor::PassToThread(Task& task) {
  Base::MutexLock lock(m_Lock);
  if (!m_HasThread) return false;
  (m_pFirst == nullptr ? m_pFirst : m_pLast->m_pNext) = &task;
  m_pLast = &task;
  m_Changed.NotifyAll();
  while (!task.m_IsDone) m_Changed.Wait(lock);
  return true;
}

void SerialExecutor::RunTasks() {
  Base::NameThread("database");
  while (Task* const task = AwaitTask()) {
    try {
      const Turn turn(*this);
      task->m_Run(task->m_pWork);
    } catch (...) {
      task->m_pFailure = std::current_exception();
    }
    const Base::MutexLock lock(m_Lock);
    task->m_IsDone = true;
    m_Changed.NotifyAll();
  }
}

// Removes the oldest task from the queue. Returns null if the queue is empty and the thread must
// end.
SerialExecutor::Task* SerialExecutor::AwaitTask() {
  Base::MutexLock lock(m_Lock);
  while (m_HasThread && m_pFirst == nullptr) m_Changed.Wait(lock);
  Task* const task = m_pFirst;
  if (task != nullptr) m_pFirst = task->m_pNext;
  return task;
}

}  // namespace HostKit
