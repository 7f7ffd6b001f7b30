// Running a known operation: check, confirmation, call, wait and result.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "console/change/KnownOperations.h"
#include "console/render/CommandResult.h"
#include "console/report/CommandContext.h"
#include "console/report/SeveralObjects.h"

namespace Console {

// Returns the object that `selector` names. A card with one drive names that drive for an operation
// of drives, and a drive names its card for a low-risk operation of adapters. Throws `Failure` if
// no object matches or its kind does not have the operation.
const Object& SelectForOperation(const Model& model, const std::string& selector,
                                 const OperationRow& row);

// Returns the objects that `names` name; "all" names all objects that have the operation. Throws
// like the function above.
ObjectSelection SelectForOperation(const Model& model, const std::vector<std::string>& names,
                                   const OperationRow& row);

// Returns the value of --timeout, or the default of two minutes. Throws `Failure` for an invalid
// value.
std::chrono::milliseconds TimeoutOf(const Options& options);

// Returns the action as in a command, such as "detach a0".
std::string ActionText(const OperationRow& row, const Object& object);

// Returns the action in progress, such as "Detaching a0".
std::string Headline(const OperationRow& row, const Object& object);

// The change that an operation made, or would make with --dry-run.
struct Change {
  std::string m_Before;  // empty: unknown
  std::string m_After;
  std::chrono::milliseconds m_Elapsed{0};
};

// Runs an operation of low or medium risk. Throws `Failure` on any error, and, unless `allowNoOp`,
// if the object is already in the target state.
Change PerformOperation(Context& context, const Model& model, const Object& object,
                        const OperationRow& row, bool allowNoOp);

// Returns the command's result for a change.
CommandResult ChangeResult(const Context& context, const Object& object, std::uint32_t operation,
                           const Change& change);

// Runs a command that applies the operation `number` to all of its arguments. Throws `Failure`.
CommandResult RunOperationCommand(Context& context, std::uint32_t number);

}  // namespace Console
