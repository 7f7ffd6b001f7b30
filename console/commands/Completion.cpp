// completion and complete: a script for the shell, and what it asks.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include "console/base/Printable.h"
#include "console/cli/CompletionCandidates.h"
#include "console/cli/CompletionScripts.h"
#include "console/commands/All.h"
#include "console/render/CommandResult.h"
#include "console/report/CommandContext.h"

namespace Console {
namespace {

const Script& RequireScript(const std::string& shell) {
  std::vector<std::string> shells;
  for (const Script& script : CompletionScripts()) {
    if (shell == script.m_Shell) return script;
    shells.emplace_back(script.m_Shell);
  }
  std::vector<std::string> advice = DidYouMean(shell, shells);
  advice.push_back(fmt::format("Shells: {}", fmt::join(shells, ", ")));
  throw UsageFailure(fmt::format("there is no completion for '{}'", shell), advice);
}

std::string Printed(const Candidate& candidate) {
  const std::string word = Printable(candidate.m_Word);
  return candidate.m_Meaning.empty() ? word : word + "\t" + Printable(candidate.m_Meaning);
}

}  // namespace

CommandResult RunCompletion(Context& context) {
  std::string text = RequireScript(context.m_Arguments[0]).m_Text;
  text.pop_back();  // the line end that a value gets
  CommandResult result;
  result.m_Values = {text};
  return result;
}

CommandResult RunComplete(Context& context) {
  const auto objects = [&](const Options& options) { return context.With(options).Objects(); };
  CommandResult result;
  for (const Candidate& candidate : Complete(context.m_Arguments, AllCommands(), objects)) {
    result.m_Values.push_back(Printed(candidate));
  }
  return result;
}

}  // namespace Console
