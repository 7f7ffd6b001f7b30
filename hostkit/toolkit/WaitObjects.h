// What stands behind the toolkit's lock, event and thread.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "hostkit/toolkit/Monitor.h"

namespace HostKit {

// A recursive lock. Free, and taken again by its owner, it costs no mutex: the owner is an atomic,
// and only a thread that found it taken is counted in `m_Waiters` and goes through the monitor.
struct LockState : Condition {
  LockState();
  ~LockState() override;

  bool Met() const override { return m_pOwner.load() == nullptr; }
  bool Take(ThreadRecord& taker) override;
  std::string Text() const override;

  // Counts this wait against the failures that were ordered.
  bool FailsNow();

  std::size_t m_Ordinal;  // guarded
  std::atomic<bool> m_Usable{false};
  std::atomic<ThreadRecord*> m_pOwner{nullptr};
  std::atomic<unsigned int> m_Depth{0};   // written by the owner only
  std::atomic<std::uint64_t> m_Taken{0};  // written by the owner only
  std::atomic<unsigned int> m_Waiters{0};
  std::atomic<bool> m_MayFail{false};
  std::vector<unsigned int> m_FailingWaits;  // guarded: waits to go until each failure
};

struct EventState : Condition {
  EventState();
  ~EventState() override;

  bool Met() const override { return m_Set; }
  bool Take(ThreadRecord& taker) override;
  std::string Text() const override;

  std::size_t m_Ordinal;  // guarded, as all below
  bool m_Usable = false;
  bool m_ManualReset = false;
  bool m_Set = false;
};

// The end of a thread can be waited for. Shared by the thread and the object that made it.
struct ThreadState : Condition {
  ThreadState();
  ~ThreadState() override;

  bool Met() const override { return m_Ended; }
  bool Take(ThreadRecord&) override { return m_Ended; }
  std::string Text() const override;

  std::size_t m_Ordinal;  // guarded, as all below
  bool m_Created = false;
  bool m_Ended = false;
  bool m_Canceled = false;
  unsigned int m_CancelRequests = 0;
  unsigned long m_Handle = 0;
  std::shared_ptr<ThreadRecord> m_pRecord;
};

}  // namespace HostKit
