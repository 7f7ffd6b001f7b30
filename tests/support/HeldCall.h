// Holds a thread inside the card library, or at one of its trace lines, until a test lets it go.
#pragma once

#include <atomic>
#include <string>

#include "cardsim/cardsim.h"
#include "host/Toolkit.h"
#include "hostkit/Scheduler.h"
#include "hostkit/Tracing.h"

namespace CorvaneTest {

// Lets `milliseconds` of the kit's time pass.
inline void Pass(std::int64_t milliseconds) {
  HostKit::SleepUntilNs(HostKit::SteadyNowNs() + milliseconds * 1'000'000);
}

// A place where one thread is stopped once. For use by two threads of the kit.
class Barrier {
 public:
  Barrier() {
    m_Arrived.Init(false, true);
    m_LetGo.Init(false, true);
  }

  // By the thread that is to be held.
  void Hold() {
    if (m_Used.exchange(true)) return;
    m_Arrived.Set();
    m_LetGo.Wait(MBX::Threading::WAIT_INFINITE);
  }

  // By the test.
  void AwaitArrival() { m_Arrived.Wait(MBX::Threading::WAIT_INFINITE); }
  void LetGo() { m_LetGo.Set(); }

 private:
  std::atomic<bool> m_Used{false};
  MBX::Threading::CEvent m_Arrived;
  MBX::Threading::CEvent m_LetGo;
};

// Stops the first call of a function of the card library at its begin. Takes the simulator's hook
// for as long as it lives.
class HeldCall {
 public:
  explicit HeldCall(const std::string& function) {
    CardSim::SetHook([this, function](const CardSim::Call& call) {
      if (call.function == function) m_Barrier.Hold();
    });
  }
  ~HeldCall() {
    m_Barrier.LetGo();
    CardSim::SetHook({});
  }
  HeldCall(const HeldCall&) = delete;
  HeldCall& operator=(const HeldCall&) = delete;

  void AwaitArrival() { m_Barrier.AwaitArrival(); }
  void LetGo() { m_Barrier.LetGo(); }

 private:
  Barrier m_Barrier;
};

// Stops the first thread that writes a trace line of that text. Tracing is off from then on, since
// the log is held too; no other thread may write a line when it arrives.
class HeldTrace {
 public:
  explicit HeldTrace(const std::string& text) {
    HostKit::SetTraceSink([this, text](const HostKit::TraceLine& line) {
      if (line.text != text) return;
      HostKit::SetTraceMask(0);
      m_Barrier.Hold();
    });
  }
  ~HeldTrace() {
    m_Barrier.LetGo();
    HostKit::SetTraceSink({});
  }
  HeldTrace(const HeldTrace&) = delete;
  HeldTrace& operator=(const HeldTrace&) = delete;

  void AwaitArrival() { m_Barrier.AwaitArrival(); }
  void LetGo() { m_Barrier.LetGo(); }

 private:
  Barrier m_Barrier;
};

}  // namespace CorvaneTest
