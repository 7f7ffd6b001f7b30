// Counts the plug-in's allocations and makes them fail.
//
// The plug-in's sources are compiled into the program. An allocation belongs to the plug-in if no
// function of the card library, the database or the host kit is on the call stack; the kit's
// functions for events and trace strings are allowed.
#pragma once

#include <cstddef>

namespace CorvaneTest {

enum class Shortage {
  OneFails,  // one allocation fails, and later ones succeed
  AllFail,   // one allocation and all later ones fail
};

// Counts the plug-in's allocations on the calling thread while it exists. Only one object at a time
// may exist per thread.
class AllocationCounter {
 public:
  // Allocation number `failing`, counted from 1, throws `std::bad_alloc`; 0 for none.
  explicit AllocationCounter(std::size_t failing = 0, Shortage shortage = Shortage::OneFails);
  ~AllocationCounter();
  AllocationCounter(const AllocationCounter&) = delete;
  AllocationCounter& operator=(const AllocationCounter&) = delete;

  std::size_t Count() const;
  std::size_t LargestBytes() const;
};

}  // namespace CorvaneTest
