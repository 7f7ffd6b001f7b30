// The kit's time and waits, in three modes.
//
// Every wait of the toolkit (lock, event, sleep, thread start, end and join, `now()`) uses one
// scheduler. A test program selects a time mode before it constructs any lock, event or thread, and
// the next one after they are gone. Selecting a mode while another thread of the kit runs throws
// `std::logic_error`. Virtual time always starts at 2026-01-01 00:00 UTC.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "host/Visibility.h"

namespace HostKit {

// Native threads and the machine's clock. The mode at startup.
HOST_API void UseRealTime();

// Native threads, and a clock that pauses while any thread of the kit runs and jumps to the
// earliest deadline when all of them wait. Days pass in seconds.
HOST_API void UseVirtualTime();

// Like virtual time, but one thread runs at a time. Each call into the kit is a switch point, where
// `seed` decides which thread runs next; now and then a timeout fires although threads could run.
// The same seed gives the same schedule.
HOST_API void UseSeededSchedule(std::uint64_t seed);

// Sets what is called when every thread of the kit waits and no deadline is left: once per
// deadlock, on the thread that waited or ended last. `waits` says what each thread waits for, one
// per line. The handler may use the kit to end the deadlock. Without a handler, or with an empty
// one, the text is printed and the process aborts.
HOST_API void OnDeadlock(std::function<void(const std::string& waits)> handler);

// Makes the calling thread one of the kit's as long as the object lives, so that virtual time waits
// for it. Threads started by `CThread`, and the one that selected the mode, already are.
class HOST_API KnownThread {
 public:
  // `name` is copied and appears in the text of a deadlock. Destroy the object on the same thread.
  explicit KnownThread(const char* name);
  ~KnownThread();
  KnownThread(const KnownThread&) = delete;
  KnownThread& operator=(const KnownThread&) = delete;
};

// Whether time is virtual for the calling thread: in the virtual and the seeded mode, if it is one
// of the kit's.
HOST_API bool OnKitTime();

// A switch point for code without waits, such as a simulated card library. Does nothing in the
// other modes.
HOST_API void SwitchPoint();

// The kit's steady clock, in nanoseconds from an arbitrary start.
HOST_API std::int64_t SteadyNowNs();
// Sleeps until that clock shows `deadlineNs`. A cancellation point.
HOST_API void SleepUntilNs(std::int64_t deadlineNs);

}  // namespace HostKit
