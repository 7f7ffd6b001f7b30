// metrics: print metrics, or write them to a file for a collector.
#include <fmt/format.h>

#include <algorithm>
#include <boost/algorithm/string/predicate.hpp>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "console/base/TextFile.h"
#include "console/base/Timestamp.h"
#include "console/cli/CommandTable.h"
#include "console/plugin/UnreadableRecords.h"
#include "console/render/CommandResult.h"
#include "console/render/MetricFamilies.h"
#include "console/render/OpenMetrics.h"
#include "console/report/CommandContext.h"

namespace Console {
namespace {

// Returns empty if the plug-in cannot be used, so that a metric can report it. A usage error ends
// the command.
std::optional<Model> ReadObjects(Context& context, CommandResult& result) {
  try {
    return context.Objects();
  } catch (const Failure& failure) {
    if (failure.m_Code == ExitCode::Usage) throw;
    context.m_Diagnostics.Error(failure.m_Id, failure.m_Text, failure.m_Advice);
    result.m_Code = failure.m_Code;
    return std::nullopt;
  }
}

Json SampleJson(const Sample& sample) {
  Json labels = Json::object();
  for (const auto& [name, text] : sample.m_Labels) labels[name] = text;
  Json json = {{"labels", labels}};
  const Json number = Json::parse(sample.m_Value);
  if (number.is_number_unsigned()) {
    PutValue(json, "value", {ValueKind::Count, number.get<std::uint64_t>(), Severity::Neutral});
  } else {
    json["value"] = number;
  }
  return json;
}

Json FamilyJson(const Family& family) {
  Json json = {{"name", family.m_Name}, {"type", MetricTypeName(family.m_Type)}};
  json["unit"] = family.m_Unit.empty() ? Json() : Json(family.m_Unit);
  json["help"] = family.m_Help;
  json["samples"] = Json::array();
  for (const Sample& sample : family.m_Samples) json["samples"].push_back(SampleJson(sample));
  return json;
}

// Whether no message says that the database cannot be used.
bool CanUseDatabase(const Diagnostics& diagnostics) {
  static const std::set<std::string> ids = {kNoEventLog, "DATABASE_FAILED", "EVENTS_NOT_LOGGED"};
  const std::vector<Message>& messages = diagnostics.Messages();
  return UnreadableRecords(diagnostics).empty() &&
         std::none_of(messages.begin(), messages.end(),
                      [](const Message& each) { return ids.count(each.m_Id) > 0; });
}

// Returns empty, and adds a note, if the events cannot be counted.
std::optional<std::vector<HostKit::EventCount>> CountEvents(Context& context) {
  const std::size_t before = context.m_Diagnostics.Messages().size();
  std::vector<HostKit::EventCount> events = context.EventLog().Count();
  if (context.m_Diagnostics.Messages().size() > before) return std::nullopt;
  return events;
}

// The collector ignores all other files without a message.
void NoteIgnoredFile(Context& context, const std::string& file) {
  if (file.empty() || boost::ends_with(file, ".prom")) return;
  context.m_Diagnostics.Note(
      "IGNORED_FILE",
      fmt::format("the textfile collector reads only files whose names end in .prom, not {}",
                  file));
}

CommandResult Run(Context& context) {
  CommandResult result;
  const std::optional<Model> model = ReadObjects(context, result);
  MetricInput input;
  if (model) {
    const Session& session = context.Open();
    input.m_pModel = &*model;
    input.m_IsUp = session.IsUp();
    input.m_StartSeconds = session.StartDuration().count();
    input.m_ScannedAt = session.Times().m_ScannedAt;
    input.m_Now = NowMs();
  }
  input.m_Events = CountEvents(context);
  input.m_IsDatabaseUp = CanUseDatabase(context.m_Diagnostics);
  const std::vector<Family> families = CollectMetrics(input);
  const std::string& file = context.m_Options.m_TextFile;
  if (!file.empty()) ReplaceTextFile(file, PlainMetricsText(families));
  NoteIgnoredFile(context, file);
  result.m_Text = file.empty() ? OpenMetricsText(families) : "";
  result.m_Json = {{"textfile", file.empty() ? Json() : Json(file)}, {"families", Json::array()}};
  for (const Family& family : families) result.m_Json["families"].push_back(FamilyJson(family));
  return result;
}

}  // namespace

Command MetricsCommand() {
  Command command;
  command.m_Group = Group::Service;
  command.m_Name = "metrics";
  command.m_Summary = "print metrics for Prometheus (OpenMetrics)";
  command.m_OutputFormats = {"table", "json"};
  command.m_Options = {"--textfile"};
  command.m_NeedsPlugin = true;
  command.m_Run = Run;
  command.m_Description =
      "Prints OpenMetrics text to standard output. With --textfile, atomically replaces a file for "
      "the node exporter instead. A service also serves the metrics at /metrics of its socket and "
      "of "
      "its --listen address. Alert rules for Prometheus are in "
      "share/corvane/prometheus/corvane.rules.yml of the installation.";
  command.m_Exits = {{5, "plug-in missing or incompatible; corvane_plugin_up 0 is printed"}};
  command.m_Examples = {{"metrics", "feed Prometheus", true},
                        {"metrics --textfile FILE.prom", "write a file for a node exporter"}};
  return command;
}

}  // namespace Console
