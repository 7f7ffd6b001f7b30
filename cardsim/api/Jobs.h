// Attach, detach and format: how a job starts, ends, and is given up.
#pragma once

#include "cardsim/api/Library.h"

namespace CardSim {

// Puts the card into the job's transitional state. Throws the `Refusal` of a card that cannot do
// the job now; the job may then be started again.
void StartJob(Session& session, Handle& handle);

// Sleeps for as long as the job takes, without a lock, and puts the card into the job's end state.
// The time runs while it is waited for, whatever a clock says: on virtual time, too, a job always
// takes the same time. Throws `Refusal` when somebody took the card out of the job meanwhile.
void WaitForJob(Session& session, Handle& handle);

// Ends a job of this process, and puts its card back into the state before the job, if the job
// still has it. Where the file cannot be written now, other processes see the card back later:
// after one of the next calls of this one, or after its end.
void AbandonJob(const StorePtr& store, std::uint64_t job) noexcept;

// Puts back the cards of all jobs that have ended so.
void DropEndedJobs(const StorePtr& store) noexcept;

// Abandons the job of a handle if it is under way: it will not be waited for.
void AbandonUnlessWaited(void* job) noexcept;

}  // namespace CardSim
