// tree: all objects below the plug-in.
#include "console/cli/CommandTable.h"
#include "console/report/ObjectOverview.h"

namespace Console {
namespace {

const std::vector<std::string> kLongColumns = {"object",
                                               "id",
                                               "parents",
                                               "name",
                                               "status",
                                               "status_reasons",
                                               "temperature_celsius",
                                               "reserve_space_ratio",
                                               "physical_size_bytes",
                                               "formatted_size_bytes",
                                               "sector_size_bytes",
                                               "pci_address",
                                               "serial_number"};

CommandResult Run(Context& context) {
  const bool all = context.m_Options.m_Long || context.m_Options.m_Verbose;
  return ObjectOverview(context, all ? kLongColumns : DefaultColumns(), true);
}

}  // namespace

Command TreeCommand() {
  Command command;
  command.m_Group = Group::Inspect;
  command.m_Name = "tree";
  command.m_Summary = "list all objects as a tree, with the plug-in at the root";
  command.m_OutputFormats = {"tree", "table", "tsv", "json", "jsonl", "value"};
  command.m_Options = {"--columns", "--long"};
  command.m_Run = Run;
  command.m_Description =
      "Shows adapters below the plug-in, and drives below their adapters. --long adds ids, "
      "reasons and sizes.";
  command.m_Examples = {{"tree --long", "show everything in one view"},
                        {"tree -o value", "print only the object names"}};
  return command;
}

}  // namespace Console
