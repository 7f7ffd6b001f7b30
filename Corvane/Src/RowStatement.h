// Error handling shared by the functions that write database rows.
#pragma once

#include "Corvane/Src/HostNumbers.h"
#include "Corvane/Src/ThreadSafety.h"
#include "host/Database.h"

namespace NAMESPACE_Corvane {

// Runs the statements of one row operation. Returns 0; if the database rejects a statement, calls
// `traceFailure` with the reason and returns ERR_GENERAL. Other exceptions propagate. Without a
// database (`database` is null), does nothing and returns 0: a host need not have one.
//
// Excluded from the analysis, which does not know that the caller holds the locks that `statements`
// requires.
template <class Statements, class TraceFailure>
CORVANE_UNLOCKED unsigned int RunRowStatements(const void* database, Statements statements,
                                               TraceFailure traceFailure) {
  if (database == nullptr) return PI::SUCCESS;
  try {
    statements();
    return PI::SUCCESS;
  } catch (const DBEXCEPTION::DatabaseException& failure) {
    traceFailure(failure.what());
    return PI::ERR_GENERAL;
  }
}

}  // namespace NAMESPACE_Corvane
