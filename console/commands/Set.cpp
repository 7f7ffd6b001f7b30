// set: change one property and report the change.
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "console/base/Number.h"
#include "console/cli/CommandTable.h"
#include "console/model/PropertyName.h"
#include "console/model/Selectors.h"
#include "console/render/CommandResult.h"
#include "console/report/CommandContext.h"
#include "hostkit/Paths.h"

namespace Console {
namespace {

struct Assignment {
  std::string m_Property;
  std::string m_Value;
};

Assignment ParseAssignment(const std::string& text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos || equals == 0) {
    throw UsageFailure(fmt::format("'{}' is not PROP=VALUE", text),
                       {"For example: corvane-host set plugin poll_interval=30"});
  }
  return {text.substr(0, equals), text.substr(equals + 1)};
}

int ParseNumber(const std::string& text) {
  if (const auto number = ReadNumber<int>(text)) return *number;
  throw UsageFailure(fmt::format("'{}' is not a valid integer", text),
                     {"For example: corvane-host set plugin poll_interval=30"});
}

Failure NotWritable(const Object& object, const PropertyName& name) {
  return Failure(ExitCode::Refused, "NOT_WRITABLE",
                 fmt::format("set {} {}", object.m_Selector, name.m_Text), "read-only",
                 {"Nothing was changed."});
}

// Throws `Failure` for a field that this host derives, and if the plug-in does not report the
// property.
PI::CProperty ReadRecord(Session& session, const Object& object, const PropertyName& name) {
  if (name.m_Number == kNoProperty) throw NotWritable(object, name);
  const std::vector<PI::CProperty> record = session.Property(object.m_ID, name.m_Number);
  if (!record.empty()) return record.front();
  throw Failure(ExitCode::Failed, "PROPERTY_UNKNOWN",
                fmt::format("set {} {}", object.m_Selector, name.m_Text),
                "not reported by the plug-in now");
}

// Rejects a read-only property without calling the plug-in.
void RequireWritable(const Object& object, const PropertyName& name, const PI::CProperty& record) {
  if (record.m_Writable && record.m_ValueType == PI::VALUE_TYPE_RANGE) return;
  throw NotWritable(object, name);
}

struct Change {
  int m_Before = 0;
  int m_Requested = 0;
  int m_After = 0;
  int m_Minimum = 0;
  int m_Maximum = 0;
  std::uint32_t m_Result = PI::SUCCESS;
};

// Returns the change that `Apply` would make.
Change PlanOf(PI::CProperty record, int requested) {
  Change change;
  change.m_Requested = requested;
  unsigned int step = 0;
  record.GetValue(change.m_Before, change.m_Minimum, change.m_Maximum, step);
  change.m_After = std::clamp(requested, change.m_Minimum, change.m_Maximum);
  return change;
}

// Writes the record with only the value changed; the plug-in applies the limits.
Change Apply(Session& session, const Object& object, const PropertyName& name, PI::CProperty record,
             int requested) {
  Change change = PlanOf(record, requested);
  const unsigned int step = record.m_Value.m_Step;
  record.SetValue(requested, change.m_Minimum, change.m_Maximum, step);
  change.m_Result = session.SetProperty(object.m_ID, record);
  ReadRecord(session, object, name).GetValueRange(change.m_After);
  return change;
}

// Errors below `PI::ERR_GENERAL` concern only the configuration file; the new value is in effect.
bool WasSaved(const Change& change) {
  return change.m_Result == PI::SUCCESS;
}

void NoteLimits(Diagnostics& diagnostics, const Change& change) {
  if (change.m_After == change.m_Requested) return;
  diagnostics.Note("VALUE_LIMITED",
                   fmt::format("{} is out of range ({} to {}); set to {}", change.m_Requested,
                               change.m_Minimum, change.m_Maximum, change.m_After));
}

void ReportNotSaved(Diagnostics& diagnostics, const std::string& subject, const Change& change) {
  diagnostics.Error(
      "NOT_SAVED",
      fmt::format("cannot save {}: the configuration file is not writable ({})", subject,
                  change.m_Result),
      {fmt::format("{} applies to this run only; the file is unchanged.", change.m_After),
       fmt::format("Make {} writable and set the value again.",
                   HostKit::ConfigDirectory().string())});
}

std::string ChangeText(const std::string& subject, const Change& change) {
  if (change.m_Before == change.m_After) {
    return fmt::format("{}: already {}\n", subject, change.m_After);
  }
  return fmt::format("{}: {} -> {}\n", subject, change.m_Before, change.m_After);
}

Table ChangeTable(const Object& object, const PropertyName& name, const Change& change) {
  Table table;
  table.m_Columns = ChangeColumns();
  table.m_Rows = {
      {{TextCell(object.m_Selector), TextCell(name.m_Text),
        TextCell(std::to_string(change.m_Before)), TextCell(std::to_string(change.m_After))},
       std::nullopt}};
  return table;
}

// Whether the plug-in of this process can replace its configuration file. A service may have other
// permissions.
bool CanSave(const Session& session) {
  return session.IsShared() || access(HostKit::ConfigDirectory().c_str(), W_OK) == 0 ||
         errno == ENOENT;
}

// The result of --dry-run.
CommandResult PlannedResult(Context& context, const Object& object, const PropertyName& name,
                            const Change& change) {
  const std::string subject = fmt::format("{} {}", object.m_Selector, name.m_Text);
  NoteLimits(context.m_Diagnostics, change);
  CommandResult result;
  if (change.m_Before != change.m_After && !CanSave(context.Open())) {
    context.m_Diagnostics.Error(
        "NOT_SAVED", fmt::format("cannot save {}: the configuration file is not writable", subject),
        {fmt::format("Make {} writable.", HostKit::ConfigDirectory().string())});
    result.m_Code = ExitCode::Failed;
  }
  result.m_Text = ChangeText(subject, change) + "Nothing was changed.\n";
  return result;
}

// The result of a change that the plug-in has made. Throws `Failure` if it has rejected the change.
CommandResult MadeResult(Context& context, const Object& object, const PropertyName& name,
                         const Change& change) {
  const std::string subject = fmt::format("{} {}", object.m_Selector, name.m_Text);
  if (change.m_Result >= PI::ERR_GENERAL) {
    throw PluginFailure("set " + subject, change.m_Result);
  }
  NoteLimits(context.m_Diagnostics, change);
  if (!WasSaved(change)) ReportNotSaved(context.m_Diagnostics, subject, change);
  CommandResult result;
  result.m_Code = WasSaved(change) ? ExitCode::Done : ExitCode::Failed;
  result.m_Text = ChangeText(subject, change);
  return result;
}

CommandResult Run(Context& context) {
  const Assignment assignment = ParseAssignment(context.m_Arguments[1]);
  const Model model = context.Objects();
  const Object& object = SelectReported(model, context.m_Arguments[0]);
  const PropertyName name = ResolveProperty(object, assignment.m_Property);
  const PI::CProperty record = ReadRecord(context.Open(), object, name);
  RequireWritable(object, name, record);
  const bool dryRun = context.m_Options.m_DryRun;
  const int requested = ParseNumber(assignment.m_Value);
  const Change change =
      dryRun ? PlanOf(record, requested) : Apply(context.Open(), object, name, record, requested);
  const bool differs = change.m_Before != change.m_After;
  CommandResult result = dryRun ? PlannedResult(context, object, name, change)
                                : MadeResult(context, object, name, change);
  const Field* field = FindField(object.m_Kind, assignment.m_Property);
  const std::string property = field == nullptr ? name.m_Text : field->m_Name;
  result.m_Changed = differs && !dryRun;
  result.m_Json = {{"object", object.m_Selector},
                   {"property", property},
                   {"before", {{property, change.m_Before}}},
                   {"after", {{property, change.m_After}}},
                   {"saved", dryRun ? Json() : Json(WasSaved(change))},
                   {"dry_run", dryRun},
                   {"would_change", WouldChangeJson(dryRun, differs)}};
  result.m_Table = ChangeTable(object, name, change);
  return result;
}

}  // namespace

Command SetCommand() {
  Command command;
  command.m_Group = Group::Change;
  command.m_Name = "set";
  command.m_Arguments = "OBJ PROP=VALUE";
  command.m_MinArguments = 2;
  command.m_MaxArguments = 2;
  command.m_Summary = "change a property";
  command.m_OutputFormats = {"table", "tsv", "json"};
  command.m_Options = {"--dry-run"};
  command.m_TimeoutScope = TimeoutScope::Call;
  command.m_Run = Run;
  command.m_Description =
      "Changes one property and shows its value before and after. A value outside the "
      "limits is set to the nearest limit.";
  command.m_Exits = {{1, "the value is in effect, but could not be saved"},
                     {4, "the property is read-only"}};
  command.m_Examples = {{"set plugin poll_interval=30", "poll the cards every 30 seconds"},
                        {"set plugin poll_interval=15 -o json", "do the same from a script"}};
  return command;
}

}  // namespace Console
