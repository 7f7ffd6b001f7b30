// corvane-host: a host around a storage plug-in, for people and scripts.
#include <algorithm>

#include "console/Call.h"
#include "console/CommandLine.h"
#include "console/Commands.h"
#include "console/Guarded.h"
#include "console/RunCommand.h"
#include "console/Stop.h"

namespace Console {
namespace {

using Words = std::vector<std::string>;

// The verb, found without a full understanding of the arguments.
std::string GuessVerb(const Words& arguments, const Options& options) {
  const auto isVerb = [](const std::string& word) { return FindCommand(word) != nullptr; };
  if (!options.m_Words.empty() && isVerb(options.m_Words.front())) return options.m_Words.front();
  const auto found = std::find_if(arguments.begin(), arguments.end(), isVerb);
  return found == arguments.end() ? std::string() : *found;
}

// The command that a wrong line is about, if it names one that people know.
const Command* NamedCommand(const Options& options) {
  const Command* found = options.m_Words.empty() ? nullptr : FindCommand(options.m_Words.front());
  return found == nullptr || found->m_Group == Group::None ? nullptr : found;
}

ExitCode Main(const Words& arguments) {
  Start start;
  try {
    CatchStopSignals();
    ParseCommandLine(arguments, start.m_Options);
    start.m_pCommand = &ChooseCommand(start.m_Options);
  } catch (const Failure& failure) {
    start.m_Wrong.emplace(failure);
    start.m_pCommand = NamedCommand(start.m_Options);
  }
  start.m_Monitored = GuessVerb(arguments, start.m_Options) == "check";
  return start.m_Monitored && !start.m_Wrong ? RunGuarded(start) : RunCommand(start);
}

}  // namespace
}  // namespace Console

int main(int argc, char** argv) {
  Console::EndProgram(static_cast<int>(Console::Main(Console::Words(argv + 1, argv + argc))));
}
