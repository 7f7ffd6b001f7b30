#include "console/render/Table.h"

#include <libsmartcols.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>

#include "base/Printable.h"
#include "console/base/Timestamp.h"
#include "console/model/EffectiveState.h"
#include "console/render/TableFit.h"

namespace Console {
namespace {

struct TableRelease {
  void operator()(libscols_table* table) const { scols_unref_table(table); }
};
using ScolsTable = std::unique_ptr<libscols_table, TableRelease>;

const char* ColorOf(Severity severity) {
  switch (severity) {
    case Severity::Good:
      return "green";
    case Severity::Warning:
      return "yellow";
    case Severity::Bad:
      return "red";
    case Severity::Neutral:
      break;
  }
  return nullptr;
}

ScolsTable NewTable(const Style& style, const char* gap) {
  ScolsTable table(scols_new_table());
  if (!table) throw std::bad_alloc();
  scols_table_enable_ascii(table.get(), style.m_Ascii ? 1 : 0);
  scols_table_enable_colors(table.get(), style.m_Color ? 1 : 0);
  // The library's encoding would escape the backslashes in escape sequences again.
  scols_table_enable_noencoding(table.get(), 1);
  scols_table_enable_noheadings(table.get(), style.m_Headings ? 0 : 1);
  // The library truncates cells if it detects a terminal.
  scols_table_set_termforce(table.get(), SCOLS_TERMFORCE_NEVER);
  if (scols_table_set_column_separator(table.get(), gap) != 0) throw std::bad_alloc();
  return table;
}

// Pads a heading to the column's minimum width, because the library never makes a column narrower
// than its heading, even without a header row.
std::string PaddedHeading(const Column& column) {
  std::string heading = column.m_Heading;
  heading.resize(std::max(heading.size(), column.m_Min), ' ');
  return heading;
}

void AddColumns(libscols_table* table, const Table& from, bool tree) {
  for (const Column& column : from.m_Columns) {
    int flags = column.m_AlignRight ? SCOLS_FL_RIGHT : 0;
    if (tree && column.m_Tree) flags |= SCOLS_FL_TREE;
    if (scols_table_new_column(table, PaddedHeading(column).c_str(), 0, flags) == nullptr) {
      throw std::bad_alloc();
    }
  }
}

std::string DrawnText(const Cell& cell, const Style& style) {
  if (cell.m_Time != 0 && style.m_LocalTime) return LocalTimeText(cell.m_Time);
  return Base::Printable(cell.m_Human);
}

void FillLine(libscols_line* line, const Row& row, const Style& style) {
  for (std::size_t i = 0; i < row.m_Cells.size(); ++i) {
    const Cell& cell = row.m_Cells[i];
    if (scols_line_set_data(line, i, DrawnText(cell, style).c_str()) != 0) throw std::bad_alloc();
    const char* color = ColorOf(cell.m_Severity);
    if (color != nullptr) scols_cell_set_color(scols_line_get_cell(line, i), color);
  }
}

// Removes the padding that the library adds up to the last column, even if the cells are empty.
std::string WithoutTrailingSpaces(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (c == '\n') result.erase(result.find_last_not_of(' ') + 1);
    result += c;
  }
  result.erase(result.find_last_not_of(' ') + 1);
  return result;
}

}  // namespace

Cell TextCell(const std::string& text) {
  return {text, Base::Printable(text), Severity::Neutral};
}

// Healthy values, and the status of a detached object, are shown in lower case. Narrow tables leave
// no room for a space before the unit of a temperature.
Cell ValueCell(const Value& value, bool ascii) {
  Cell cell{HumanText(value, ascii), BareText(value), value.m_Severity};
  if (value.m_Kind == ValueKind::Celsius) {
    cell.m_Human.erase(std::remove(cell.m_Human.begin(), cell.m_Human.end(), ' '),
                       cell.m_Human.end());
  }
  const auto* text = std::get_if<std::string>(&value.m_Data);
  const bool isDetached = value.m_Kind == ValueKind::Choice && text && *text == kDetached;
  if (value.m_Severity == Severity::Good || isDetached) {
    std::transform(cell.m_Human.begin(), cell.m_Human.end(), cell.m_Human.begin(), [](char c) {
      return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
  }
  return cell;
}

Cell TimeCell(std::uint64_t milliseconds) {
  if (milliseconds == 0) return TextCell("-");
  const std::string text = TimeText(milliseconds);
  return {text, text, Severity::Neutral, milliseconds};
}

std::vector<Column> ChangeColumns() {
  return {{"OBJECT", "object", false},
          {"PROPERTY", "property", false},
          {"BEFORE", "before", true},
          {"AFTER", "after", true}};
}

std::string DrawUnfitted(const Table& table, const Style& style, bool tree) {
  if (table.m_Rows.empty()) return {};
  const ScolsTable drawn = NewTable(style, table.m_Gap);
  AddColumns(drawn.get(), table, tree);
  std::vector<libscols_line*> lines;
  for (const Row& row : table.m_Rows) {
    libscols_line* parent = tree && row.m_Parent ? lines[*row.m_Parent] : nullptr;
    libscols_line* line = scols_table_new_line(drawn.get(), parent);
    if (line == nullptr) throw std::bad_alloc();
    FillLine(line, row, style);
    lines.push_back(line);
  }
  char* text = nullptr;
  if (scols_print_table_to_string(drawn.get(), &text) != 0) throw std::bad_alloc();
  const std::unique_ptr<char, decltype(&std::free)> owner(text, &std::free);
  std::string result = WithoutTrailingSpaces(text);
  if (!result.empty() && result.back() != '\n') result += '\n';
  return result;
}

std::string DrawTable(const Table& table, const Style& style, bool tree) {
  return style.m_Width == 0 ? DrawUnfitted(table, style, tree)
                            : DrawUnfitted(FitTable(table, style, tree), style, tree);
}

std::string WriteTsv(const Table& table, bool headings) {
  std::string result;
  const auto append = [&](const std::string& text, bool last) {
    result += text;
    result += last ? '\n' : '\t';
  };
  const std::size_t count = table.m_Columns.size();
  for (std::size_t i = 0; headings && i < count; ++i) {
    append(table.m_Columns[i].m_Name, i + 1 == count);
  }
  for (const Row& row : table.m_Rows) {
    for (std::size_t i = 0; i < count; ++i) append(row.m_Cells[i].m_Bare, i + 1 == count);
  }
  return result;
}

}  // namespace Console
