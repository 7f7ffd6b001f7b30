// The kit's time and waits, in three modes.
//
// Every wait of the toolkit (lock, event, sleep, thread start, end and join, `now()`) uses one
// scheduler. A test program selects a time mode before it constructs any lock, event or thread, and
// destroys all of them before it selects another mode. Selecting a mode while another thread of the
// kit runs throws `std::logic_error`. Virtual time always starts at 2026-01-01 00:00 UTC.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "host/Visibility.h"

namespace HostKit {

// Selects native threads and the machine's clock, which is the mode at startup.
HOST_API void UseRealTime();

// Selects native threads and a clock that stands still while any thread of the kit runs, and jumps
// to the earliest deadline when all of them are waiting. Simulating days takes seconds.
HOST_API void UseVirtualTime();

// Selects virtual time with one running thread at a time. Each call into the kit is a switch point,
// where a random generator chooses the thread that runs next; occasionally a timeout fires although
// threads could run. The same seed produces the same schedule.
HOST_API void UseSeededSchedule(std::uint64_t seed);

// Sets the handler for deadlocks, in which every thread of the kit waits and none has a deadline.
// It is called once per deadlock, on the thread that started to wait or ended last. `waits` lists
// what each thread waits for, one per line. The handler may use the kit to resolve the deadlock.
// Without a handler, or with an empty one, the message is printed and the process aborts.
HOST_API void OnDeadlock(std::function<void(const std::string& waits)> handler);

// Registers the calling thread with the kit for the lifetime of the object, so that virtual time
// waits for the thread. Threads started by `CThread`, and the thread that selected the mode, are
// already registered.
class HOST_API RegisteredThread {
 public:
  // `name` is copied and appears in deadlock reports. Destroy the object on the same thread.
  explicit RegisteredThread(const char* name);
  ~RegisteredThread();
  RegisteredThread(const RegisteredThread&) = delete;
  RegisteredThread& operator=(const RegisteredThread&) = delete;
};

// Whether time is virtual for the calling thread: the mode is virtual or seeded, and the thread is
// registered with the kit.
HOST_API bool IsOnKitTime();

// A switch point for code without waits, such as a simulated card library. Has an effect only with
// a seeded schedule.
HOST_API void SwitchPoint();

// Returns the time on the kit's steady clock, in nanoseconds since an arbitrary start.
HOST_API std::int64_t SteadyNowNs();
// Sleeps until the kit's steady clock reaches `deadlineNs`. A cancellation point.
HOST_API void SleepUntilNs(std::int64_t deadlineNs);

}  // namespace HostKit
