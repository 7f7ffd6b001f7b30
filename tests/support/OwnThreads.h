// The threads of one test. A thread whose object is lost stays in the ledger for good, and tests
// that lose one may come first.
#pragma once

#include <vector>

#include "hostkit/Inspect.h"

namespace CorvaneTest {

// Those made since the ledger was reset, which each host of a test begins with.
inline std::vector<HostKit::ThreadView> OwnThreads() {
  std::vector<HostKit::ThreadView> own;
  for (const HostKit::ThreadView& thread : HostKit::Threads()) {
    if (thread.ordinal != 0) own.push_back(thread);
  }
  return own;
}

}  // namespace CorvaneTest
