// corvane-host: a host for a storage plug-in, for interactive use and scripts.
#include <algorithm>

#include "console/base/CallWithTimeout.h"
#include "console/base/StopSignals.h"
#include "console/cli/CommandLine.h"
#include "console/cli/IsolatedRun.h"
#include "console/cli/RunCommand.h"
#include "console/commands/All.h"
#include "console/commands/ConnectToService.h"

namespace Console {
namespace {

using Words = std::vector<std::string>;

// Finds the command even if the arguments cannot be parsed.
std::string GuessCommand(const Words& arguments, const Options& options) {
  const auto isCommand = [](const std::string& word) {
    return AllCommands().Find(word) != nullptr;
  };
  if (!options.m_Words.empty() && isCommand(options.m_Words.front())) {
    return options.m_Words.front();
  }
  const auto found = std::find_if(arguments.begin(), arguments.end(), isCommand);
  return found == arguments.end() ? std::string() : *found;
}

// Returns the command named on an invalid command line; null if there is none or it is hidden.
const Command* NamedCommand(const Options& options) {
  const Command* found =
      options.m_Words.empty() ? nullptr : AllCommands().Find(options.m_Words.front());
  return found == nullptr || found->m_Group == Group::Hidden ? nullptr : found;
}

ExitCode Main(const Words& arguments) {
  Invocation invocation{AllCommands(),    {},           nullptr, false, std::nullopt,
                        ConnectToService, OpenCardStore};
  try {
    InstallStopHandlers();
    ParseCommandLine(arguments, invocation.m_Options);
    invocation.m_pCommand = &AllCommands().Resolve(invocation.m_Options);
  } catch (const Failure& failure) {
    invocation.m_Error.emplace(failure);
    invocation.m_pCommand = NamedCommand(invocation.m_Options);
  }
  invocation.m_Monitored = GuessCommand(arguments, invocation.m_Options) == "check";
  return invocation.m_Monitored && !invocation.m_Error ? RunIsolated(invocation)
                                                       : RunCommand(invocation);
}

}  // namespace
}  // namespace Console

int main(int argc, char** argv) {
  Console::ExitProgram(static_cast<int>(Console::Main(Console::Words(argv + 1, argv + argc))));
}
