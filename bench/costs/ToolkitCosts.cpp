// The toolkit: events, trace lines, and the search for PCI devices.
#include <sched.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/null_sink.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "Corvane/Src/Trace.h"
#include "bench/costs/Costs.h"
#include "host/Toolkit.h"
#include "hostkit/Scheduler.h"
#include "hostkit/Tracing.h"

namespace CorvaneBench {
namespace {

class KitEvent {
 public:
  KitEvent() {
    m_Event.Init(false, false);
    m_Waiter.Add(m_Event);
  }
  void Set() { m_Event.Set(); }
  void Wait() { m_Waiter.Wait(MBX::Threading::WAIT_INFINITE, false); }

 private:
  MBX::Threading::CEvent m_Event;
  MBX::Threading::CWaiter m_Waiter;
};

class BareEvent {
 public:
  void Set() {
    {
      const std::lock_guard<std::mutex> lock(m_Mutex);
      m_Set = true;
    }
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

// A thread that answers each call of `RoundTrip`. All threads run on at most `cores` cores.
template <class Event>
class Partner {
 public:
  explicit Partner(int cores) : m_Thread([this, cores] { Answer(cores); }), m_Cores(cores) {}
  ~Partner() {
    m_IsDone = true;
    m_There.Set();
    m_Thread.join();
  }
  Partner(const Partner&) = delete;
  Partner& operator=(const Partner&) = delete;

  void RoundTrips() {
    Confine(m_Cores);
    for (int i = 0; i < kRoundTrips; ++i) {
      m_There.Set();
      m_Back.Wait();
    }
  }

 private:
  static constexpr int kRoundTrips = 200;

  static void Confine(int cores) {
    cpu_set_t set;
    CPU_ZERO(&set);
    for (int core = 0; core < cores; ++core) CPU_SET(core, &set);
    sched_setaffinity(0, sizeof set, &set);
  }

  void Answer(int cores) {
    Confine(cores);
    for (m_There.Wait(); !m_IsDone; m_There.Wait()) m_Back.Set();
  }

  Event m_There;
  Event m_Back;
  std::atomic<bool> m_IsDone{false};
  std::thread m_Thread;
  const int m_Cores;
};

// Two threads that wake each other in turn.
Comparison WakeUp(int cores) {
  HostKit::UseRealTime();
  const auto kit = std::make_shared<Partner<KitEvent>>(cores);
  const auto bare = std::make_shared<Partner<BareEvent>>(cores);
  return {Repeated([kit] { kit->RoundTrips(); }), Repeated([bare] { bare->RoundTrips(); })};
}

template <class Event>
Sample SetAndWait() {
  const auto event = std::make_shared<Event>();
  return Repeated([event] {
    event->Set();
    event->Wait();
  });
}

// Setting an event and then waiting for it, which does not block.
Comparison AlreadySet(int) {
  HostKit::UseRealTime();
  return {SetAndWait<KitEvent>(), SetAndWait<BareEvent>()};
}

// A trace line that is formatted and then dropped.
Comparison TraceLine(int) {
  HostKit::UseRealTime();
  HostKit::SetTraceMask(NAMESPACE_Corvane::TRACE_RESULT);
  HostKit::SetTraceSink([](const HostKit::TraceLine&) {});
  const auto log =
      std::make_shared<spdlog::logger>("corvane", std::make_shared<spdlog::sinks::null_sink_st>());
  const std::string path = "/dev/fct0";
  return {Repeated([path] {
            TRACE(NAMESPACE_Corvane::TRACE_RESULT, "ScanSystem, vsl_open = %d (%s)", 27, path);
          }),
          Repeated([log, path] {
            const spdlog::source_loc location{__FILE__, __LINE__, __func__};
            log->log(location, spdlog::level::info, "ScanSystem, vsl_open = {} ({})", 27, path);
          })};
}

}  // namespace

const std::vector<Row>& ToolkitRows() {
  static const std::vector<Row> rows = {
      {"trace-line", {1}, Result::Ratio, {1.5}, TraceLine},
      {"event-already-set", {1}, Result::Ratio, {2}, AlreadySet},
      {"wake-up", {1, 2}, Result::Ratio, {1.1, 1.1}, WakeUp},
  };
  return rows;
}

}  // namespace CorvaneBench
