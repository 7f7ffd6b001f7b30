// Running an operation that has a row: check, confirmation, call, wait, and what changed.
#pragma once

#include <chrono>
#include <string>

#include "console/change/KnownOperations.h"
#include "console/render/CommandResult.h"
#include "console/report/CommandContext.h"

namespace Console {

// The object that `selector` names, which must be of the kind that has the operation. Throws
// `Failure`.
const Object& SelectFor(const Model& model, const std::string& selector, const OperationRow& row);

// --timeout, or the default of two minutes. Throws `Failure`.
std::chrono::milliseconds TimeoutOf(const Options& options);

// "detach a0".
std::string ActionText(const OperationRow& row, const Object& object);

// "Detaching a0".
std::string Headline(const OperationRow& row, const Object& object);

// What an operation did, or with --dry-run would do.
struct Change {
  std::string m_Before;  // empty: unknown
  std::string m_After;
  std::chrono::milliseconds m_Elapsed{0};
};

// Runs an operation of low or medium risk. If the object is already in the target state, does
// nothing if `mayBeDone`, else refuses. Throws `Failure`.
Change PerformOperation(Context& context, const Model& model, const Object& object,
                        const OperationRow& row, bool mayBeDone);

// The result that reports a change.
CommandResult ChangeResult(const Context& context, const Object& object, std::uint32_t operation,
                           const Change& change);

// A command whose only argument is the object of the operation of that number. Throws `Failure`.
CommandResult RunOperationCommand(Context& context, std::uint32_t number);

}  // namespace Console
