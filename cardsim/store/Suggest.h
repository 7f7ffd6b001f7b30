// "Did you mean": the name next to a wrong one.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace CardSim {

// `; did you mean X?` with the nearest of `names`, or nothing when none is near.
std::string DidYouMean(std::string_view wrong, const std::vector<std::string>& names);

}  // namespace CardSim
