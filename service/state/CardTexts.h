// Converts lists to and from the text in cells of the table of known cards.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "service/state/CardStates.h"

namespace Service {

// Returns the numbers, separated by spaces.
std::string TextOf(const std::set<std::uint32_t>& reasons);
// Skips words that are not numbers, so that a damaged cell keeps its other reasons.
std::set<std::uint32_t> ParseReasons(const std::string& text);

// Returns the size and sector size of each drive, such as "785000000000 512", separated by spaces;
// "-" is unknown.
std::string TextOf(const std::vector<DriveState>& drives);
// Returns drives with only a format. A word that is not a number is an unknown value, and an
// unpaired last word is ignored.
std::vector<DriveState> ParseDrives(const std::string& text);

}  // namespace Service
