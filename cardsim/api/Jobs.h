// Attach, detach and format: how a job starts, ends, or is abandoned.
#pragma once

#include "cardsim/api/Library.h"

namespace CardSim {

// Puts the card into the job's transitional state. Throws `Refusal` if the card cannot do the job
// now; the job may then be started again.
void StartJob(Session& session, Handle& handle) HOST_REQUIRES(g_LibraryLock);

// Sleeps for the duration of the job, without a lock, and puts the card into the job's final state.
// The duration counts from the call, not from the start of the job, so that a job takes the same
// time under virtual time. Throws `Refusal` if the card's state was changed meanwhile.
void WaitForJob(Session& session, Handle& handle) HOST_REQUIRES(g_LibraryLock);

// Ends a job of this process and returns its card to the state before the job, unless that was
// changed meanwhile. If the file cannot be written now, other processes see the change later: after
// one of the next calls of this process, or after its exit.
void AbandonJob(const StorePtr& store, std::uint64_t job) noexcept;

// Returns the cards of all abandoned jobs to their states before.
void DropEndedJobs(const StorePtr& store) noexcept;

// Abandons the job of a handle if it was started and nothing waits for it.
void AbandonIfStarted(void* job) noexcept;

}  // namespace CardSim
