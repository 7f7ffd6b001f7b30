// The output format of monitoring checks: a line with the counts and the worst problems, the
// performance data, and one line per object.
#pragma once

#include <string>

#include "console/base/Failure.h"
#include "console/report/CheckResult.h"

namespace Console {

// Whose performance data is printed: of all cards, of the cards that the first line names, or none.
enum class PerformanceData { All, Worst, None };

// Returns the choice with this name: "all", "worst" or "none". Throws `Failure` for any other name;
// an empty name means "all".
PerformanceData ParsePerformanceData(const std::string& name);

// The longest first line in characters, without the performance data.
inline constexpr std::size_t kMaxFirstLine = 200;

// Returns the first line without the program's name and state: the number of cards in each state
// and the worst three problems, and the names without an object, without vertical bars. The
// complete line has at most `kMaxFirstLine` characters.
std::string Summary(const CheckResult& check, bool ascii);

// Returns the complete output. `input` is the input of the check.
std::string CheckText(const CheckResult& check, const CheckInput& input, PerformanceData data);

// Returns the complete output for a failure, such as an invalid command line or a plug-in that
// cannot be loaded; the state is UNKNOWN.
std::string CheckText(const Failure& failure);

}  // namespace Console
