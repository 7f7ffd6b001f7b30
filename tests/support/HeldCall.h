// Holds a thread in the card library until the test releases it.
#pragma once

#include <atomic>
#include <string>

#include "cardsim/cardsim.h"
#include "host/Toolkit.h"
#include "hostkit/Scheduler.h"

namespace CorvaneTest {

// Sleeps in the kit's time.
inline void Pass(std::int64_t milliseconds) {
  HostKit::SleepUntilNs(HostKit::SteadyNowNs() + milliseconds * 1'000'000);
}

// A place where one thread is held once. For two threads of the kit.
class Barrier {
 public:
  Barrier() {
    m_Arrived.Init(false, true);
    m_LetGo.Init(false, true);
  }

  // Called by the thread to be held.
  void Hold() {
    if (m_Used.exchange(true)) return;
    m_Arrived.Set();
    m_LetGo.Wait(MBX::Threading::WAIT_INFINITE);
  }

  // Called by the test.
  void AwaitArrival() { m_Arrived.Wait(MBX::Threading::WAIT_INFINITE); }
  void LetGo() { m_LetGo.Set(); }

 private:
  std::atomic<bool> m_Used{false};
  MBX::Threading::CEvent m_Arrived;
  MBX::Threading::CEvent m_LetGo;
};

// Holds the first call of a function of the card library before it runs. Uses the simulator's hook
// until destroyed.
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

}  // namespace CorvaneTest
