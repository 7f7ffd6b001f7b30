// The plug-in's allocations, counted and made to fail.
//
// The plug-in's sources are in the program itself: an allocation is the plug-in's when nothing of
// the card library, the database or the host kit, except its events and the texts of its trace
// lines, is between it and the test.
#pragma once

#include <cstddef>

namespace CorvaneTest {

enum class Shortage {
  OneFails,  // one allocation fails, and the ones after it succeed
  AllFail,   // that one and all after it fail
};

// Counts the allocations of the calling thread while it exists. One object at a time per thread.
class WatchedAllocations {
 public:
  // The `failing`-th one throws `std::bad_alloc`, counted from 1; 0 for none.
  explicit WatchedAllocations(std::size_t failing = 0, Shortage shortage = Shortage::OneFails);
  ~WatchedAllocations();
  WatchedAllocations(const WatchedAllocations&) = delete;
  WatchedAllocations& operator=(const WatchedAllocations&) = delete;

  std::size_t Count() const;
  std::size_t LargestBytes() const;
};

}  // namespace CorvaneTest
