// detach: take the drive of a card away from the system.
#include "console/change/OperationRunner.h"
#include "console/cli/CommandTable.h"

namespace Console {
namespace {

CommandResult Run(Context& context) {
  return RunOperationCommand(context,
                             context.m_Options.m_Force ? PI::OP_FORCE_DETACH : PI::OP_DETACH);
}

}  // namespace

Command DetachCommand() {
  Command command;
  command.m_Group = Group::Change;
  command.m_Name = "detach";
  command.m_Arguments = "OBJ";
  command.m_Least = 1;
  command.m_Most = 1;
  command.m_Summary = "Take a card's drive away from the system";
  command.m_Forms = {"table", "tsv", "json", "jsonl"};
  command.m_Options = {"--yes", "--dry-run", "--force"};
  command.m_TimeoutScope = TimeoutScope::Wait;
  command.m_Run = Run;
  command.m_Description =
      "Takes the drive of a card away from the system and waits until it is gone. attach "
      "brings it back with its data.";
  command.m_Danger =
      "The system loses the drive until it is attached again. Asks first; -y answers yes. "
      "Refused while the drive is mounted, held or used as swap. --force detaches a busy "
      "card.";
  command.m_Exits = {{4, "refused: in use, or nobody could be asked"},
                     {7, "not detached within --timeout; the card goes on"}};
  command.m_Examples = {{"detach a1", "take a card's drive away, before a format or repair", true},
                        {"detach a1 --dry-run", "only say what would be done"}};
  return command;
}

}  // namespace Console
