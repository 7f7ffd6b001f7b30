// Memory that runs out on demand, for the thread that asks for it.
#pragma once

namespace CardSimTest {

enum class Shortage {
  OfOne,  // one allocation fails, and the ones after it succeed
  OfAll,  // no allocation succeeds any more
};

// Lets so many allocations of this thread succeed before one fails.
void BeginShortage(int successes, Shortage kind);
// Whether one failed.
bool EndShortage();

}  // namespace CardSimTest
