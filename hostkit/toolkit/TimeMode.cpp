#include <utility>

#include "hostkit/Scheduler.h"
#include "hostkit/toolkit/Monitor.h"
#include "hostkit/toolkit/RealScheduler.h"
#include "hostkit/toolkit/SeededScheduler.h"
#include "hostkit/toolkit/VirtualScheduler.h"

namespace HostKit {

void UseRealTime() {
  Monitor::Get().SelectMode(RealTime(), 0);
}

void UseVirtualTime() {
  Monitor::Get().SelectMode(VirtualTime(), 0);
}

void UseSeededSchedule(std::uint64_t seed) {
  Monitor::Get().SelectMode(SeededTime(), seed);
}

void OnDeadlock(std::function<void(const std::string& waits)> handler) {
  Monitor::Get().SetDeadlockHandler(std::move(handler));
}

KnownThread::KnownThread(const char* name) {
  Monitor& monitor = Monitor::Get();
  ThreadRecord& self = Monitor::Self();
  MonitorLock lock;
  if (self.knownDepth == 0) self.name = name;
  monitor.Join(lock, self);
  if (self.knownDepth == 1) monitor.Scheduler().Begin(lock, self);
}

KnownThread::~KnownThread() {
  Monitor& monitor = Monitor::Get();
  MonitorLock lock;
  monitor.Leave(lock, Monitor::Self());
}

void SwitchPoint() {
  Monitor::Get().SwitchPoint();
}

bool IsOnKitTime() {
  return !Monitor::Get().Scheduler().IsReal() && Monitor::Self().knownDepth > 0;
}

}  // namespace HostKit
