// The error that the records of the cards seen earlier cannot be read.
#pragma once

#include <string>
#include <vector>

#include "console/base/Failure.h"
#include "console/base/Output.h"

namespace Console {

// Returns the error. `advice` says which database it is, and how to select another one.
Failure UnreadableRecordsFailure(const std::string& cause, const std::vector<std::string>& advice);

// Adds the error, unless it has been added before. The command continues with the cards that are
// present.
void ReportUnreadableRecords(const Failure& failure, Diagnostics& diagnostics);

// Returns the text of the error if it was reported; otherwise an empty string. Missing cards, the
// positions of cards and acknowledgments are then unknown.
std::string UnreadableRecords(const Diagnostics& diagnostics);

// Throws `Failure` if the error was reported and an argument of a change is the position of a card,
// such as "a1" or "a1/d0": without the records, another card may have this position.
void RequireNoPosition(const std::vector<std::string>& arguments, const Diagnostics& diagnostics);

}  // namespace Console
