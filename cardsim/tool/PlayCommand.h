// The command `cardsim play`.
#pragma once

#include <string>

namespace CardSim {

// Plays the scenario file `path` on the state file and prints one line per step as it happens.
// Returns 0, or 128 plus the number of the signal that stopped it between two steps. Throws as
// `ReadScenario` and `PlayScenario`, and `OutputError`. Takes over SIGINT and SIGTERM of the
// process.
int Play(const std::string& path, const std::string& state, double speed);

}  // namespace CardSim
