#include "service/state/HistoryRing.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "service/state/StateTables.h"

namespace Service {
namespace {

using HostKit::Connection;
using HostKit::Statement;
using Cell = std::optional<std::int64_t>;

// The values of one field in one hour.
struct FieldSummary {
  std::int64_t m_Known = 0;
  std::int64_t m_Minimum = 0;
  std::int64_t m_Maximum = 0;
  double m_Sum = 0;
  std::int64_t m_Last = 0;

  void Add(std::int64_t value) {
    m_Minimum = m_Known == 0 ? value : std::min(m_Minimum, value);
    m_Maximum = m_Known == 0 ? value : std::max(m_Maximum, value);
    m_Sum += static_cast<double>(value);
    m_Last = value;
    ++m_Known;
  }
};

struct HourSummary {
  std::int64_t m_Samples = 0;
  FieldSummary m_Fields[kHistoryFieldCount];
};

// The key is the hour and the card's position.
using HourSummaries = std::map<std::pair<std::int64_t, std::int64_t>, HourSummary>;

std::string Placeholders(std::size_t count) {
  std::string text = "?";
  for (std::size_t i = 1; i < count; ++i) text += ", ?";
  return text;
}

// Returns the ID of the first row of minute number `minute`. Each minute has `kPositions` rows.
std::int64_t FirstRow(std::int64_t minute) {
  return minute % kMinutesKept * kPositions;
}

void AddMinute(Connection& connection, std::int64_t minute, HourSummaries& summaries) {
  Statement rows =
      connection.Prepare("SELECT * FROM host_history_minutes WHERE id BETWEEN ? AND ?");
  rows.Bind(FirstRow(minute)).Bind(FirstRow(minute) + kPositions - 1);
  while (rows.Step()) {
    HourSummary& summary =
        summaries[{rows.Integer(1) / kMinutesPerHour, rows.Integer(0) % kPositions}];
    ++summary.m_Samples;
    for (std::size_t i = 0; i < kHistoryFieldCount; ++i) {
      const Cell value = rows.OptionalInteger(static_cast<int>(i) + 2);
      if (value) summary.m_Fields[i].Add(*value);
    }
  }
}

// Appends the cells of the field's columns.
void AppendCells(const HistoryField& field, const FieldSummary& summary, std::vector<Cell>& cells) {
  const auto append = [&](std::int64_t value) {
    cells.push_back(summary.m_Known == 0 ? Cell() : Cell(value));
  };
  switch (field.m_HourAggregate) {
    case HourAggregate::Range:
      append(summary.m_Minimum);
      append(summary.m_Maximum);
      append(std::llround(summary.m_Sum /
                          static_cast<double>(std::max<std::int64_t>(summary.m_Known, 1))));
      break;
    case HourAggregate::Minimum:
      append(summary.m_Minimum);
      break;
    case HourAggregate::Maximum:
      append(summary.m_Maximum);
      break;
    case HourAggregate::Last:
      append(summary.m_Last);
      break;
  }
}

void WriteRow(Connection& connection, const char* table, const std::vector<Cell>& cells) {
  Statement statement = connection.Prepare(std::string("INSERT OR REPLACE INTO ") + table +
                                           " VALUES (" + Placeholders(cells.size()) + ")");
  for (const Cell& cell : cells) statement.Bind(cell);
  statement.Step();
}

// Allocates the sequence number of the card's next hour. Returns empty if the card was forgotten.
std::optional<std::int64_t> AllocateHour(Connection& connection, std::int64_t position) {
  Statement statement = connection.Prepare(
      "UPDATE host_known_cards SET hours = hours + 1 WHERE position = ? RETURNING hours - 1");
  if (!statement.Bind(position).Step()) return std::nullopt;
  return statement.Integer(0);
}

void WriteHours(Connection& connection, const HourSummaries& summaries) {
  for (const auto& [key, summary] : summaries) {
    const auto [hour, position] = key;
    const auto number = AllocateHour(connection, position);
    if (!number) continue;
    std::vector<Cell> cells = {position * kHoursKept + *number % kHoursKept, hour,
                               summary.m_Samples};
    for (std::size_t i = 0; i < kHistoryFieldCount; ++i) {
      AppendCells(kHistoryFields[i], summary.m_Fields[i], cells);
    }
    WriteRow(connection, "host_history_hours", cells);
  }
}

void SummarizeMinutes(Connection& connection, std::int64_t next) {
  HourSummaries summaries;
  const std::int64_t first = ReadNumber(connection, StateNumber::NextHourMinute);
  for (std::int64_t minute = std::max(first, next - kMinutesKept); minute < next; ++minute) {
    AddMinute(connection, minute, summaries);
  }
  WriteHours(connection, summaries);
  WriteNumber(connection, StateNumber::NextHourMinute, next);
}

void WriteMinute(Connection& connection, std::int64_t number, std::int64_t minute,
                 const HistorySample& sample) {
  connection.Prepare("DELETE FROM host_history_minutes WHERE id BETWEEN ? AND ?")
      .Bind(FirstRow(number))
      .Bind(FirstRow(number) + kPositions - 1)
      .Step();
  for (const auto& [position, values] : sample) {
    if (position >= kPositions) continue;
    std::vector<Cell> cells = {FirstRow(number) + position, minute};
    cells.insert(cells.end(), values.begin(), values.end());
    WriteRow(connection, "host_history_minutes", cells);
  }
}

}  // namespace

void WriteHistory(Connection& connection, std::uint64_t timeMs, const HistorySample& sample) {
  const std::int64_t minute = static_cast<std::int64_t>(timeMs / kMinuteMs);
  const std::int64_t last = ReadNumber(connection, StateNumber::LastMinute);
  if (minute == last || sample.empty()) return;
  const std::int64_t number = ReadNumber(connection, StateNumber::NextMinute);
  if (minute / kMinutesPerHour != last / kMinutesPerHour) SummarizeMinutes(connection, number);
  WriteMinute(connection, number, minute, sample);
  WriteNumber(connection, StateNumber::NextMinute, number + 1);
  WriteNumber(connection, StateNumber::LastMinute, minute);
}

void RemoveHistory(Connection& connection, std::int64_t position) {
  connection.Prepare("DELETE FROM host_history_minutes WHERE id % ? = ?")
      .Bind(kPositions)
      .Bind(position)
      .Step();
  connection.Prepare("DELETE FROM host_history_hours WHERE id BETWEEN ? AND ?")
      .Bind(position * kHoursKept)
      .Bind((position + 1) * kHoursKept - 1)
      .Step();
}

}  // namespace Service
