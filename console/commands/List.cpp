// list: cards, one per row.
#include <algorithm>

#include "console/cli/CommandTable.h"
#include "console/commands/Acknowledged.h"
#include "console/model/Health.h"
#include "console/report/ObjectOverview.h"

namespace Console {
namespace {

// Reads the acknowledgments only if a card has a problem.
std::set<const Object*> AcknowledgedCards(Context& context, const Model& model) {
  std::set<const Object*> cards;
  std::optional<std::vector<Service::Acknowledgment>> all;
  for (const Object& object : model.Objects()) {
    if (object.m_Kind != Kind::Adapter) continue;
    const std::vector<Reason> reasons = HealthOf(object).m_Reasons;
    if (reasons.empty()) continue;
    if (!all) all = ReadAcknowledgments(context);
    const std::string serial = FieldText(object, "serial_number");
    if (std::all_of(reasons.begin(), reasons.end(), [&](const Reason& reason) {
          return FindAcknowledgment(*all, serial, reason.m_Name) != nullptr;
        })) {
      cards.insert(&object);
    }
  }
  return cards;
}

CommandResult Run(Context& context) {
  return CardOverview(context,
                      [&](const Model& model) { return AcknowledgedCards(context, model); });
}

}  // namespace

Command ListCommand() {
  Command command;
  command.m_Group = Group::Inspect;
  command.m_Name = "list";
  command.m_Summary = "list cards, one per row, the worst first";
  command.m_OutputFormats = {"table", "tsv", "json", "jsonl", "value"};
  command.m_Options = {"--columns", "--long"};
  command.m_Run = Run;
  command.m_Description =
      "Prints one row per card, those with the most severe status first; a value beyond its "
      "limit is marked with an exclamation mark, a value from before the last report with a "
      "question "
      "mark, because the card cannot be read or the plug-in is not running, and a card whose "
      "problems "
      "are acknowledged is marked too. --long adds PCI addresses, names, sizes in binary units "
      "and the drives; on a wide terminal, they are added as far as they fit. Machine formats "
      "contain adapters and drives in the order of their positions; with -o tsv, values are in "
      "base units, and the columns have the names that get accepts. Rows of --columns start with "
      "the "
      "object unless a column identifies the card.";
  command.m_Examples = {
      {"list", "find the card that is hot, worn or failing", true},
      {"list -o tsv -c object,temperature_celsius", "print only the temperatures, for a script"}};
  return command;
}

}  // namespace Console
