// Attach, detach and format: how a job starts, ends, and is given up.
#pragma once

#include "cardsim/Library.h"

namespace CardSim {

// Puts the card into the job's transitional state. Throws the `Refusal` of a card that cannot do
// the job now.
void StartJob(Session& session, Handle& handle);

// Sleeps for as long as the job takes, without a lock, and puts the card into the job's end state.
// The time runs while it is waited for, whatever a clock says: on virtual time, too, a job always
// takes the same time. Throws `Refusal` when somebody took the card out of the job meanwhile.
void WaitForJob(Session& session, Handle& handle);

// Puts the card back into the state before the job, if the job still has it. Never throws: there is
// nobody left to tell.
void AbandonJob(const FileStore& store, std::uint64_t cardId, const JobMark& mark);

// The same for a handle whose job is under way and will not be waited for.
void AbandonUnlessWaited(void* job);

// What a new format handle may be asked for.
void PrepareFormat(Handle& handle);
// The wishes of a format. They throw `Refusal` when the card does not offer that.
void WishSizeMode(Handle& handle, std::uint32_t mode);
void WishBytes(Handle& handle, std::uint64_t bytes);
void WishPercent(Handle& handle, std::uint32_t percent);
void WishSector(Handle& handle, std::uint32_t bytes);

}  // namespace CardSim
