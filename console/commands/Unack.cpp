// unack: remove an acknowledgment.
#include "console/cli/CommandTable.h"
#include "console/commands/Acknowledged.h"
#include "console/commands/StoredCard.h"
#include "console/report/CommandContext.h"

namespace Console {
namespace {

CommandResult Run(Context& context) {
  const std::string reason = RequireReason(context.m_Command, context.m_Arguments[1]);
  const Model model = context.Objects();
  const auto state = Service::OpenStoredState(context.Open());
  const StoredCard card = SelectStoredCard(model, *state, "unack", context.m_Arguments[0]);
  const bool removed = state->Unacknowledge(card.m_SerialNumber, reason);
  return AcknowledgedResult(card, reason, std::nullopt, removed);
}

}  // namespace

Command UnackCommand() {
  Command command;
  command.m_Group = Group::Change;
  command.m_Name = "unack";
  command.m_Arguments = "OBJ REASON";
  command.m_MinArguments = 2;
  command.m_MaxArguments = 2;
  command.m_Summary = "remove the acknowledgment of a problem";
  command.m_OutputFormats = {"table", "tsv", "json"};
  command.m_Run = Run;
  command.m_Description =
      "Removes what ack recorded; does nothing if the problem is not acknowledged.";
  command.m_Exits = {{2, "no such reason"}};
  command.m_Examples = {{"unack a1 TEMPERATURE_ABOVE_WARN", "remove an acknowledgment"},
                        {"unack a1 TEMPERATURE_ABOVE_WARN -o json", "do the same from a script"}};
  return command;
}

}  // namespace Console
