#include <unistd.h>

#include <atomic>

#include "hostkit/Tracing.h"
#include "tests/hostkit/toolkit/Fixtures.h"

using namespace MBX::Threading;

namespace {

// Sets a flag when the stack is unwound.
class UnwindFlag {
 public:
  explicit UnwindFlag(std::atomic<bool>& unwound) : m_Unwound(unwound) {}
  ~UnwindFlag() { m_Unwound = true; }
  UnwindFlag(const UnwindFlag&) = delete;
  UnwindFlag& operator=(const UnwindFlag&) = delete;

 private:
  std::atomic<bool>& m_Unwound;
};

class Cancellation : public EveryTimeMode {
 protected:
  // Cancels a thread that is in `wait` and holds a lock through a guard. Expects the thread to
  // unwind and release the lock.
  void CancelDuring(const std::function<void()>& wait) {
    ReadyLock held;
    ReadyEvent started;
    std::atomic<bool> unwound{false};
    bool returned = false;
    {
      Job job([&] {
        const UnwindFlag flag(unwound);
        const CSyncGuard guard(held, WAIT_INFINITE);
        started.Set();
        wait();
        returned = true;
      });
      started.Wait(WAIT_INFINITE);
      job->Cancel();
      EXPECT_EQ(WAIT_SUCCEEDED, job->Wait(WAIT_INFINITE));
    }
    EXPECT_TRUE(unwound);
    EXPECT_FALSE(returned);
    EXPECT_EQ(WAIT_SUCCEEDED, held.Wait(0)) << "the guard has not released its lock";
    held.Release();
  }
};

TEST_P(Cancellation, EndsAWaitForAnEvent) {
  ReadyEvent event;
  CancelDuring([&] { event.Wait(WAIT_INFINITE); });
  event.Set();
  EXPECT_EQ(WAIT_SUCCEEDED, event.Wait(0)) << "the canceled wait has reset the event";
}

TEST_P(Cancellation, EndsAWaitForALock) {
  ReadyLock lock;
  lock.Wait(WAIT_INFINITE);
  CancelDuring([&] { lock.Wait(WAIT_INFINITE); });
  lock.Release();
  EXPECT_EQ(0U, HostKit::Locks().front().depth);
}

TEST_P(Cancellation, EndsAWaitForSeveralEvents) {
  ReadyEvent first, second;
  CWaiter waiter;
  waiter.Add(first);
  waiter.Add(second);
  CancelDuring([&] { waiter.Wait(WAIT_INFINITE, false); });
}

TEST_P(Cancellation, EndsAWaitForAThread) {
  ReadyEvent event;
  Job other([&] { event.Wait(WAIT_INFINITE); });
  CancelDuring([&] { other->Wait(WAIT_INFINITE); });
  EXPECT_EQ(WAIT_TIMED_OUT, other->Wait(0));
  event.Set();
}

TEST_P(Cancellation, EndsASleep) {
  CancelDuring([&] { Sleep(10'000'000); });
}

TEST_P(Cancellation, TakesEffectAtTheNextWaitOfARunningThread) {
  ReadyEvent started, event;
  std::atomic<bool> canceled{false};
  std::atomic<bool> reached{false};
  std::atomic<bool> passed{false};
  Job job([&] {
    started.Set();
    while (!canceled) HostKit::SwitchPoint();
    reached = true;
    event.Wait(0);
    passed = true;
  });
  started.Wait(WAIT_INFINITE);
  job->Cancel();
  canceled = true;
  EXPECT_EQ(WAIT_SUCCEEDED, job->Wait(WAIT_INFINITE));
  EXPECT_TRUE(reached);
  EXPECT_FALSE(passed);
}

// Code that must not be unwound disables cancellation. The kit contains such code.
TEST_P(Cancellation, IsDeferredWhileTheThreadDisablesIt) {
  ReadyEvent started, event;
  bool waited = false;
  bool slept = false;
  bool passed = false;
  Job job([&] {
    int before = 0;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
    started.Set();
    waited = event.Wait(WAIT_INFINITE) == WAIT_SUCCEEDED;
    Sleep(1);
    slept = true;
    pthread_setcancelstate(before, nullptr);
    Sleep(1);
    passed = true;
  });
  started.Wait(WAIT_INFINITE);
  job->Cancel();
  event.Set();
  EXPECT_EQ(WAIT_SUCCEEDED, job->Wait(WAIT_INFINITE));
  EXPECT_TRUE(waited);
  EXPECT_TRUE(slept);
  EXPECT_FALSE(passed);
}

TEST_P(Cancellation, DoesNotAffectAnEndedOrMissingThread) {
  CThread none;
  none.Cancel();
  EXPECT_EQ(WAIT_FAILED, none.Wait(0));
  Job job([] {});
  job->Wait(WAIT_INFINITE);
  job->Cancel();
  EXPECT_EQ(WAIT_SUCCEEDED, job->Wait(0));
  ASSERT_EQ(1U, HostKit::Threads().size());
  EXPECT_FALSE(HostKit::Threads()[0].canceled);
}

TEST_P(Cancellation, MayBeRequestedTwiceAndIsRecorded) {
  ReadyEvent event;
  Job job([&] { event.Wait(WAIT_INFINITE); });
  job->Cancel();
  job->Cancel();
  EXPECT_EQ(WAIT_SUCCEEDED, job->Wait(WAIT_INFINITE));
  EXPECT_TRUE(HostKit::Threads()[0].canceled);
  EXPECT_TRUE(HostKit::Threads()[0].ended);
}

TEST_P(Cancellation, LeavesTheEventToTheOtherWaiter) {
  ReadyEvent event;
  unsigned int result = 0;
  Job waiting([&] { result = event.Wait(WAIT_INFINITE); });
  Job canceled([&] { event.Wait(WAIT_INFINITE); });
  Sleep(5);
  canceled->Cancel();
  canceled->Wait(WAIT_INFINITE);
  event.Set();
  waiting->Wait(WAIT_INFINITE);
  EXPECT_EQ(WAIT_SUCCEEDED, result);
}

// The buffer's destructor calls the sink, so a cancellation point in the sink must not end the
// thread.
TEST_P(Cancellation, DoesNotInterruptATraceLine) {
  MBX::Misc::CModuleInfo module(1, "Module", "1", nullptr, nullptr);
  ReadyEvent started, neverSet;
  std::string seen;
  HostKit::SetTraceSink([&](const HostKit::TraceLine& line) {
    pthread_testcancel();
    seen = line.text;
  });
  Job job([&] {
    started.Set();
    while (neverSet.Wait(0) != WAIT_SUCCEEDED) {
      MBX::Internals::CTraceStreamBuffer buffer(2, module, "File.cpp", "Function", 1);
      buffer.Append("a line");
    }
  });
  started.Wait(WAIT_INFINITE);
  job->Cancel();
  EXPECT_EQ(WAIT_SUCCEEDED, job->Wait(WAIT_INFINITE));
  HostKit::SetTraceSink({});
  EXPECT_TRUE(seen.empty() || seen == "a line");
}

IN_EVERY_TIME_MODE(Cancellation);

TEST(RealCancellation, EndsABlockedNativeCall) {
  HostKit::UseRealTime();
  int ends[2];
  ASSERT_EQ(0, pipe(ends));
  std::atomic<bool> unwound{false};
  {
    Job job([&] {
      const UnwindFlag flag(unwound);
      char byte = 0;
      while (read(ends[0], &byte, 1) != 1) {
      }
    });
    job->Cancel();
    EXPECT_EQ(WAIT_SUCCEEDED, job->Wait(WAIT_INFINITE));
  }
  EXPECT_TRUE(unwound);
  close(ends[0]);
  close(ends[1]);
}

// Cancels the thread while the sink processes a line.
TEST(RealCancellation, DoesNotInterruptASink) {
  HostKit::UseRealTime();
  MBX::Misc::CModuleInfo module(1, "Module", "1", nullptr, nullptr);
  std::atomic<bool> inSink{false}, canceled{false}, finished{false}, passed{false};
  HostKit::SetTraceSink([&](const HostKit::TraceLine&) {
    inSink = true;
    while (!canceled) usleep(100);
    pthread_testcancel();
    finished = true;
  });
  ReadyEvent event;
  Job job([&] {
    { const MBX::Internals::CTraceStreamBuffer line(2, module, "File.cpp", "Function", 1); }
    event.Wait(0);
    passed = true;
  });
  while (!inSink) usleep(100);
  job->Cancel();
  canceled = true;
  EXPECT_EQ(WAIT_SUCCEEDED, job->Wait(WAIT_INFINITE));
  HostKit::SetTraceSink({});
  EXPECT_TRUE(finished);
  EXPECT_FALSE(passed);
}

}  // namespace
