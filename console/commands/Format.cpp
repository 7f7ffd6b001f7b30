// format: erase a drive and change its capacity or sector size.
#include <fmt/format.h>

#include "console/base/Number.h"
#include "console/change/FormatDrive.h"
#include "console/change/OperationRunner.h"
#include "console/cli/CommandTable.h"
#include "console/plugin/UnreadableRecords.h"

namespace Console {
namespace {

// Parses an integer from `min` to `max`. Returns 0 if the text is invalid or out of range.
std::int32_t ParseInRange(const std::string& text, std::int32_t min, std::int32_t max) {
  const auto number = ReadNumber<std::int32_t>(text);
  return number && *number >= min && *number <= max ? *number : 0;
}

void ParseCapacity(const std::string& text, FormatRequest& request) {
  for (const Capacity& row : kCapacities) {
    if (text == row.m_Name) {
      request.m_Capacity = row.m_Value;
      return;
    }
  }
  request.m_Capacity = PI::Value::CUSTOM;
  const bool hasPercentSign = !text.empty() && text.back() == '%';
  request.m_Percent = ParseInRange(text.substr(0, text.size() - (hasPercentSign ? 1 : 0)),
                                   kMinPercent, kMaxPercent);
  if (request.m_Percent != 0) return;
  std::vector<std::string> names;
  for (const Capacity& row : kCapacities) {
    if (*row.m_Name != '\0') names.emplace_back(row.m_Name);
  }
  std::vector<std::string> advice = DidYouMean(text, names);
  advice.emplace_back("Valid: maximum, factory, improved, high, or a percentage from 10 to 100.");
  throw UsageFailure(fmt::format("--capacity: invalid value '{}'", text), advice);
}

FormatRequest ParseRequest(const Options& options) {
  FormatRequest request;
  if (!options.m_Capacity.empty()) ParseCapacity(options.m_Capacity, request);
  if (options.m_SectorSize.empty()) return request;
  request.m_SectorSize =
      static_cast<std::uint32_t>(ParseInRange(options.m_SectorSize, 1, kMaxSectorSize));
  if (request.m_SectorSize != 0) return request;
  throw UsageFailure(fmt::format("--sector-size: invalid value '{}'", options.m_SectorSize),
                     {"Valid: a number of bytes, such as 512 or 4096."});
}

// Without either option, a format would only erase the drive.
void RequireChange(const Options& options) {
  if (!options.m_Capacity.empty() || !options.m_SectorSize.empty()) return;
  throw UsageFailure(
      "--capacity or --sector-size is required",
      {"For example: corvane-host format a0/d0 --capacity 80", "Nothing was changed."});
}

CommandResult Run(Context& context) {
  RequireChange(context.m_Options);
  const FormatRequest request = ParseRequest(context.m_Options);
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
