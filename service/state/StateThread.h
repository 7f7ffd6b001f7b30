// The only thread that uses the stored state. Other threads queue functions for it, so that the
// server's threads never wait for the disk.
#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>

#include "base/Mutex.h"
#include "service/state/StateStore.h"

namespace Service {

// The result of a function, or the reason for its failure.
template <class Result>
struct StateOutcome {
  std::optional<Result> m_Result;
  std::string m_Failure;  // human-readable; empty if there is a result
};

// Thread-safe.
class StateThread {
 public:
  static constexpr std::size_t kMaxQueued = 256;

  // Starts the thread, which calls `onFailure` with the reason for a failure. A reason is not
  // reported again until a change has succeeded. `onFailure` must not throw.
  explicit StateThread(std::function<void(const std::string&)> onFailure);
  ~StateThread();
  StateThread(const StateThread&) = delete;
  StateThread& operator=(const StateThread&) = delete;

  // Queues a function that changes the state, and returns immediately. The thread calls
  // `work(StateStore&)`, which returns a value, and then `done(StateOutcome<Result>)`, with no lock
  // held; calls run in the order in which they were queued. `done` must not throw; it may queue
  // further functions. Both functions must be copyable. Returns false, and calls neither function,
  // if the queue is full or the thread is stopping.
  template <class Work, class Done>
  bool QueueChange(Work work, Done done) {
    return Queue(Kind::Change, std::move(work), std::move(done));
  }
  // Like `QueueChange`, for a function that changes nothing.
  template <class Work, class Done>
  bool QueueRead(Work work, Done done) {
    return Queue(Kind::Read, std::move(work), std::move(done));
  }

  // Runs the queued functions and ends the thread. Must not be called by a function that runs on
  // this thread.
  void Stop();

 private:
  // A read does not prove that the file is writable, so only a successful change allows a reason
  // to be reported again.
  enum class Kind { Read, Change };

  template <class Work, class Done>
  bool Queue(Kind kind, Work work, Done done) {
    using Result = std::invoke_result_t<Work&, StateStore&>;
    return AddTask([this, kind, work = std::move(work), done = std::move(done)]() mutable {
      StateOutcome<Result> outcome;
      outcome.m_Failure = Try(kind, [&] { outcome.m_Result = work(m_Store); });
      done(std::move(outcome));
    });
  }

  // Returns false if the queue is full or the thread is stopping.
  bool AddTask(std::function<void()> task);
  // Calls `work`. Returns an empty string on success, or the reason for the failure, which it
  // reports if new.
  std::string Try(Kind kind, const std::function<void()>& work);
  void Run();

  const std::function<void(const std::string&)> m_OnFailure;

  // Used only by the thread.
  StateStore m_Store;
  std::set<std::string> m_Reported;

  Base::Mutex m_Lock;
  Base::ConditionVariable m_Changed;
  std::deque<std::function<void()>> m_Queue HOST_GUARDED_BY(m_Lock);
  bool m_IsStopping HOST_GUARDED_BY(m_Lock) = false;

  std::thread m_Thread;
};

}  // namespace Service
