// The names of the card library's functions. May be called by any thread.
#pragma once

#include <string>
#include <vector>

namespace CardSim {

// Every function that can fail: all but vsl_fini. Never destroyed.
const std::vector<std::string>& FailingFunctions();

// Throws `NoSuchThing`, with the nearest name, unless `function` is one of them.
void CheckFunction(const std::string& function);

}  // namespace CardSim
