// online: bring the storage units of a drive online.
#include "console/change/OperationRunner.h"
#include "console/cli/CommandTable.h"

namespace Console {
namespace {

CommandResult Run(Context& context) {
  return RunOperationCommand(context, PI::OP_MAKE_ONLINE);
}

}  // namespace

Command OnlineCommand() {
  Command command;
  command.m_Group = Group::Change;
  command.m_Name = "online";
  command.m_Arguments = "DRIVE...";
  command.m_MinArguments = 1;
  command.m_MaxArguments = kAnyNumber;
  command.m_Summary = "bring the storage units of a drive online";
  command.m_OutputFormats = {"table", "tsv", "json"};
  command.m_Options = {"--yes", "--confirm", "--dry-run"};
  command.m_TimeoutScope = TimeoutScope::Call;
  command.m_Run = Run;
  command.m_Description = "Brings all storage units of a drive online.";
  command.m_Danger = "Asks for confirmation; pass --yes to confirm.";
  command.m_Exits = {{4, "refused or not confirmed"}};
  command.m_Examples = {{"online a0/d0", "confirm and bring online"},
                        {"online a0/d0 --yes -o json", "do the same from a script"}};
  return command;
}

}  // namespace Console
