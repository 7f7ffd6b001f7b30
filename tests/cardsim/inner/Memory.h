// Memory that runs out on demand, for the calling thread.
#pragma once

namespace CardSimTest {

enum class Shortage {
  OfOne,  // one allocation fails, and the ones after it succeed
  OfAll,  // no allocation succeeds any more
};

// Makes an allocation of this thread fail after `successes` that succeed.
void BeginShortage(int successes, Shortage kind);
// Ends the shortage. Whether an allocation failed.
bool EndShortage();

}  // namespace CardSimTest
