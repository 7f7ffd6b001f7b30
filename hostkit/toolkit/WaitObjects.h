// The state of the toolkit's locks, events and threads.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "hostkit/toolkit/Monitor.h"

namespace HostKit {

// A recursive lock. The owner is atomic, so a thread needs no mutex to take a free lock or one that
// it already holds. Only a thread that finds the lock held by another thread is counted in
// `m_Waiters` and waits in the monitor.
struct LockState : Condition {
  LockState();
  ~LockState() override;

  // Only `Text` needs the monitor.
  bool IsMet() const override { return m_pOwner.load() == nullptr; }
  bool Take(ThreadRecord& taker) override;
  std::string Text() const override HOST_REQUIRES(g_Monitor);

  // Counts this wait, and returns true if it must fail.
  bool CountDownToFailure() HOST_EXCLUDES(g_Monitor);

  std::atomic<bool> m_Usable{false};
  std::atomic<ThreadRecord*> m_pOwner{nullptr};
  std::atomic<unsigned int> m_Depth{0};   // written by the owner only
  std::atomic<std::uint64_t> m_Taken{0};  // written by the owner only
  std::atomic<unsigned int> m_Waiters{0};
  std::atomic<bool> m_MayFail{false};

  std::size_t m_Ordinal HOST_GUARDED_BY(g_Monitor);
  // Waits left until each failure.
  std::vector<unsigned int> m_FailingWaits HOST_GUARDED_BY(g_Monitor);
};

struct EventState : Condition {
  EventState();
  ~EventState() override;

  bool IsMet() const override HOST_REQUIRES(g_Monitor) { return m_Set; }
  bool Take(ThreadRecord& taker) override HOST_REQUIRES(g_Monitor);
  std::string Text() const override HOST_REQUIRES(g_Monitor);

  std::size_t m_Ordinal HOST_GUARDED_BY(g_Monitor);
  bool m_Usable HOST_GUARDED_BY(g_Monitor) = false;
  bool m_ManualReset HOST_GUARDED_BY(g_Monitor) = false;
  bool m_Set HOST_GUARDED_BY(g_Monitor) = false;
};

// A thread as a condition that is met when the thread has ended. Shared by the thread and the
// object that created it.
struct ThreadState : Condition {
  ThreadState();
  ~ThreadState() override;

  bool IsMet() const override HOST_REQUIRES(g_Monitor) { return m_Ended; }
  bool Take(ThreadRecord&) override HOST_REQUIRES(g_Monitor) { return m_Ended; }
  std::string Text() const override;

  const std::shared_ptr<ThreadRecord> m_pRecord;
  std::size_t m_Ordinal HOST_GUARDED_BY(g_Monitor);
  bool m_Created HOST_GUARDED_BY(g_Monitor) = false;
  bool m_Ended HOST_GUARDED_BY(g_Monitor) = false;
  bool m_Canceled HOST_GUARDED_BY(g_Monitor) = false;
  unsigned int m_CancelRequests HOST_GUARDED_BY(g_Monitor) = 0;
  unsigned long m_Handle HOST_GUARDED_BY(g_Monitor) = 0;
};

}  // namespace HostKit
