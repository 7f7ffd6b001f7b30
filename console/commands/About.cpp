// plugin, help and version: about what is running.
#include <fmt/format.h>

#include "console/Answer.h"
#include "console/CommandLine.h"
#include "console/Commands.h"
#include "console/Context.h"
#include "console/commands/All.h"

namespace Console {
namespace {

std::string Synopsis(const Command& command) {
  const std::string arguments = command.m_Arguments;
  return arguments.empty() ? command.m_Name : fmt::format("{} {}", command.m_Name, arguments);
}

// A long synopsis has a line of its own.
std::string HelpLine(const std::string& synopsis, const char* summary) {
  constexpr std::size_t kWidth = 22;
  const bool fits = synopsis.size() < kWidth;
  return fmt::format("  {}\n", fits ? fmt::format("{:<{}}{}", synopsis, kWidth, summary)
                                    : fmt::format("{}\n  {:<{}}{}", synopsis, "", kWidth, summary));
}

std::string GeneralHelp() {
  std::string text = "Use: corvane-host [OPTIONS] COMMAND [ARGUMENTS]\n\nCommands:\n";
  for (const Command& command : AllCommands()) {
    text += HelpLine(Synopsis(command), command.m_Summary);
  }
  text +=
      "\nObjects: plugin, a0, a0/d0, a serial number, a name, pci:0000:3b:00.0,\n"
      "         a control device or an object id in hexadecimal\n";
  return text + OptionHelp();
}

std::string CommandHelp(const Command& command) {
  std::string text = fmt::format("Use: corvane-host {}\n  {}\n\nForms (-o):", Synopsis(command),
                                 command.m_Summary);
  for (const std::string& form : command.m_Forms) text += " " + form;
  if (!command.m_Special.empty()) text += "\nOptions of its own:";
  for (const std::string& option : command.m_Special) text += " " + option;
  return text + "\n";
}

Json CommandJson(const Command& command) {
  return {{"name", command.m_Name},
          {"arguments", command.m_Arguments},
          {"summary", command.m_Summary},
          {"forms", command.m_Forms}};
}

const Command& RequireTopic(const std::string& name) {
  const Command* command = FindCommand(name);
  if (command != nullptr) return *command;
  std::vector<std::string> names;
  for (const Command& row : AllCommands()) names.emplace_back(row.m_Name);
  throw UsageFailure(fmt::format("there is no command '{}'", name), DidYouMean(name, names));
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
      answer.m_Result["commands"].push_back(CommandJson(command));
    }
    answer.m_Text = GeneralHelp();
    return answer;
  }
  const Command& command = RequireTopic(context.m_Arguments[0]);
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
