// history: recorded values of a card over time.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <deque>
#include <iterator>
#include <limits>

#include "console/base/Duration.h"
#include "console/base/Timestamp.h"
#include "console/cli/CommandTable.h"
#include "console/commands/StoredCard.h"
#include "console/render/CommandResult.h"
#include "console/report/CommandContext.h"
#include "console/watch/Graph.h"
#include "console/watch/ScreenLines.h"

namespace Console {
namespace {

using Service::HistoryPoint;
using Service::HistoryQuery;
using Service::HistorySeries;

constexpr std::uint64_t kSecondMs = 1000;
constexpr std::uint64_t kMinuteMs = 60 * kSecondMs;
constexpr std::uint64_t kDayMs = 24 * 60 * kMinuteMs;

// Maximum number of values if --step is not specified.
constexpr std::uint64_t kDefaultMaxValues = 24;
constexpr std::array<std::uint64_t, 13> kDefaultStepMinutes = {
    1, 5, 10, 15, 30, 60, 120, 180, 360, 720, 1440, 7 * 1440, 31 * 1440};

constexpr std::size_t kSparklineColumns = 60;

// Minimum span of the sparkline's scale, so that noise appears as a flat line.
struct MinSpan {
  ValueKind m_Kind;
  double m_Span;
};

constexpr MinSpan kMinSpans[] = {{ValueKind::Celsius, 8},
                                 {ValueKind::Watts, 8},
                                 {ValueKind::Ratio, 0.08},
                                 {ValueKind::Bytes, 8}};

std::vector<std::string> RecordedNames() {
  std::vector<std::string> names;
  for (const Service::HistoryField& field : Service::kHistoryFields) {
    names.emplace_back(field.m_Name);
  }
  return names;
}

// A recorded property, as a field of adapters and as a field of the history.
struct RecordedField {
  const Field* m_Field;
  const Service::HistoryField* m_History;
};

RecordedField RequireRecorded(const std::string& name) {
  const Field* const field = FindField(Kind::Adapter, name);
  const Service::HistoryField* const history =
      field == nullptr ? nullptr : Service::FindHistoryField(field->m_Name);
  if (history != nullptr) return {field, history};
  const std::vector<std::string> names = RecordedNames();
  std::vector<std::string> advice = DidYouMean(name, names);
  advice.push_back(fmt::format("Recorded: {}", fmt::join(names, ", ")));
  throw Failure(ExitCode::Usage, "NOT_RECORDED", "history",
                fmt::format("'{}' is not a recorded property", name), advice);
}

// Times are whole seconds. By default, the range ends after the current second, because the end is
// exclusive.
HistoryQuery QueryOf(const Options& options, const RecordedField& field) {
  if (!options.m_Since.empty() && !options.m_From.empty()) {
    throw UsageFailure("--since cannot be combined with --from", {"Both set the start."});
  }
  const std::uint64_t now = NowMs();
  HistoryQuery query;
  query.m_Field = field.m_History;
  query.m_To = now + kSecondMs;
  if (!options.m_To.empty()) query.m_To = ParseTimestamp("--to", options.m_To, now);
  query.m_To = query.m_To / kSecondMs * kSecondMs;
  query.m_From = query.m_To - std::min(query.m_To, kDayMs);
  if (!options.m_From.empty()) query.m_From = ParseTimestamp("--from", options.m_From, now);
  if (!options.m_Since.empty()) query.m_From = ParseTimestamp("--since", options.m_Since, now);
  query.m_From = query.m_From / kSecondMs * kSecondMs;
  if (query.m_From >= query.m_To) {
    throw UsageFailure("--to: the range ends before it starts", {"For example: --from 2d --to 1d"});
  }
  if (const auto step = ParseDuration("--step", options.m_Step)) {
    query.m_Step = static_cast<std::uint64_t>(step->count());
  }
  return query;
}

// The time from the start of the first step to the end of the last one.
std::uint64_t LengthOf(const HistorySeries& series) {
  if (series.m_Points.empty()) return 0;
  return series.m_Points.back().m_Time - series.m_Points.front().m_Time + series.m_Step;
}

std::uint64_t DefaultStep(std::uint64_t length) {
  for (const std::uint64_t minutes : kDefaultStepMinutes) {
    if (minutes * kMinuteMs * kDefaultMaxValues >= length) return minutes * kMinuteMs;
  }
  return (length + kDefaultMaxValues - 1) / kDefaultMaxValues;
}

// Returns the shortest interval between two values. The intervals differ, because older values are
// hourly.
std::uint64_t SpacingOf(const HistorySeries& series) {
  std::uint64_t shortest = LengthOf(series);
  for (std::size_t i = 1; i < series.m_Points.size(); ++i) {
    shortest = std::min(shortest, series.m_Points[i].m_Time - series.m_Points[i - 1].m_Time);
  }
  return shortest;
}

// A card without a history has no values. The default step depends on the times of the values, so
// it requires a first read.
HistorySeries ReadSeries(Service::StoredState& state, HistoryQuery query, bool hasStep) {
  HistorySeries series = state.History(query).value_or(HistorySeries());
  if (hasStep || series.m_Points.empty()) return series;
  query.m_Step = std::max(DefaultStep(LengthOf(series)), SpacingOf(series));
  if (query.m_Step <= series.m_Step) return series;
  return state.History(query).value_or(HistorySeries());
}

Value ValueOf(const Field& field, double number) {
  if (field.m_Kind != ValueKind::Bytes) return {field.m_Kind, number, Severity::Neutral};
  return {field.m_Kind, static_cast<std::uint64_t>(std::llround(number)), Severity::Neutral};
}

// Returns the mean of each step, and NaN for steps without values.
std::deque<double> MeansOf(const HistorySeries& series) {
  std::deque<double> means(LengthOf(series) / series.m_Step,
                           std::numeric_limits<double>::quiet_NaN());
  for (const HistoryPoint& point : series.m_Points) {
    means[(point.m_Time - series.m_Points.front().m_Time) / series.m_Step] = point.m_Mean;
  }
  return means;
}

// Averages groups of adjacent values, so that all of them fit into the sparkline's columns.
std::deque<double> FitColumns(const std::deque<double>& values) {
  const std::size_t width = (values.size() + kSparklineColumns - 1) / kSparklineColumns;
  std::deque<double> columns;
  for (std::size_t first = 0; first < values.size(); first += width) {
    double sum = 0;
    double count = 0;
    for (std::size_t i = first; i < std::min(first + width, values.size()); ++i) {
      if (std::isnan(values[i])) continue;
      sum += values[i];
      ++count;
    }
    columns.push_back(sum / count);
  }
  return columns;
}

double MinSpanOf(const Field& field) {
  const auto* const row =
      std::find_if(std::begin(kMinSpans), std::end(kMinSpans),
                   [&](const MinSpan& each) { return each.m_Kind == field.m_Kind; });
  return row->m_Span;
}

std::string SparklineOf(const Field& field, const HistorySeries& series, bool ascii) {
  const std::deque<double> columns = FitColumns(MeansOf(series));
  return Sparkline(columns, columns.size(), ascii, MinSpanOf(field));
}

// Labels of one day need no date.
std::string AxisTime(std::uint64_t time, std::uint64_t other, bool local) {
  const std::string text = local ? LocalTimeText(time) : TimeText(time);
  const std::string otherText = local ? LocalTimeText(other) : TimeText(other);
  constexpr std::size_t kDate = 10, kTime = 11, kMinutes = 5;
  const bool isSameDay = text.substr(0, kDate) == otherText.substr(0, kDate);
  return (isSameDay ? "" : text.substr(0, kDate) + " ") + text.substr(kTime, kMinutes);
}

std::string GraphOf(const Field& field, const HistorySeries& series, const Style& style) {
  const std::deque<double> means = MeansOf(series);
  const std::uint64_t from = series.m_Points.front().m_Time;
  const std::uint64_t to = series.m_Points.back().m_Time + series.m_Step;
  GraphStyle graph;
  graph.m_Columns = style.m_Width;
  graph.m_Ascii = style.m_Ascii;
  graph.m_MinSpan = MinSpanOf(field);
  graph.m_From = AxisTime(from, to, style.m_LocalTime);
  graph.m_To = AxisTime(to, from, style.m_LocalTime);
  graph.m_Label = [&](double number) { return HumanText(ValueOf(field, number), style.m_Ascii); };
  return DrawGraph({means.begin(), means.end()}, graph);
}

std::string RangeText(const Field& field, const HistorySeries& series, bool ascii) {
  double minimum = series.m_Points.front().m_Minimum;
  double maximum = series.m_Points.front().m_Maximum;
  for (const HistoryPoint& point : series.m_Points) {
    minimum = std::min(minimum, point.m_Minimum);
    maximum = std::max(maximum, point.m_Maximum);
  }
  return fmt::format("minimum {}, maximum {}", HumanText(ValueOf(field, minimum), ascii),
                     HumanText(ValueOf(field, maximum), ascii));
}

Json PointJson(const Field& field, const HistoryPoint& point) {
  Json json = {{"time", TimeText(point.m_Time)}};
  PutValue(json, "minimum", ValueOf(field, point.m_Minimum));
  PutValue(json, "maximum", ValueOf(field, point.m_Maximum));
  PutValue(json, "mean", ValueOf(field, point.m_Mean));
  return json;
}

void AddPoint(CommandResult& result, const Field& field, const HistoryPoint& point, bool ascii) {
  result.m_Json["points"].push_back(PointJson(field, point));
  result.m_Values.push_back(BareText(ValueOf(field, point.m_Mean)));
  const auto cell = [&](double number) { return ValueCell(ValueOf(field, number), ascii); };
  result.m_Table.m_Rows.push_back(
      {{TimeCell(point.m_Time), cell(point.m_Minimum), cell(point.m_Maximum), cell(point.m_Mean)},
       std::nullopt});
}

CommandResult ResultOf(const Style& style, const StoredCard& card, const Field& field,
                       const HistoryQuery& query, const HistorySeries& series, bool isLong) {
  CommandResult result;
  result.m_Items = "points";
  result.m_Json = {{"object", card.m_Selector.empty() ? Json() : Json(card.m_Selector)},
                   {"serial_number", card.m_SerialNumber},
                   {"property", field.m_Name},
                   {"from", TimeText(query.m_From)},
                   {"to", TimeText(query.m_To)},
                   {"step_seconds", series.m_Step / kSecondMs},
                   {"points", Json::array()}};
  result.m_Table.m_Columns = {{"TIME", "time", false},
                              {"MINIMUM", "minimum", true},
                              {"MAXIMUM", "maximum", true},
                              {"MEAN", "mean", true}};
  result.m_Text = "";
  if (series.m_Points.empty()) return result;
  for (const HistoryPoint& point : series.m_Points) AddPoint(result, field, point, style.m_Ascii);
  const std::string range = RangeText(field, series, style.m_Ascii);
  if (style.m_Width > 0 && !isLong) {
    result.m_Text = GraphOf(field, series, style) + WrapText(range, style.m_Width, 0);
  } else {
    result.m_Text = fmt::format("{}{}  {}\n", DrawTable(result.m_Table, style, false),
                                SparklineOf(field, series, style.m_Ascii), range);
  }
  return result;
}

void NoteNoHistory(Context& context, const StoredCard& card, const Field& field) {
  std::vector<std::string> advice;
  if (!context.Open().IsShared()) {
    advice.emplace_back("Start the service to record values every minute: corvane-host serve");
  }
  context.m_Diagnostics.Note(
      "NO_HISTORY",
      fmt::format("no values of {} {} were recorded in this range", card.Name(), field.m_Name),
      advice);
}

CommandResult Run(Context& context) {
  const Options& options = context.m_Options;
  const RecordedField recorded = RequireRecorded(context.m_Arguments[1]);
  HistoryQuery query = QueryOf(options, recorded);
  const Model model = context.Objects();
  const auto state = Service::OpenStoredState(context.Open());
  const StoredCard card = SelectStoredCard(model, *state, "history", context.m_Arguments[0]);
  query.m_SerialNumber = card.m_SerialNumber;
  const HistorySeries series = ReadSeries(*state, query, !options.m_Step.empty());
  if (series.m_Points.empty()) NoteNoHistory(context, card, *recorded.m_Field);
  return ResultOf(context.m_Style, card, *recorded.m_Field, query, series,
                  options.m_Long || options.m_Verbose);
}

}  // namespace

Command HistoryCommand() {
  Command command;
  command.m_Group = Group::Inspect;
  command.m_Name = "history";
  command.m_Arguments = "OBJ PROP";
  command.m_MinArguments = 2;
  command.m_MaxArguments = 2;
  command.m_Summary = "show recorded values of a card over time";
  command.m_OutputFormats = {"table", "tsv", "json", "jsonl", "value"};
  command.m_Options = {"--since", "--from", "--to", "--step", "--long"};
  command.m_Properties = RecordedNames();
  command.m_Run = Run;
  command.m_Description =
      "Draws a graph of a property on a terminal. With --long or without a terminal, shows the "
      "minimum, maximum and mean in each step, and a sparkline of the means. A service records the "
      "values of all cards once a minute, and keeps them for 48 "
      "hours; hourly values are kept for two years. OBJ is an adapter or the serial number of a "
      "missing card.";
  command.m_Exits = {{2, "the property is not recorded"}};
  command.m_Examples = {
      {"history a1 temperature_celsius --since 2d", "show the temperature over two days", true},
      {"history a1 written_bytes --from 30d --step 1d -o tsv",
       "print the daily writes of a month"}};
  return command;
}

}  // namespace Console
