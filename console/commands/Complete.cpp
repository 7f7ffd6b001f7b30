// complete: print completion candidates for the completion scripts.
#include "base/Printable.h"
#include "console/cli/CompletionCandidates.h"
#include "console/commands/All.h"

namespace Console {
namespace {

std::string FormatCandidate(const Candidate& candidate) {
  const std::string word = Base::Printable(candidate.m_Word);
  return candidate.m_Description.empty() ? word
                                         : word + "\t" + Base::Printable(candidate.m_Description);
}

CommandResult Run(Context& context) {
  const auto objects = [&](const Options& options) {
    return context.WithOptions(options).Objects();
  };
  CommandResult result;
  for (const Candidate& candidate : Complete(context.m_Arguments, AllCommands(), objects)) {
    result.m_Values.push_back(FormatCandidate(candidate));
  }
  return result;
}

}  // namespace

Command CompleteCommand() {
  Command command;
  command.m_Group = Group::Hidden;
  command.m_Name = "complete";
  command.m_Arguments = "WORD...";
  command.m_MinArguments = 1;
  command.m_MaxArguments = kAnyNumber;
  command.m_Summary = "print completion candidates for the last word, for the completion scripts";
  command.m_OutputFormats = {"value"};
  command.m_Run = Run;
  return command;
}

}  // namespace Console
