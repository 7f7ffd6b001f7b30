// plugin, help and version: about what is running.
#include <fmt/format.h>

#include <algorithm>

#include "console/cli/CommandTable.h"
#include "console/cli/HelpText.h"
#include "console/cli/OptionTable.h"
#include "console/commands/All.h"
#include "console/plugin/Exports.h"
#include "console/render/CommandResult.h"
#include "console/report/CommandContext.h"

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

struct Symbol {
  std::string m_Name;
  bool m_Expected;
  bool m_Present;
};

// The names that a host may look for, then whatever else the library shows.
std::vector<Symbol> SymbolsOf(const std::string& file) {
  std::vector<std::string> shown = ExportedSymbols(file);
  std::vector<Symbol> symbols;
  for (const std::string& name : ExpectedSymbols()) {
    const auto found = std::find(shown.begin(), shown.end(), name);
    symbols.push_back({name, true, found != shown.end()});
    if (found != shown.end()) shown.erase(found);
  }
  for (const std::string& name : shown) symbols.push_back({name, false, true});
  return symbols;
}

void AddRow(Table& table, const std::string& name, const std::string& value) {
  table.m_Rows.push_back({{TextCell(name), TextCell(value)}, std::nullopt});
}

}  // namespace

CommandResult RunPlugin(Context& context) {
  const PluginInfo info = context.Open().Info();
  CommandResult result;
  result.m_Json = {{"file", info.m_File},
                   {"module_id", info.m_ModuleID},
                   {"interface_version", info.m_InterfaceVersion},
                   {"symbols", Json::array()}};
  result.m_Table.m_Columns = {{"PROPERTY", "property", false}, {"VALUE", "value", false}};
  AddRow(result.m_Table, "file", info.m_File);
  AddRow(result.m_Table, "module_id", std::to_string(info.m_ModuleID));
  AddRow(result.m_Table, "interface_version", std::to_string(info.m_InterfaceVersion));
  std::size_t others = 0;
  for (const Symbol& symbol : SymbolsOf(info.m_File)) {
    result.m_Json["symbols"].push_back(
        {{"name", symbol.m_Name}, {"expected", symbol.m_Expected}, {"present", symbol.m_Present}});
    if (symbol.m_Expected) {
      AddRow(result.m_Table, symbol.m_Name, symbol.m_Present ? "present" : "missing");
    } else {
      ++others;
    }
  }
  AddRow(result.m_Table, "other_symbols", std::to_string(others));
  return result;
}

CommandResult RunHelp(Context& context) {
  CommandResult result;
  result.m_Json = {{"commands", Json::array()}};
  if (context.m_Arguments.empty()) {
    for (const Command& command : AllCommands()) {
      if (command.m_Group == Group::None) continue;
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

CommandResult RunVersion(Context&) {
  const std::string text = "corvane-host " CORVANE_HOST_VERSION;
  CommandResult result;
  result.m_Json = {{"version", CORVANE_HOST_VERSION}};
  result.m_Text = text + "\n";
  result.m_Values = {text};
  return result;
}

}  // namespace Console
