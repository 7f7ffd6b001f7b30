// help: all commands, or one of them.
#include "console/cli/HelpText.h"
#include "console/cli/OptionTable.h"
#include "console/commands/All.h"

namespace Console {
namespace {

Json OptionJson(const OptionRow& row) {
  return {{"name", row.m_Long},
          {"short", *row.m_Short == '\0' ? Json() : Json(row.m_Short)},
          {"value", *row.m_Value == '\0' ? Json() : Json(row.m_Value)},
          {"choices", row.m_Choices},
          {"help", row.m_Help}};
}

Json CommandJson(const Command& command) {
  Json options = Json::array();
  for (const OptionRow& row : AllOptions()) {
    if (HasOption(command, row)) options.push_back(OptionJson(row));
  }
  return {{"name", command.m_Name},           {"group", GroupName(command.m_Group)},
          {"arguments", command.m_Arguments}, {"summary", command.m_Summary},
          {"forms", command.m_OutputFormats}, {"options", options}};
}

CommandResult Run(Context& context) {
  CommandResult result;
  result.m_Json = {{"commands", Json::array()}};
  if (context.m_Arguments.empty()) {
    for (const Command& command : AllCommands()) {
      if (command.m_Group == Group::Hidden) continue;
      result.m_Json["commands"].push_back(CommandJson(command));
    }
    result.m_Text = GeneralHelp(AllCommands());
    return result;
  }
  const Command& command = AllCommands().Require(context.m_Arguments[0]);
  result.m_Json["commands"].push_back(CommandJson(command));
  result.m_Text = CommandHelp(command);
  return result;
}

}  // namespace

Command HelpCommand() {
  Command command;
  command.m_Group = Group::Help;
  command.m_Name = "help";
  command.m_Arguments = "[COMMAND]";
  command.m_MinArguments = 0;
  command.m_MaxArguments = 1;
  command.m_Summary = "show this help, or the help of one command";
  command.m_OutputFormats = {"table", "json"};
  command.m_Run = Run;
  command.m_Description =
      "Shows all commands and options, or one command with its arguments, options and examples.";
  command.m_Examples = {{"help format", "show the help of one command", true},
                        {"format --help", "do the same"}};
  return command;
}

}  // namespace Console
