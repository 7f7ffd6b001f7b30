// Makes memory allocations of the calling thread fail on demand. Linking it replaces operator new,
// including in the libraries that the program loads.
#pragma once

namespace CorvaneTest {

enum class Shortage {
  OneFails,  // one allocation fails, and the ones after it succeed
  AllFail,   // no further allocation succeeds
};

// Makes an allocation of this thread fail after `successes` that succeed. Replaces a shortage that
// has not ended.
void BeginShortage(int successes, Shortage kind);

// Ends the shortage. Returns whether an allocation failed during it.
bool EndShortage();

}  // namespace CorvaneTest
