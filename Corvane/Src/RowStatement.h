// Error handling that the row operations share.
#pragma once

#include "Corvane/Src/HostNumbers.h"
#include "Corvane/Src/ThreadSafety.h"
#include "host/Database.h"

namespace NAMESPACE_Corvane {

// Runs the statements of one row operation. 0, or ERR_GENERAL when the database refused;
// `traceFailure` gets the reason then. Other exceptions propagate.
//
// Unlocked for the analysis, which does not see that the caller holds what the statements require.
template <class Statements, class TraceFailure>
CORVANE_UNLOCKED unsigned int RunRowStatements(Statements statements, TraceFailure traceFailure) {
  try {
    statements();
    return PI::SUCCESS;
  } catch (const DBEXCEPTION::DatabaseException& failure) {
    traceFailure(failure.what());
    return PI::ERR_GENERAL;
  }
}

}  // namespace NAMESPACE_Corvane
