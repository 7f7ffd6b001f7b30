// What a format job may be asked for, and what it does to the card. The functions work on a handle
// under the library's lock, or on a card inside an edit of the state file.
#pragma once

#include "cardsim/api/HandleLedger.h"

namespace CardSim {

// Fills the plan of a new format handle with the card's size limits.
void PrepareFormat(Handle& handle);

// Each stores one request in the plan of a format handle that is not started, and shows the new
// size in the handle's attributes. Throws `Refusal` with nothing stored when the card does not
// offer it or the value is out of range.
void RequestSizeMode(Handle& handle, std::uint32_t mode);
void RequestSizeBytes(Handle& handle, std::uint64_t bytes);
void RequestSizePercent(Handle& handle, std::uint32_t percent);
void RequestSectorSize(Handle& handle, std::uint32_t bytes);

// Gives the card the size and the sector size of the plan; what the plan leaves open does not
// change.
void ApplyFormat(Card& card, const JobPlan& plan);

}  // namespace CardSim
