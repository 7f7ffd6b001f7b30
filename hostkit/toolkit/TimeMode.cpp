#include <utility>

#include "hostkit/Scheduler.h"
#include "hostkit/toolkit/Monitor.h"
#include "hostkit/toolkit/RealScheduler.h"
#include "hostkit/toolkit/SeededScheduler.h"
#include "hostkit/toolkit/VirtualScheduler.h"

namespace HostKit {

void UseRealTime() {
  Monitor::Get().SelectMode(RealTimeScheduler(), 0);
}

void UseVirtualTime() {
  Monitor::Get().SelectMode(VirtualTimeScheduler(), 0);
}

void UseSeededSchedule(std::uint64_t seed) {
  Monitor::Get().SelectMode(SeededTimeScheduler(), seed);
}

void OnDeadlock(std::function<void(const std::string& waits)> handler) {
  Monitor::Get().SetDeadlockHandler(std::move(handler));
}

RegisteredThread::RegisteredThread(const char* name) {
  Monitor& monitor = Monitor::Get();
  ThreadRecord& self = Monitor::Self();
  MonitorLock lock;
  if (self.registrations == 0) self.name = name;
  monitor.RegisterThread(lock, self);
  if (self.registrations == 1) monitor.Scheduler().Begin(lock, self);
}

RegisteredThread::~RegisteredThread() {
  Monitor& monitor = Monitor::Get();
  MonitorLock lock;
  monitor.UnregisterThread(lock, Monitor::Self());
}

void SwitchPoint() {
  Monitor::Get().SwitchPoint();
}

bool IsOnKitTime() {
  return !Monitor::Get().Scheduler().IsReal() && Monitor::Self().registrations > 0;
}

}  // namespace HostKit
