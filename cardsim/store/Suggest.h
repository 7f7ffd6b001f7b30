// Suggestions for a misspelled name.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace CardSim {

// Returns "; did you mean X?" with the element of `names` that `wrong` is a synonym or probably a
// misspelling of, or an empty string. Thread-safe.
std::string DidYouMean(std::string_view wrong, const std::vector<std::string>& names);

}  // namespace CardSim
