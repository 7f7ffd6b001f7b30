// The one thread that uses the state: whoever needs it gives the thread a function, so that no
// request ever waits for the disk.
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

// What a function returned, or why it failed.
template <class Result>
struct StateOutcome {
  std::optional<Result> m_Result;
  std::string m_Failure;  // for people; empty if there is a result
};

// Any thread may call its members, unless they say otherwise.
class StateThread {
 public:
  static constexpr std::size_t kMostQueued = 256;

  // Starts the thread. `onFailure` is called by it with the reason of a failure, once for each
  // reason until a change succeeds. It must not throw.
  explicit StateThread(std::function<void(const std::string&)> onFailure);
  ~StateThread();
  StateThread(const StateThread&) = delete;
  StateThread& operator=(const StateThread&) = delete;

  // Runs `work(StateStore&)`, which returns a value, on the thread, after everything given before;
  // then calls `done(StateOutcome<Result>)` there, with no lock held. `done` must not throw, and
  // may call `Change` and `Read`. False: the queue is full or the thread is stopping, and neither
  // is called. Both must be copyable.
  template <class Work, class Done>
  bool Change(Work work, Done done) {
    return Add(Kind::Change, std::move(work), std::move(done));
  }
  // The same for a function that changes nothing.
  template <class Work, class Done>
  bool Read(Work work, Done done) {
    return Add(Kind::Read, std::move(work), std::move(done));
  }

  // Finishes what is queued and ends the thread. Not for a function that runs on it.
  void Stop();

 private:
  // A read that succeeds does not show that the file can be written.
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
  // The reason of the failure, which was reported if it is new; else empty.
  std::string Try(Kind kind, const std::function<void()>& work);
  void Run();

  const std::function<void(const std::string&)> m_OnFailure;

  // For the thread alone.
  StateStore m_Store;
  std::set<std::string> m_Reported;

  Base::Mutex m_Lock;
  Base::ConditionVariable m_Changed;
  std::deque<std::function<void()>> m_Queue HOST_GUARDED_BY(m_Lock);
  bool m_IsStopping HOST_GUARDED_BY(m_Lock) = false;

  std::thread m_Thread;
};

}  // namespace Service
