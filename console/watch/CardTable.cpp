#include "console/watch/CardTable.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>

#include "base/Printable.h"
#include "console/model/FieldTable.h"
#include "console/model/Health.h"
#include "console/render/HealthCells.h"

namespace Console {
namespace {

// Widths of the columns. On a wide terminal, extra space goes first to names, then to graphs.
struct Widths {
  static constexpr std::size_t kObject = 7, kStatus = 10, kTemperature = 6, kRatio = 5, kGaps = 8;
  std::size_t m_Name = 12, m_Sparkline = 8, m_Bar = 5;

  explicit Widths(std::size_t columns) {
    constexpr std::size_t kLongName = 32;
    const std::size_t fixed =
        kObject + kStatus + kTemperature + 2 * kRatio + kGaps + m_Sparkline + 2 * m_Bar;
    std::size_t left = columns > fixed + m_Name ? columns - fixed - m_Name : 0;
    const std::size_t name = std::min(left, kLongName - m_Name);
    m_Name += name;
    left -= name;
    m_Sparkline += std::min<std::size_t>(left / 2, 40);
    m_Bar += std::min<std::size_t>(left / 4, 20);
  }
};

std::string Human(const Value& value, bool ascii) {
  return Base::Printable(HumanText(value, ascii));
}

std::optional<double> Number(const Value& value) {
  const auto* number = std::get_if<double>(&value.m_Data);
  return number == nullptr ? std::nullopt : std::optional<double>(*number);
}

// Returns the severity of the highest limit that the temperature has reached.
Severity TemperatureSeverity(const Object& object) {
  const auto now = Number(ReadField(object, "temperature_celsius"));
  const auto warning = Number(ReadField(object, "temperature_warning_celsius"));
  const auto critical = Number(ReadField(object, "temperature_critical_celsius"));
  if (now && critical && *now >= *critical) return Severity::Bad;
  return now && warning && *now >= *warning ? Severity::Warning : Severity::Neutral;
}

Piece BarPiece(const Value& ratio, std::size_t columns, bool ascii) {
  const auto number = Number(ratio);
  return {number ? Bar(*number, columns, ascii) : std::string(columns, ' ')};
}

Line CardLine(const LiveModel& live, const Object& card, const Widths& widths, bool ascii) {
  const Health health = HealthOf(card);
  const Severity temperatureSeverity = TemperatureSeverity(card);
  const Value reserve = ReadField(card, "reserve_space_ratio");
  const Value used = ReadField(card, "endurance_used_ratio");
  return {
      {Fit(card.m_Selector, Widths::kObject) + " "},
      {Fit(Human(ReadField(card, "name"), ascii), widths.m_Name) + " "},
      {Fit(StatusText(health.m_Status), Widths::kStatus) + " ", health.m_Status.m_Severity},
      {FitRight(Human(ReadField(card, "temperature_celsius"), ascii), Widths::kTemperature) + " ",
       temperatureSeverity},
      {Sparkline(live.Temperatures(card.m_ID), widths.m_Sparkline, ascii) + " ",
       temperatureSeverity},
      {FitRight(Human(reserve, ascii), Widths::kRatio) + " "},
      BarPiece(reserve, widths.m_Bar, ascii),
      {FitRight(Human(used, ascii), Widths::kRatio + 1) + " "},
      BarPiece(used, widths.m_Bar, ascii)};
}

Line DriveLine(const Object& drive, const Widths& widths, bool ascii) {
  const Value status = HealthOf(drive).m_Status;
  return {{Fit("  " + drive.m_Selector, Widths::kObject) + " "},
          {Fit(Human(ReadField(drive, "name"), ascii), widths.m_Name) + " "},
          {Fit(StatusText(status), Widths::kStatus) + " ", status.m_Severity},
          {fmt::format("{}, {} sectors", Human(ReadField(drive, "formatted_size_bytes"), ascii),
                       Human(ReadField(drive, "sector_size_bytes"), ascii))}};
}

Line ColumnLine(const Widths& widths) {
  return {{Fit("OBJECT", Widths::kObject) + " " + Fit("NAME", widths.m_Name) + " " +
               Fit("STATUS", Widths::kStatus) + " " + FitRight("TEMP", Widths::kTemperature) + " " +
               Fit("", widths.m_Sparkline) + " " +
               Fit("RESERVE", Widths::kRatio + widths.m_Bar + 1) + " " +
               Fit("USED", Widths::kRatio + widths.m_Bar + 1),
           Severity::Neutral, true}};
}

void Highlight(Line& line, std::size_t columns) {
  std::size_t used = 0;
  for (Piece& piece : line) {
    piece.m_Reverse = true;
    used += ColumnsOf(piece.m_Text);
  }
  if (used < columns)
    line.push_back({std::string(columns - used, ' '), Severity::Neutral, false, true});
}

}  // namespace

CardTable DrawCardTable(const LiveModel& live, std::uint64_t selected, std::size_t columns,
                        bool ascii) {
  const Widths widths(columns);
  CardTable table;
  table.m_Headings = ColumnLine(widths);
  for (const Object* object : ObjectsWithStatus(live.CurrentModel())) {
    Line line = object->m_Kind == Kind::Adapter ? CardLine(live, *object, widths, ascii)
                                                : DriveLine(*object, widths, ascii);
    if (object->m_ID == selected) {
      table.m_Selected = table.m_Lines.size();
      Highlight(line, columns);
    }
    table.m_Lines.push_back(line);
    const Health health = HealthOf(*object);
    if (health.m_Reasons.empty()) continue;
    table.m_Lines.push_back({{std::string(Widths::kObject + 1, ' ') + ReasonNames(health),
                              health.m_Status.m_Severity}});
  }
  return table;
}

}  // namespace Console
