// Attach, detach and format jobs: starting, waiting for and abandoning them.
#pragma once

#include "cardsim/api/Library.h"

namespace CardSim {

// Starts the job by putting the card into the job's transitional state. Throws `CallFailure` if the
// job has already been started, or if the card is in use or in a state that does not allow the job,
// and `std::runtime_error` if the file cannot be changed. A job that did not start can be started
// again.
void StartJob(Session& session, Handle& handle) HOST_REQUIRES(g_LibraryLock);

// Sleeps for the duration of the job with the lock released, then puts the card into the job's
// final state. The duration counts from this call, not from the start of the job, so that a job
// takes the same time in virtual time. Throws `CallFailure` if no job is running, or if the card
// was removed or its state changed before the end of the job.
void WaitForJob(Session& session, Handle& handle) HOST_REQUIRES(g_LibraryLock);

// Ends a job of this process and returns its card to the state before the job, unless the state was
// changed during the job. If the file cannot be written now, other processes see the change after a
// later call by this process, or after its exit.
void AbandonJob(const StorePtr& store, std::uint64_t job) noexcept;

// Returns the cards of all abandoned jobs to their previous states.
void RestoreAbandonedCards(const StorePtr& store) noexcept;

// Abandons the job of a handle if the job was started and no call waits for it.
void AbandonIfStarted(void* job) noexcept;

}  // namespace CardSim
