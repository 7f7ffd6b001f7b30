// Running one command, from its options to its result or failure.
#pragma once

#include <optional>

#include "console/base/Failure.h"
#include "console/cli/CommandLine.h"
#include "console/cli/CommandTable.h"
#include "console/report/CommandContext.h"

namespace Console {

// What is known after parsing the arguments.
struct Invocation {
  const CommandTable& m_Commands;
  Options m_Options;
  const Command* m_pCommand = nullptr;
  bool m_Monitored = false;  // `check`: a monitoring system reads the output
  std::optional<Failure> m_Error;
  SessionFactory m_Sessions = {};  // for commands that use the cards
};

// Runs the command, or reports the usage error. Returns the exit code. Reserves standard output for
// the result, for the rest of the process.
ExitCode RunCommand(const Invocation& invocation);

}  // namespace Console
