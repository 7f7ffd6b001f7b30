// Compares the host kit's event with a condition variable.
#include <benchmark/benchmark.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "host/Toolkit.h"
#include "hostkit/Scheduler.h"

namespace CorvaneBench {
namespace {

class KitEvent {
 public:
  KitEvent() { m_Event.Init(false, false); }
  void Set() { m_Event.Set(); }
  void Wait() { m_Event.Wait(MBX::Threading::WAIT_INFINITE); }

 private:
  MBX::Threading::CEvent m_Event;
};

class BareEvent {
 public:
  void Set() {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    m_Set = true;
    m_Condition.notify_one();
  }
  void Wait() {
    std::unique_lock<std::mutex> lock(m_Mutex);
    m_Condition.wait(lock, [this] { return m_Set; });
    m_Set = false;
  }

 private:
  std::mutex m_Mutex;
  std::condition_variable m_Condition;
  bool m_Set = false;
};

// Measures setting an event and then waiting for it, which does not block.
template <class Event>
void SetAndWait(benchmark::State& state) {
  HostKit::UseRealTime();
  Event event;
  for ([[maybe_unused]] auto _ : state) {
    event.Set();
    event.Wait();
  }
}

// Measures a round trip between two threads that wake each other in turn.
template <class Event>
void RoundTrip(benchmark::State& state) {
  HostKit::UseRealTime();
  Event there, back;
  std::atomic<bool> isDone{false};
  std::thread other([&] {
    for (there.Wait(); !isDone; there.Wait()) back.Set();
  });
  for ([[maybe_unused]] auto _ : state) {
    there.Set();
    back.Wait();
  }
  isDone = true;
  there.Set();
  other.join();
}

BENCHMARK(SetAndWait<KitEvent>)->Name("SetAndWait/kit");
BENCHMARK(SetAndWait<BareEvent>)->Name("SetAndWait/bare");
BENCHMARK(RoundTrip<KitEvent>)->Name("RoundTrip/kit")->UseRealTime();
BENCHMARK(RoundTrip<BareEvent>)->Name("RoundTrip/bare")->UseRealTime();

}  // namespace
}  // namespace CorvaneBench
