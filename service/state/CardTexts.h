// Lists in the cells of known cards, as text.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "service/state/CardStates.h"

namespace Service {

// Returns the numbers, separated by blanks.
std::string TextOf(const std::set<std::uint32_t>& reasons);
// Skips words that are not reasons, because a damaged cell must not make the other reasons unknown.
std::set<std::uint32_t> ParseReasons(const std::string& text);

// Returns the size and sector size of each drive, such as "785000000000 512", separated by blanks;
// "-" is unknown.
std::string TextOf(const std::vector<DriveState>& drives);
// Returns drives with a layout only. A word that is not a number is an unknown value, and a last
// word without a partner is ignored.
std::vector<DriveState> ParseDrives(const std::string& text);

}  // namespace Service
