// Doing an operation that has a row: check, consent, call, wait, and what changed.
#pragma once

#include <chrono>
#include <string>

#include "console/change/OperationTable.h"
#include "console/render/CommandResult.h"
#include "console/report/CommandContext.h"

namespace Console {

// The object of that name, which must be of the operation's kind. Throws `Failure`.
const Object& SelectFor(const Model& model, const std::string& selector, const OperationRow& row);

// What --timeout says, or the default of two minutes. Throws `Failure`.
std::chrono::milliseconds TimeoutOf(const Options& options);

// "detaching a0".
std::string What(const OperationRow& row, const Object& object);

// The same with a capital letter, as a line of its own.
std::string Headline(const OperationRow& row, const Object& object);

// What an operation did, or with --dry-run would do.
struct Change {
  std::string m_Before;  // empty: unknown
  std::string m_After;
  std::chrono::milliseconds m_Elapsed{0};
};

// Carries out an operation of any danger but the severe one. An object that is in the wished state
// already is left alone when `mayBeDone`, and is a refusal when not. Throws `Failure`.
Change PerformOperation(Context& context, const Model& model, const Object& object,
                        const OperationRow& row, bool mayBeDone);

// The answer that tells of a change.
CommandResult ChangeResult(const Context& context, const Object& object, std::uint32_t operation,
                           const Change& change);

// A command whose only argument is the object of the operation of that number. Throws `Failure`.
CommandResult RunOperationCommand(Context& context, std::uint32_t number);

}  // namespace Console
