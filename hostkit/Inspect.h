// For tests: inspects the kit's locks, events and threads, and makes them fail. Callable from any
// thread.
//
// Ordinals count objects of one kind in order of construction since `ResetLedger`, from 1.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/Visibility.h"

namespace HostKit {

// A lock at one moment.
struct HOST_API LockView {
  std::size_t ordinal;  // 0 if it was constructed before `ResetLedger`
  std::string owner;    // name of the thread that holds it; empty if free
  unsigned int depth;   // recursion depth; 0 if free
  bool initialized;     // `Init` has returned 1
  std::uint64_t taken;  // successful waits so far
};

// An event at one moment.
struct HOST_API EventView {
  std::size_t ordinal;  // 0 if it was constructed before `ResetLedger`
  bool initialized;     // `Init` has returned 1
  bool manualReset;
  bool set;
};

// A thread at one moment.
struct HOST_API ThreadView {
  std::size_t ordinal;  // 0 if it was constructed before `ResetLedger`
  bool ended;
  bool canceled;                // its cancellation was requested while it ran
  unsigned int cancelRequests;  // calls of `Cancel`, including those after its end
};

// The locks, events and threads that exist now, in order of construction. A thread exists from its
// start until both the thread and its object are gone.
HOST_API std::vector<LockView> Locks();
HOST_API std::vector<EventView> Events();
HOST_API std::vector<ThreadView> Threads();

// Restarts the ordinals and cancels all requested failures.
HOST_API void ResetLedger();

// Makes `Init` of the lock or event with that ordinal return 0.
HOST_API void FailLockInit(std::size_t ordinal);
HOST_API void FailEventInit(std::size_t ordinal);

// Makes the `nth` wait of that lock from now, 1-based, return WAIT_FAILED at once. The lock need
// not exist yet.
HOST_API void FailLockWait(std::size_t ordinal, unsigned int nth);

// Makes the `nth` `CThread::Create` from now, 1-based, return 0, as if the system could start no
// more threads: the object then has no handle and no thread to wait for. A call that would fail
// anyway is not counted.
HOST_API void FailThreadCreate(unsigned int nth);

}  // namespace HostKit
