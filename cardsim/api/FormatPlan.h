// The requests that a format job accepts, and its effect on the card. Call `ApplyFormat` inside an
// edit of the state file.
#pragma once

#include "cardsim/api/HandleLedger.h"

namespace CardSim {

// Fills the plan of a new format handle with the card's size limits.
void PrepareFormat(Handle& handle) HOST_REQUIRES(g_LibraryLock);

// Each stores one request in the plan of a format handle that is not started, and shows the new
// size in the handle's attributes. Throws `Refusal` with nothing stored when the card does not
// offer it or the value is out of range.
void RequestSizeMode(Handle& handle, std::uint32_t mode) HOST_REQUIRES(g_LibraryLock);
void RequestSizeBytes(Handle& handle, std::uint64_t bytes) HOST_REQUIRES(g_LibraryLock);
void RequestSizePercent(Handle& handle, std::uint32_t percent) HOST_REQUIRES(g_LibraryLock);
void RequestSectorSize(Handle& handle, std::uint32_t bytes) HOST_REQUIRES(g_LibraryLock);

// Sets the size and the sector size of the card to those of the plan; what the plan does not
// specify is unchanged.
void ApplyFormat(Card& card, const JobPlan& plan);

}  // namespace CardSim
