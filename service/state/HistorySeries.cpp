#include "service/state/HistorySeries.h"

#include <algorithm>
#include <limits>
#include <map>

#include "service/state/CardRows.h"
#include "service/state/HistoryRing.h"
#include "service/state/StateTables.h"

namespace Service {
namespace {

using HostKit::Connection;
using HostKit::Statement;

// The recorded values of one hour.
struct Hour {
  std::vector<HistoryValue> m_Summaries;
  std::int64_t m_SummaryMinutes = 0;  // number of minutes in the summaries
  std::vector<HistoryValue> m_SummarizedMinutes;
  std::vector<HistoryValue> m_OtherMinutes;  // not yet in a summary

  void AppendTo(std::vector<HistoryValue>& values) const {
    const bool isComplete =
        static_cast<std::int64_t>(m_SummarizedMinutes.size()) >= m_SummaryMinutes;
    for (const HistoryValue& value : isComplete ? m_SummarizedMinutes : m_Summaries) {
      values.push_back(value);
    }
    values.insert(values.end(), m_OtherMinutes.begin(), m_OtherMinutes.end());
  }
};

using Hours = std::map<std::int64_t, Hour>;

// Reads minimum, maximum and mean, which follow two other columns. An unknown value has no samples.
HistoryValue ValueOf(const Statement& row, std::int64_t samples, double perUnit) {
  constexpr int column = 2;
  HistoryValue value;
  if (!row.OptionalInteger(column)) return value;
  value.m_Samples = samples;
  value.m_Minimum = static_cast<double>(row.Integer(column)) / perUnit;
  value.m_Maximum = static_cast<double>(row.Integer(column + 1)) / perUnit;
  value.m_Mean = static_cast<double>(row.Integer(column + 2)) / perUnit;
  return value;
}

void ReadMinutes(Connection& connection, const HistoryField& field, std::int64_t position,
                 Hours& hours) {
  const std::int64_t next = ReadNumber(connection, StateNumber::NextMinute);
  const std::int64_t unsummarized = ReadNumber(connection, StateNumber::NextHourMinute);
  Statement rows = connection.Prepare(
      "WITH RECURSIVE numbers (number) AS (SELECT MAX(0, ?1 - ?2) UNION ALL "
      "SELECT number + 1 FROM numbers WHERE number + 1 < ?1) "
      "SELECT number, time, " +
      RangeColumns(HistoryTable::Minutes, field) +
      " FROM numbers CROSS JOIN host_history_minutes ON id = number % ?2 * ?3 + ?4");
  rows.Bind(next).Bind(kMinutesKept).Bind(kPositions).Bind(position);
  while (rows.Step()) {
    HistoryValue value = ValueOf(rows, 1, field.m_PerUnit);
    value.m_Time = static_cast<std::uint64_t>(rows.Integer(1)) * kMinuteMs;
    Hour& hour = hours[rows.Integer(1) / kMinutesPerHour];
    (rows.Integer(0) < unsummarized ? hour.m_SummarizedMinutes : hour.m_OtherMinutes)
        .push_back(value);
  }
}

void ReadHours(Connection& connection, const HistoryField& field, std::int64_t position,
               Hours& hours) {
  Statement rows =
      connection.Prepare("SELECT time, samples, " + RangeColumns(HistoryTable::Hours, field) +
                         " FROM host_history_hours WHERE id BETWEEN ? AND ?");
  rows.Bind(position * kHoursKept).Bind((position + 1) * kHoursKept - 1);
  while (rows.Step()) {
    HistoryValue value = ValueOf(rows, rows.Integer(1), field.m_PerUnit);
    value.m_Time = static_cast<std::uint64_t>(rows.Integer(0) * kMinutesPerHour) * kMinuteMs;
    Hour& hour = hours[rows.Integer(0)];
    hour.m_SummaryMinutes += rows.Integer(1);
    hour.m_Summaries.push_back(value);
  }
}

// A step under construction.
struct Sum {
  HistoryPoint m_Point;
  double m_Weighted = 0;
  double m_Weight = 0;

  void Add(const HistoryValue& value) {
    const bool isFirst = m_Weight == 0;
    m_Point.m_Minimum = isFirst ? value.m_Minimum : std::min(m_Point.m_Minimum, value.m_Minimum);
    m_Point.m_Maximum = isFirst ? value.m_Maximum : std::max(m_Point.m_Maximum, value.m_Maximum);
    const auto weight = static_cast<double>(value.m_Samples);
    m_Weighted += value.m_Mean * weight;
    m_Weight += weight;
    m_Point.m_Mean = m_Weighted / m_Weight;
  }
};

// Returns a step of whole minutes.
std::uint64_t StepFor(std::uint64_t range, std::uint64_t requested) {
  const std::uint64_t shortest = (range + kMaxPoints - 1) / kMaxPoints;
  const std::uint64_t step = std::max({shortest, requested, kMinuteMs});
  return (step + kMinuteMs - 1) / kMinuteMs * kMinuteMs;
}

}  // namespace

std::optional<std::vector<HistoryValue>> ReadHistoryRange(Connection& connection,
                                                          const HistoryQuery& query) {
  const auto position = FindPosition(connection, query.m_SerialNumber);
  if (!position) return std::nullopt;
  Hours hours;
  ReadHours(connection, *query.m_Field, *position, hours);
  ReadMinutes(connection, *query.m_Field, *position, hours);
  std::vector<HistoryValue> all;
  for (const auto& [number, hour] : hours) hour.AppendTo(all);
  std::vector<HistoryValue> values;
  for (const HistoryValue& value : all) {
    const bool isInRange = value.m_Time >= query.m_From && value.m_Time < query.m_To;
    if (isInRange && value.m_Samples > 0) values.push_back(value);
  }
  return values;
}

HistorySeries Downsample(const HistoryQuery& query, const std::vector<HistoryValue>& values) {
  std::uint64_t first = std::numeric_limits<std::uint64_t>::max();
  std::uint64_t last = 0;
  for (const HistoryValue& value : values) {
    first = std::min(first, value.m_Time);
    last = std::max(last, value.m_Time);
  }
  HistorySeries series;
  series.m_Step = StepFor(values.empty() ? 0 : last - first + 1, query.m_Step);
  std::map<std::uint64_t, Sum> steps;
  for (const HistoryValue& value : values) {
    steps[(value.m_Time - first) / series.m_Step].Add(value);
  }
  for (auto& [number, sum] : steps) {
    sum.m_Point.m_Time = first + number * series.m_Step;
    series.m_Points.push_back(sum.m_Point);
  }
  return series;
}

}  // namespace Service
