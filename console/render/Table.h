// A table or tree as a value: what people see and what scripts get, cell by cell. All functions may
// be called from any thread, and throw nothing but std::bad_alloc.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "console/base/Output.h"
#include "console/model/FieldTable.h"

namespace Console {

// One value of a row, in both forms.
struct Cell {
  std::string m_Human;  // made printable when drawn
  std::string m_Bare;   // printable
  Severity m_Severity = Severity::Neutral;
};

// How a column is headed and aligned.
struct Column {
  std::string m_Heading;  // for people
  std::string m_Name;     // for scripts
  bool m_Right = false;
  bool m_Tree = false;    // carries the branches when drawn as a tree
  std::size_t m_Min = 0;  // width for people, so that successive tables line up
};

struct Row {
  std::vector<Cell> m_Cells;            // as many as there are columns
  std::optional<std::size_t> m_Parent;  // in a tree: the position of an earlier row
};

struct Table {
  std::vector<Column> m_Columns;
  std::vector<Row> m_Rows;
};

// A cell with that text in both forms. The text need not be printable; the form for scripts is made
// so.
Cell TextCell(const std::string& text);
// A cell with the value and its severity: with its unit for people, without it for scripts. The
// text for people is in lower case for a healthy value, and in ASCII alone with `ascii`.
Cell ValueCell(const Value& value, bool ascii);

// The columns of a table with one row per changed property: its value before and after.
std::vector<Column> ChangeColumns();

// The table for people, in lines that end with a line feed, with colors, headings and ASCII
// branches as `style` says. With `tree`, rows are below their parents. Empty if the table has no
// rows.
std::string DrawTable(const Table& table, const Style& style, bool tree);

// Tab-separated values for scripts, one row per line. `headings` adds a first line with the names
// of the columns, also to a table without rows.
std::string WriteTsv(const Table& table, bool headings);

}  // namespace Console
