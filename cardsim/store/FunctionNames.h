// The names of the card library's functions, for all that speaks of functions by name.
#pragma once

#include <string>
#include <vector>

namespace CardSim {

// Every function of the catalog that can fail, all but vsl_fini.
const std::vector<std::string>& FailingFunctions();

// Throws `NoSuchThing` unless `function` is one of them.
void CheckFunction(const std::string& function);

}  // namespace CardSim
