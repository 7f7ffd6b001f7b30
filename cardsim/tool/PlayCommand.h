// The command `play` of the program.
#pragma once

#include <string>

namespace CardSim {

// Plays the scenario on the state file and prints a line for each step as it happens. Gives 0, or
// 128 and the number of the signal that stopped it between two steps. Throws as `PlayScenario`.
int Play(const std::string& scenario, const std::string& state, double speed);

}  // namespace CardSim
