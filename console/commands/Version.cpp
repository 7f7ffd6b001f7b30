// version: the version of this program.
#include "console/cli/CommandTable.h"

namespace Console {
namespace {

CommandResult Run(Context&) {
  const std::string text = "corvane-host " CORVANE_HOST_VERSION;
  CommandResult result;
  result.m_Json = {{"version", CORVANE_HOST_VERSION}};
  result.m_Text = text + "\n";
  result.m_Values = {text};
  return result;
}

}  // namespace

Command VersionCommand() {
  Command command;
  command.m_Group = Group::Help;
  command.m_Name = "version";
  command.m_Summary = "print the version of this program";
  command.m_OutputFormats = {"value", "table", "json"};
  command.m_Run = Run;
  command.m_Description = "The option --version does the same.";
  command.m_Examples = {{"version", "print the version"}, {"--version", "do the same"}};
  return command;
}

}  // namespace Console
