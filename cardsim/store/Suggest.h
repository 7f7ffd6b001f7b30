// "Did you mean": a suggestion for a wrong name.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace CardSim {

// "; did you mean X?" with the one of `names` that `wrong` probably means, or an empty string. May
// be called by any thread.
std::string DidYouMean(std::string_view wrong, const std::vector<std::string>& names);

}  // namespace CardSim
