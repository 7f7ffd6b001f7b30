// For tests: inspects the kit's locks, events and threads, and injects failures. All functions are
// thread-safe.
//
// An ordinal is the position of an object among those of its kind constructed since `ResetLedger`,
// starting at 1.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/Visibility.h"

namespace HostKit {

// A snapshot of a lock.
struct HOST_API LockView {
  std::size_t ordinal;  // 0 if it was constructed before `ResetLedger`
  std::string owner;    // name of the thread that holds it; empty if free
  unsigned int depth;   // recursion depth; 0 if free
  bool initialized;     // `Init` has returned 1
  std::uint64_t taken;  // successful waits so far
};

// A snapshot of an event.
struct HOST_API EventView {
  std::size_t ordinal;  // 0 if it was constructed before `ResetLedger`
  bool initialized;     // `Init` has returned 1
  bool manualReset;
  bool set;
};

// A snapshot of a thread.
struct HOST_API ThreadView {
  std::size_t ordinal;  // 0 if it was constructed before `ResetLedger`
  bool ended;
  bool canceled;                // cancellation was requested while the thread ran
  unsigned int cancelRequests;  // calls to `Cancel`, including those after the thread ended
};

// Return the locks, events and threads that exist now, in order of construction. A thread exists
// from its start until it has ended and its object has been destroyed.
HOST_API std::vector<LockView> Locks();
HOST_API std::vector<EventView> Events();
HOST_API std::vector<ThreadView> Threads();

// Restarts the ordinals and clears all injected failures.
HOST_API void ResetLedger();

// Makes `Init` of the lock or event with that ordinal return 0.
HOST_API void FailLockInit(std::size_t ordinal);
HOST_API void FailEventInit(std::size_t ordinal);

// Makes the `nth` wait for that lock, counted from now and 1-based, return WAIT_FAILED immediately.
// The lock need not exist yet.
HOST_API void FailLockWait(std::size_t ordinal, unsigned int nth);

// Makes the `nth` call to `CThread::Create`, counted from now and 1-based, return 0, as if the
// system could not start another thread: the object then has no handle and no thread to wait for. A
// call that would fail anyway is not counted.
HOST_API void FailThreadCreate(unsigned int nth);

}  // namespace HostKit
