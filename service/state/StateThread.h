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

  // Starts the thread, which calls `onFailure` with the reason for a failure. Each reason is
  // reported once, until a change succeeds. `onFailure` must not throw.
  explicit StateThread(std::function<void(const std::string&)> onFailure);
  ~StateThread();
  StateThread(const StateThread&) = delete;
  StateThread& operator=(const StateThread&) = delete;

  // Queues `work(StateStore&)`, which returns a value. After the functions queued before it, the
  // thread calls `work` and then `done(StateOutcome<Result>)`, with no lock held. `done` must not
  // throw; it may call `Change` and `Read`. Both functions must be copyable. Returns false if the
  // queue is full or the thread is stopping; neither function is called then.
  template <class Work, class Done>
  bool Change(Work work, Done done) {
    return Add(Kind::Change, std::move(work), std::move(done));
  }
  // Like `Change`, for a function that changes nothing.
  template <class Work, class Done>
  bool Read(Work work, Done done) {
    return Add(Kind::Read, std::move(work), std::move(done));
  }

  // Runs the queued functions and ends the thread. Must not be called by a function that runs on
  // it.
  void Stop();

 private:
  // Only a successful change shows that the file can be written.
  enum class Kind { Read, Change };

  template <class Work, class Done>
  bool Add(Kind kind, Work work, Done done) {
    using Result = std::invoke_result_t<Work&, StateStore&>;
    return Enqueue([this, kind, work = std::move(work), done = std::move(done)]() mutable {
      StateOutcome<Result> outcome;
      outcome.m_Failure = Try(kind, [&] { outcome.m_Result = work(m_Store); });
      done(std::move(outcome));
    });
  }

  bool Enqueue(std::function<void()> task);
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
