// plugin, help and version: about what is running.
#include <fmt/format.h>

#include "console/Answer.h"
#include "console/Commands.h"
#include "console/Context.h"
#include "console/Help.h"
#include "console/OptionTable.h"
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
    if (BelongsTo(row, command.m_Name)) options.push_back(OptionJson(row));
  }
  return {{"name", command.m_Name},           {"group", GroupName(command.m_Group)},
          {"arguments", command.m_Arguments}, {"summary", command.m_Summary},
          {"forms", command.m_Forms},         {"options", options}};
}

}  // namespace

Answer RunPlugin(Context& context) {
  const PluginInfo info = context.Open().Info();
  Answer answer;
  answer.m_Result = {{"file", info.m_File},
                     {"module_id", info.m_ModuleID},
                     {"interface_version", info.m_InterfaceVersion}};
  answer.m_Table.m_Columns = {{"PROPERTY", "property", false}, {"VALUE", "value", false}};
  for (const auto& [name, value] :
       {std::pair<std::string, std::string>{"file", info.m_File},
        {"module_id", std::to_string(info.m_ModuleID)},
        {"interface_version", std::to_string(info.m_InterfaceVersion)}}) {
    answer.m_Table.m_Rows.push_back({{TextCell(name), TextCell(value)}, std::nullopt});
  }
  return answer;
}

Answer RunHelp(Context& context) {
  Answer answer;
  answer.m_Result = {{"commands", Json::array()}};
  if (context.m_Arguments.empty()) {
    for (const Command& command : AllCommands()) {
      if (command.m_Group == Group::None) continue;
      answer.m_Result["commands"].push_back(CommandJson(command));
    }
    answer.m_Text = GeneralHelp();
    return answer;
  }
  const Command& command = RequireCommand(context.m_Arguments[0]);
  answer.m_Result["commands"].push_back(CommandJson(command));
  answer.m_Text = CommandHelp(command);
  return answer;
}

Answer RunVersion(Context&) {
  const std::string text = "corvane-host " CORVANE_HOST_VERSION;
  Answer answer;
  answer.m_Result = {{"version", CORVANE_HOST_VERSION}};
  answer.m_Text = text + "\n";
  answer.m_Values = {text};
  return answer;
}

}  // namespace Console
