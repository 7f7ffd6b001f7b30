// list: cards, one per row.
#include "console/cli/CommandTable.h"
#include "console/report/ObjectOverview.h"

namespace Console {
Command ListCommand() {
  Command command;
  command.m_Group = Group::Inspect;
  command.m_Name = "list";
  command.m_Summary = "list cards, one per row, the worst first";
  command.m_OutputFormats = {"table", "tsv", "json", "jsonl", "value"};
  command.m_Options = {"--columns", "--long"};
  command.m_Run = CardOverview;
  command.m_Description =
      "Prints one row per card, those with the most severe status first; a value beyond its limit "
      "is marked with an exclamation mark. --long adds PCI addresses, names, sizes in binary units "
      "and the drives; on a wide terminal, they are added as far as they fit. Machine formats "
      "contain adapters and drives in the order of their positions; with -o tsv, values are in "
      "base units, and the columns have the names that get accepts.";
  command.m_Examples = {
      {"list", "find the card that is hot, worn or failing", true},
      {"list -o tsv -c object,temperature_celsius", "print only the temperatures, for a script"}};
  return command;
}

}  // namespace Console
