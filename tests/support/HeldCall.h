// Holds a thread in the card library until the test releases it.
#pragma once

#include <atomic>
#include <string>

#include "cardsim/cardsim.h"
#include "host/Toolkit.h"
#include "hostkit/Scheduler.h"

namespace CorvaneTest {

// Sleeps on the kit's clock, which may be virtual.
inline void Pass(std::int64_t milliseconds) {
  HostKit::SleepUntilNs(HostKit::SteadyNowNs() + milliseconds * 1'000'000);
}

// Blocks the first thread that reaches it until released. Both threads must be kit threads.
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

// Blocks the first call of a card-library function before it runs. Occupies the simulator's hook
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
