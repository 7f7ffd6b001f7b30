// format: erase a drive and change its capacity or sector size.
#include "console/change/FormatDrive.h"
#include "console/change/OperationRunner.h"
#include "console/cli/CommandTable.h"
#include "console/plugin/UnreadableRecords.h"

namespace Console {
namespace {

CommandResult Run(Context& context) {
  const FormatRequest request =
      ParseFormatRequest({"--capacity", "--sector-size", "corvane-host format a0/d0 --capacity 80",
                          context.m_Options.m_Capacity, context.m_Options.m_SectorSize});
  const Model model = context.Objects();
  RequireNoPosition(context.m_Arguments, context.m_Diagnostics);
  const Object& drive =
      SelectForOperation(model, context.m_Arguments[0], *FindOperation(PI::OP_FORMAT_DEVICE));
  return FormatDrive(context, model, drive, request);
}

}  // namespace

Command FormatCommand() {
  Command command;
  command.m_Group = Group::Change;
  command.m_Name = "format";
  command.m_Arguments = "DRIVE";
  command.m_MinArguments = 1;
  command.m_MaxArguments = 1;
  command.m_Summary = "erase a drive and change its capacity or sector size";
  command.m_OutputFormats = {"table", "tsv", "json", "jsonl"};
  command.m_Options = {"--yes", "--dry-run", "--confirm", "--again", "--capacity", "--sector-size"};
  command.m_TimeoutScope = TimeoutScope::Call;
  command.m_Run = Run;
  command.m_Description =
      "Formats a drive with a new capacity, a new sector size or both, and waits until the "
      "format is complete. A smaller capacity leaves more reserve space, which makes writes faster "
      "and extends the life of the card. Detach the card first.";
  command.m_Danger =
      "ALL DATA ON THE DRIVE IS LOST. Asks for the serial number of the card; in a script, "
      "pass it with --confirm. --yes does not apply to format. Refused while the drive is "
      "mounted, used as swap or held by another block device.";
  command.m_Exits = {{1, "the card could not be formatted"},
                     {4, "refused: serial number missing or wrong, or drive in use"}};
  command.m_Examples = {
      {"format a0/d0 --capacity 80", "erase a detached card's drive and use 80 % of it", true},
      {"format a0/d0 --capacity factory --sector-size 4096 --dry-run",
       "show what would be changed"}};
  return command;
}

}  // namespace Console
