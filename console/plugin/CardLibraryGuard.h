// The guard that limits the time of calls to the card library, if this process has one.
#pragma once

#include <vector>

#include "console/plugin/UnresponsiveCard.h"

namespace Console {

// Thread-safe, without ownership.
struct CardLibraryGuard {
  // Whether a call has still not returned, so that the card library must stay loaded.
  bool (*m_HasStuckCalls)() = [] { return false; };
  // Returns the cards that the plug-in omits, and those whose values are the values last read.
  std::vector<UnresponsiveCard> (*m_UnresponsiveCards)() = [] {
    return std::vector<UnresponsiveCard>();
  };
};

// Sets the guard of this process. Call before a plug-in is loaded.
void SetCardLibraryGuard(const CardLibraryGuard& guard);

// Returns the guard of this process. Without one, no call counts as stuck.
const CardLibraryGuard& GetCardLibraryGuard();

}  // namespace Console
