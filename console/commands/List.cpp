// list: adapters and drives, one per row.
#include "console/cli/CommandTable.h"
#include "console/report/ObjectOverview.h"

namespace Console {
namespace {

CommandResult Run(Context& context) {
  return ObjectOverview(context, DefaultColumns(), false);
}

}  // namespace

Command ListCommand() {
  Command command;
  command.m_Group = Group::Inspect;
  command.m_Name = "list";
  command.m_Summary = "list adapters and drives with status and temperature";
  command.m_OutputFormats = {"table", "tsv", "json", "jsonl", "value"};
  command.m_Options = {"--columns"};
  command.m_Run = Run;
  command.m_Description =
      "Prints one row per adapter and drive. With -o tsv, values are in base units, and the "
      "columns "
      "have the names that get accepts.";
  command.m_Examples = {
      {"list", "find the card that is hot, worn or failing", true},
      {"list -o tsv -c object,temperature_celsius", "print only the temperatures, for a script"}};
  return command;
}

}  // namespace Console
