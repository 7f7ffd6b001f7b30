// What a test may see of the kit's locks, events and threads, and how it makes them fail.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/Visibility.h"

namespace HostKit {

struct HOST_API LockView {
  std::size_t ordinal;  // in order of construction since `ResetLedger`, from 1; 0 if made before
  std::string owner;    // name of the thread that holds it; empty when free
  unsigned int depth;   // 0 when free
  bool initialized;
  std::uint64_t taken;  // waits that succeeded since it was made
};

struct HOST_API EventView {
  std::size_t ordinal;
  bool initialized;
  bool manualReset;
  bool set;
};

struct HOST_API ThreadView {
  std::size_t ordinal;
  bool ended;
  bool canceled;                // asked to end while it ran
  unsigned int cancelRequests;  // calls of `Cancel`, those after its end too
};

// What is alive now. A thread is from its start until both it and its object are gone.
HOST_API std::vector<LockView> Locks();
HOST_API std::vector<EventView> Events();
HOST_API std::vector<ThreadView> Threads();

// Restarts the ordinals and takes all failures back.
HOST_API void ResetLedger();

// Makes `Init` of the lock or event with that ordinal give 0.
HOST_API void FailLockInit(std::size_t ordinal);
HOST_API void FailEventInit(std::size_t ordinal);

// Makes the `nth` wait from now, counted from 1, of that lock give WAIT_FAILED at once.
HOST_API void FailLockWait(std::size_t ordinal, unsigned int nth);

// Makes the `nth` start of a thread from now, counted from 1, give 0, as when the system has no
// room for another thread: the object then has no handle and nothing to wait for. A start that
// would fail anyway is not counted.
HOST_API void FailThreadCreate(unsigned int nth);

}  // namespace HostKit
