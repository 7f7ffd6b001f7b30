// The names of the card library's functions. Thread-safe.
#pragma once

#include <string>
#include <vector>

namespace CardSim {

// Returns all functions that can fail, which are all except vsl_fini. Never destroyed.
const std::vector<std::string>& FailableFunctions();

// Throws `UnknownName`, with a similar name if there is one, unless `function` can fail.
void CheckFunction(const std::string& function);
// Also throws for a function that does not act on a single card.
void CheckCardFunction(const std::string& function);

}  // namespace CardSim
