// Blocks a thread in the card library until the test releases it.
#pragma once

#include <atomic>
#include <string>

#include "cardsim/cardsim.h"
#include "host/Toolkit.h"
#include "hostkit/Scheduler.h"

namespace CorvaneTest {

// Sleeps on the kit's clock, which may be virtual.
inline void SleepFor(std::int64_t milliseconds) {
  HostKit::SleepUntilNs(HostKit::SteadyNowNs() + milliseconds * 1'000'000);
}

// Blocks the first thread that reaches it until another thread releases it. Both must be kit
// threads.
class BlockPoint {
 public:
  BlockPoint() {
    m_Reached.Init(false, true);
    m_Released.Init(false, true);
  }

  // Called by the thread to block.
  void Block() {
    if (m_Used.exchange(true)) return;
    m_Reached.Set();
    m_Released.Wait(MBX::Threading::WAIT_INFINITE);
  }

  // Called by the test.
  void WaitUntilReached() { m_Reached.Wait(MBX::Threading::WAIT_INFINITE); }
  void Release() { m_Released.Set(); }

 private:
  std::atomic<bool> m_Used{false};
  MBX::Threading::CEvent m_Reached;
  MBX::Threading::CEvent m_Released;
};

// Blocks the first call of a card-library function before it runs. Occupies the simulator's hook
// until destroyed.
class HeldCall {
 public:
  explicit HeldCall(const std::string& function) {
    CardSim::SetHook([this, function](const CardSim::Call& call) {
      if (call.function == function) m_BlockPoint.Block();
    });
  }
  ~HeldCall() {
    m_BlockPoint.Release();
    CardSim::SetHook({});
  }
  HeldCall(const HeldCall&) = delete;
  HeldCall& operator=(const HeldCall&) = delete;

  void WaitUntilReached() { m_BlockPoint.WaitUntilReached(); }
  void Release() { m_BlockPoint.Release(); }

 private:
  BlockPoint m_BlockPoint;
};

}  // namespace CorvaneTest
