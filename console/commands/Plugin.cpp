// plugin: the file that is loaded, its interface and its symbols.
#include <algorithm>

#include "console/cli/CommandTable.h"
#include "console/plugin/Exports.h"

namespace Console {
namespace {

struct Symbol {
  std::string m_Name;
  bool m_Expected;
  bool m_Present;
};

// Returns the symbols that a host may look up, then all other exported symbols.
std::vector<Symbol> SymbolsOf(const std::string& file) {
  std::vector<std::string> exported = ExportedSymbols(file);
  std::vector<Symbol> symbols;
  for (const std::string& name : ExpectedSymbols()) {
    const auto found = std::find(exported.begin(), exported.end(), name);
    symbols.push_back({name, true, found != exported.end()});
    if (found != exported.end()) exported.erase(found);
  }
  for (const std::string& name : exported) symbols.push_back({name, false, true});
  return symbols;
}

void AddRow(Table& table, const std::string& name, const std::string& value) {
  table.m_Rows.push_back({{TextCell(name), TextCell(value)}, std::nullopt});
}

CommandResult Run(Context& context) {
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

}  // namespace

Command PluginCommand() {
  Command command;
  command.m_Group = Group::Help;
  command.m_Name = "plugin";
  command.m_Summary = "show the loaded plug-in: file, version and symbols";
  command.m_OutputFormats = {"table", "tsv", "json"};
  command.m_Run = Run;
  command.m_Description =
      "Shows the file of the loaded plug-in, its module id and interface version, and whether it "
      "exports each symbol that a host may look up. -o json lists all other exported "
      "symbols too.";
  command.m_Exits = {{5, "plug-in missing or incompatible"}};
  command.m_Examples = {{"plugin", "show which plug-in is loaded"},
                        {"plugin --plugin ./libCorvane.so", "check whether a file is compatible"}};
  return command;
}

}  // namespace Console
