// The options of a format job, and its effect on the card.
#pragma once

#include "cardsim/api/HandleLedger.h"

namespace CardSim {

// Fills the plan of a new format handle with the card's size limits.
void PrepareFormat(Handle& handle) HOST_REQUIRES(g_LibraryLock);

// Each stores one option in the plan of a format job that has not been started. Those for the size
// also update the sizes in the handle's attributes. Throws `CallFailure` and stores nothing if the
// card does not support the option or the value is out of range.
void RequestSizeMode(Handle& handle, std::uint32_t mode) HOST_REQUIRES(g_LibraryLock);
void RequestSizeBytes(Handle& handle, std::uint64_t bytes) HOST_REQUIRES(g_LibraryLock);
void RequestSizePercent(Handle& handle, std::uint32_t percent) HOST_REQUIRES(g_LibraryLock);
void RequestSectorSize(Handle& handle, std::uint32_t bytes) HOST_REQUIRES(g_LibraryLock);

// Sets the card's sector size, size and percentage to those of the plan, if specified, and rounds
// the size down to a multiple of the sector size. Call within an edit of the state file.
void ApplyFormat(Card& card, const JobPlan& plan);

}  // namespace CardSim
