// Time and waiting of the kit, in three forms.
//
// Every wait of the toolkit (lock, event, sleep, thread start, end and join, `now()`) goes through
// one scheduler. A test program picks its form before it makes any lock, event or thread, and
// leaves it with none of them alive; a change of the form while a thread of the kit still runs
// throws `std::logic_error`. Virtual time always starts at 2026-01-01 00:00 UTC.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "host/Visibility.h"

namespace HostKit {

// Native threads and the machine's clock. The form at start.
HOST_API void UseRealTime();

// Native threads, and a clock that stands still while any thread of the kit runs and jumps to the
// earliest deadline when all of them wait. Days pass in seconds.
HOST_API void UseVirtualTime();

// As virtual time, but one thread at a time. Each call into the kit is a switch point, and `seed`
// decides who goes on; with a small chance a time-out fires although threads could run. The same
// seed gives the same schedule.
HOST_API void UseSeededSchedule(std::uint64_t seed);

// Called once, by the thread that waited or ended last, when every thread of the kit waits and no
// deadline is left; the text names each thread and what it waits for, a line each. The handler may
// use the kit to end the deadlock. Without a handler the process aborts with the text.
HOST_API void OnDeadlock(std::function<void(const std::string& waits)> handler);

// Makes the calling thread one of the kit's for as long as the object lives, so that virtual time
// waits for it. Threads made by `CThread`, and the one that picked the form, are so already.
class HOST_API KnownThread {
 public:
  explicit KnownThread(const char* name);
  ~KnownThread();
  KnownThread(const KnownThread&) = delete;
  KnownThread& operator=(const KnownThread&) = delete;
};

// Whether time is virtual for the calling thread: in the virtual and the seeded form, for a thread
// of the kit.
HOST_API bool OnKitTime();

// A switch point for code that has no wait of its own, such as a simulated card library.
HOST_API void SwitchPoint();

// The kit's steady clock, in nanoseconds from an arbitrary start, and a sleep until a moment of it.
HOST_API std::int64_t SteadyNowNs();
HOST_API void SleepUntilNs(std::int64_t deadlineNs);

}  // namespace HostKit
