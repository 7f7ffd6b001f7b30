// attach: make the drive of a card available.
#include "console/change/OperationRunner.h"
#include "console/cli/CommandTable.h"

namespace Console {
namespace {

CommandResult Run(Context& context) {
  return RunOperationCommand(context, PI::OP_ATTACH);
}

}  // namespace

Command AttachCommand() {
  Command command;
  command.m_Group = Group::Change;
  command.m_Name = "attach";
  command.m_Arguments = "OBJ";
  command.m_Least = 1;
  command.m_Most = 1;
  command.m_Summary = "Make a card's drive available to the system";
  command.m_Forms = {"table", "tsv", "json", "jsonl"};
  command.m_Options = {"--yes", "--dry-run"};
  command.m_TimeoutScope = TimeoutScope::Wait;
  command.m_Run = Run;
  command.m_Description =
      "Makes the drive of a card available to the system and waits until it is. May take "
      "minutes.";
  command.m_Danger = "Asks first; -y answers yes.";
  command.m_Exits = {{4, "refused, or nobody could be asked"},
                     {7, "not attached within --timeout; the card goes on"}};
  command.m_Examples = {{"attach a1", "asks, attaches and waits"},
                        {"attach a1 -y --timeout 10m", "for a script"}};
  return command;
}

}  // namespace Console
