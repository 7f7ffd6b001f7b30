// detach: make the drive of a card unavailable to the system.
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
  command.m_Arguments = "OBJ...";
  command.m_MinArguments = 1;
  command.m_MaxArguments = kAnyNumber;
  command.m_Summary = "detach a card, making its drive unavailable to the system";
  command.m_OutputFormats = {"table", "tsv", "json", "jsonl"};
  command.m_Options = {"--yes", "--confirm", "--dry-run", "--force"};
  command.m_TimeoutScope = TimeoutScope::Wait;
  command.m_Run = Run;
  command.m_Description =
      "Detaches the card and waits until its drive is no longer available to the system. The data "
      "is kept; attach makes the drive available again. Only one card at a time can be attached or "
      "detached; while another one is, the command is refused.";
  command.m_Danger =
      "The drive is not available to the system until the card is attached again. Asks for "
      "confirmation; pass --yes to confirm. Refused while the drive is mounted, used as swap or "
      "held by another block device. --force detaches a busy card.";
  command.m_Exits = {{1, "the card rejected the command, for example because it is busy"},
                     {4, "refused: drive mounted or held, or not confirmed"},
                     {7, "not detached within --timeout; the card continues detaching"}};
  command.m_Examples = {
      {"detach a1", "detach a card before a format or a repair", true},
      {"detach a1 --dry-run",
       "check whether the drive is mounted or held; not whether the card is busy"}};
  return command;
}

}  // namespace Console
