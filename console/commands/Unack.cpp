// unack: remove an acknowledgment.
#include "console/cli/CommandTable.h"
#include "console/commands/Acknowledged.h"
#include "console/commands/StoredCard.h"
#include "console/report/CommandContext.h"

namespace Console {
namespace {

CommandResult Remove(const Context& context, Service::StoredState& state, const StoredCard& card,
                     const std::string& reason) {
  if (context.m_Options.m_DryRun) {
    const auto before = FindAcknowledgment(state, card.m_SerialNumber, reason);
    return AcknowledgedResult(context, card, reason, before,
                              before ? AckEffect::WouldRemove : AckEffect::None);
  }
  const bool removed = state.Unacknowledge(card.m_SerialNumber, reason);
  return AcknowledgedResult(context, card, reason, std::nullopt,
                            removed ? AckEffect::Changed : AckEffect::None);
}

CommandResult Run(Context& context) {
  const std::string reason = RequireReason(context.m_Command, context.m_Arguments.back());
  return RunForCards(context, [&](Service::StoredState& state, const StoredCard& card) {
    return Remove(context, state, card, reason);
  });
}

}  // namespace

Command UnackCommand() {
  Command command;
  command.m_Group = Group::Change;
  command.m_Name = "unack";
  command.m_Arguments = "OBJ... REASON";
  command.m_MinArguments = 2;
  command.m_MaxArguments = kAnyNumber;
  command.m_Summary = "remove the acknowledgment of a problem";
  command.m_OutputFormats = {"table", "tsv", "json"};
  command.m_Options = {"--dry-run"};
  command.m_Run = Run;
  command.m_Description =
      "Removes what ack recorded; does nothing if the problem is not acknowledged.";
  command.m_Exits = {{2, "no such reason"}};
  command.m_Examples = {{"unack a1 TEMPERATURE_ABOVE_WARN", "remove an acknowledgment"},
                        {"unack a1 TEMPERATURE_ABOVE_WARN -o json", "do the same from a script"}};
  return command;
}

}  // namespace Console
