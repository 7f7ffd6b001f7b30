// completion: print the completion script for a shell.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include "console/cli/CommandTable.h"
#include "console/cli/CompletionScripts.h"
#include "console/render/CommandResult.h"

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
  throw UsageFailure(fmt::format("no script for '{}'", shell), advice);
}

CommandResult Run(Context& context) {
  std::string text = RequireScript(context.m_Arguments[0]).m_Text;
  text.pop_back();  // printing a value appends the final newline
  CommandResult result;
  result.m_Values = {text};
  return result;
}

}  // namespace

Command CompletionCommand() {
  Command command;
  command.m_Group = Group::Help;
  command.m_Name = "completion";
  command.m_Arguments = "SHELL";
  command.m_MinArguments = 1;
  command.m_MaxArguments = 1;
  command.m_Summary = "generate a shell completion script";
  command.m_OutputFormats = {"value"};
  command.m_Run = Run;
  command.m_Description =
      "Prints a completion script for bash, zsh or fish. It completes commands, options "
      "and values, and the names of objects, properties and operations.";
  command.m_Exits = {{2, "unsupported shell"}};
  command.m_Examples = {
      {"completion bash > ~/.corvane-completion",
       "for bash, with 'source ~/.corvane-completion' in ~/.bashrc"},
      {"completion fish > ~/.config/fish/completions/corvane-host.fish", "for fish"}};
  return command;
}

}  // namespace Console
