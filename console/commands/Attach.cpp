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
  command.m_Arguments = "OBJ...";
  command.m_MinArguments = 1;
  command.m_MaxArguments = kAnyNumber;
  command.m_Summary = "make a card's drive available to the system";
  command.m_OutputFormats = {"table", "tsv", "json", "jsonl"};
  command.m_Options = {"--yes", "--confirm", "--dry-run"};
  command.m_TimeoutScope = TimeoutScope::Wait;
  command.m_Run = Run;
  command.m_Description =
      "Attaches the card and waits until its drive is available, which can take minutes. Only one "
      "card at a time can be attached or detached; while another one is, the command is refused.";
  command.m_Danger = "Asks for confirmation; pass --yes to confirm.";
  command.m_Exits = {{4, "refused or not confirmed"},
                     {7, "not attached within --timeout; the card continues attaching"}};
  command.m_Examples = {{"attach a1", "confirm, attach and wait"},
                        {"attach a1 --yes --timeout 10m", "attach from a script"}};
  return command;
}

}  // namespace Console
