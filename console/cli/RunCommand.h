// Running one command, from its options to its result or failure.
#pragma once

#include <optional>

#include "console/base/Failure.h"
#include "console/cli/CommandLine.h"
#include "console/cli/CommandTable.h"
#include "console/report/CommandContext.h"

namespace Console {

// A parsed command line.
struct Invocation {
  const CommandTable& m_Commands;
  Options m_Options;
  const Command* m_pCommand = nullptr;
  bool m_Monitored = false;              // `check`: a monitoring system reads the output
  std::optional<Failure> m_Error;        // reported instead of running the command
  SessionFactory m_SessionFactory = {};  // for commands that use the cards
  CardStoreFactory m_CardStoreFactory = {};
};

// Runs the command, or reports `m_Error`. Returns the exit code. Standard output stays reserved for
// the result until the process exits.
ExitCode RunCommand(const Invocation& invocation);

}  // namespace Console
