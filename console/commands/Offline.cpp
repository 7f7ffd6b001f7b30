// offline: take the storage units of a drive offline.
#include "console/change/OperationRunner.h"
#include "console/cli/CommandTable.h"

namespace Console {
namespace {

CommandResult Run(Context& context) {
  return RunOperationCommand(context, PI::OP_MAKE_OFFLINE);
}

}  // namespace

Command OfflineCommand() {
  Command command;
  command.m_Group = Group::Change;
  command.m_Name = "offline";
  command.m_Arguments = "DRIVE...";
  command.m_MinArguments = 1;
  command.m_MaxArguments = kAnyNumber;
  command.m_Summary = "take the storage units of a drive offline";
  command.m_OutputFormats = {"table", "tsv", "json"};
  command.m_Options = {"--yes", "--confirm", "--dry-run"};
  command.m_TimeoutScope = TimeoutScope::Call;
  command.m_Run = Run;
  command.m_Description =
      "Takes all storage units of a drive offline. Use the online command to bring them back.";
  command.m_Danger =
      "The drive is not available to the system until it is online again. Asks for "
      "confirmation; pass --yes to confirm. Refused while the drive is mounted, used as swap or "
      "held by another block device.";
  command.m_Exits = {{4, "refused: in use, or not confirmed"}};
  command.m_Examples = {{"offline a0/d0", "confirm and take offline"},
                        {"offline a0/d0 --dry-run", "show what would be changed"}};
  return command;
}

}  // namespace Console
