// The command `cardsim play`.
#pragma once

#include <string>

namespace CardSim {

// Plays the scenario file `path` on the state file and prints one line per step as it happens.
// Returns 0, or 128 plus the number of the signal that stopped it between two steps. Throws like
// `ReadScenario` and `PlayScenario`, and `OutputError`. Installs handlers for SIGINT and SIGTERM.
int Play(const std::string& path, const std::string& state, double speed);

}  // namespace CardSim
