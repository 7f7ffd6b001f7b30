#include "console/watch/CardTable.h"

#include <fmt/format.h>

#include <algorithm>
#include <boost/algorithm/string/erase.hpp>
#include <optional>

#include "base/Printable.h"
#include "console/model/CardLimits.h"
#include "console/model/FieldTable.h"
#include "console/model/Health.h"
#include "console/render/HealthCells.h"
#include "console/render/Table.h"
#include "console/report/CardList.h"

namespace Console {
namespace {

// Widths of the columns. On a wide terminal, extra space goes first to names, then to graphs. A
// narrow one has no graphs, and a very narrow one no names.
struct Widths {
  static constexpr std::size_t kStatus = 10, kTemperature = 6, kRatio = 5;
  std::size_t m_Object, m_Name = 0, m_Sparkline = 0, m_Bar = 0;

  Widths(std::size_t columns, std::size_t object) : m_Object(object) {
    constexpr std::size_t kMinName = 8, kLongName = 32, kMinSparkline = 8, kMinBar = 5, kGaps = 7;
    const std::size_t fixed = m_Object + kStatus + kTemperature + 2 * kRatio + kGaps;
    std::size_t left = columns > fixed ? columns - fixed : 0;
    if (left < kMinName) return;
    constexpr std::size_t kGraphs = kMinSparkline + 2 * kMinBar + 1;
    if (left >= kMinName + kGraphs) {
      m_Sparkline = kMinSparkline;
      m_Bar = kMinBar;
      left -= kGraphs;
    }
    m_Name = std::min(left, kLongName);
    if (m_Sparkline == 0) return;
    left -= m_Name;
    m_Sparkline += std::min<std::size_t>(left / 2, 40);
    m_Bar += std::min<std::size_t>(left / 4, 20);
  }
};

// The indentation of a drive below its card.
constexpr const char* kIndent = "  ";

std::size_t ObjectWidth(const std::vector<const Object*>& objects) {
  std::size_t width = std::string("OBJECT").size();
  for (const Object* object : objects) {
    const std::size_t indent = object->m_Kind == Kind::Drive ? std::string(kIndent).size() : 0;
    width = std::max(width, indent + object->m_Selector.size());
  }
  return width;
}

std::string Human(const Value& value, bool ascii) {
  return Base::Printable(ValueCell(value, ascii).m_Human);
}

std::optional<double> Number(const Value& value) {
  const auto* number = std::get_if<double>(&value.m_Data);
  return number == nullptr ? std::nullopt : std::optional<double>(*number);
}

// The name with the gap before it, or nothing if there is no room for names.
Piece NamePiece(const Object& object, const Widths& widths, bool ascii) {
  if (widths.m_Name == 0) return {""};
  return {" " + Fit(Human(ReadField(object, "name"), ascii), widths.m_Name, ascii)};
}

Piece GraphPiece(const std::string& graph, Severity severity) {
  return {graph.empty() ? "" : " " + graph, severity};
}

Piece BarPiece(const Value& ratio, std::size_t columns, bool ascii) {
  const auto number = Number(ratio);
  return {number ? Bar(*number, columns, ascii) : std::string(columns, ' ')};
}

// Returns a reading, with a question mark instead of the space if it is older than the report.
std::string ReadingText(const LiveModel& live, const Object& card, const char* field, bool ascii) {
  const std::string text = Human(ReadField(card, field), ascii);
  Cell cell = TextCell(text);
  MarkOldReading(card, field, !live.IsCurrent(), cell);
  if (cell.m_Human != text) boost::erase_all(cell.m_Human, " ");
  return cell.m_Human;
}

Line CardLine(const LiveModel& live, const Object& card, const Widths& widths, bool ascii) {
  const Value status = HealthOf(card).m_Status;
  const Severity heat = LimitSeverity(card, "temperature_celsius");
  const Value reserve = ReadField(card, "reserve_space_ratio");
  const Value used = ReadField(card, "endurance_used_ratio");
  return {
      {Fit(card.m_Selector, widths.m_Object)},
      NamePiece(card, widths, ascii),
      {" " + Fit(StatusText(status), Widths::kStatus), status.m_Severity},
      {" " + FitRight(ReadingText(live, card, "temperature_celsius", ascii), Widths::kTemperature),
       heat},
      GraphPiece(Sparkline(live.Temperatures(card.m_ID), widths.m_Sparkline, ascii), heat),
      {" " + FitRight(ReadingText(live, card, "reserve_space_ratio", ascii), Widths::kRatio) + " "},
      BarPiece(reserve, widths.m_Bar, ascii),
      {FitRight(ReadingText(live, card, "endurance_used_ratio", ascii), Widths::kRatio + 1) + " "},
      BarPiece(used, widths.m_Bar, ascii)};
}

Line DriveLine(const Object& drive, const Widths& widths, bool ascii) {
  const Value status = HealthOf(drive).m_Status;
  return {{Fit(kIndent + drive.m_Selector, widths.m_Object)},
          NamePiece(drive, widths, ascii),
          {" " + Fit(StatusText(status), Widths::kStatus), status.m_Severity},
          {fmt::format(" {}, {} sectors", Human(ReadField(drive, "formatted_size_bytes"), ascii),
                       Human(ReadField(drive, "sector_size_bytes"), ascii))}};
}

// A bar widens the column of its value by itself and the space before it.
std::size_t RatioWidth(const Widths& widths) {
  return widths.m_Bar == 0 ? Widths::kRatio : Widths::kRatio + widths.m_Bar + 1;
}

Line ColumnLine(const Widths& widths) {
  std::string text = Fit("OBJECT", widths.m_Object);
  if (widths.m_Name > 0) text += " " + Fit("NAME", widths.m_Name);
  text += " " + Fit("STATUS", Widths::kStatus) + " " + FitRight("TEMP", Widths::kTemperature);
  if (widths.m_Sparkline > 0) text += " " + std::string(widths.m_Sparkline, ' ');
  // Without bars, the heading is longer than the values.
  text += " " + Fit(widths.m_Bar == 0 ? "RSRV" : "RESERVE", RatioWidth(widths) + 1);
  text += " " + Fit("USED", RatioWidth(widths));
  return {{text, Severity::Neutral, true}};
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

CardTable DrawCardTable(const LiveModel& live, const std::vector<const Object*>& objects,
                        std::uint64_t selected, std::size_t columns, bool ascii) {
  const Widths widths(columns, ObjectWidth(objects));
  CardTable table;
  table.m_Headings = ColumnLine(widths);
  for (const Object* object : objects) {
    Line line = object->m_Kind == Kind::Adapter ? CardLine(live, *object, widths, ascii)
                                                : DriveLine(*object, widths, ascii);
    line = ShortenLine(line, columns, ascii);
    if (object->m_ID == selected) {
      table.m_Selected = table.m_Lines.size();
      Highlight(line, columns);
    }
    table.m_Lines.push_back(line);
    const Health health = HealthOf(*object);
    if (health.m_Reasons.empty()) continue;
    const std::string reasons = std::string(widths.m_Object + 1, ' ') + ReasonNames(health);
    table.m_Lines.push_back({{Shorten(reasons, columns, ascii), health.m_Status.m_Severity}});
  }
  return table;
}

}  // namespace Console
