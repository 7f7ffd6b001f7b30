// list: adapters and drives, a row each.
#include "console/cli/CommandTable.h"
#include "console/report/ObjectOverview.h"

namespace Console {
namespace {

CommandResult Run(Context& context) {
  return ObjectOverview(context, UsualColumns(), false);
}

}  // namespace

Command ListCommand() {
  Command command;
  command.m_Group = Group::Inspect;
  command.m_Name = "list";
  command.m_Summary = "Adapters and drives with status, temperature and reserve";
  command.m_Forms = {"table", "tsv", "json", "jsonl", "value"};
  command.m_Options = {"--columns"};
  command.m_Run = Run;
  command.m_Description =
      "One line for each adapter and drive. With -o tsv it has base units and the names that "
      "get knows, for scripts.";
  command.m_Examples = {
      {"list", "which card is hot, worn or failing", true},
      {"list -o tsv -c object,temperature_celsius", "the temperatures alone, for a script"}};
  return command;
}

}  // namespace Console
