// One command from its options to its answer or its failure.
#pragma once

#include <optional>

#include "console/base/Failure.h"
#include "console/cli/CommandLine.h"
#include "console/cli/CommandTable.h"

namespace Console {

// What is known when the arguments have been read.
struct Start {
  const CommandTable& m_Commands;
  Options m_Options;
  const Command* m_pCommand = nullptr;
  bool m_Monitored = false;  // a monitoring system waits for the answer
  std::optional<Failure> m_Wrong;
};

// Runs the command, or reports what is wrong with it; gives the code with which to end. For the
// whole life of the process it takes standard output away from everything else.
ExitCode RunCommand(const Start& start);

}  // namespace Console
