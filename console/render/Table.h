// Tables and trees whose cells have one string for people and one for scripts. All functions are
// thread-safe and throw only std::bad_alloc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "console/base/Output.h"
#include "console/model/FieldTable.h"

namespace Console {

// One value of a row, as text for people and for scripts.
struct Cell {
  std::string m_Human;  // made printable when drawn
  std::string m_Bare;   // printable
  Severity m_Severity = Severity::Neutral;
  // If not 0: a time in milliseconds since the epoch, drawn instead of `m_Human`.
  std::uint64_t m_Time = 0;
};

// The heading and alignment of a column.
struct Column {
  std::string m_Heading;  // for people
  std::string m_Name;     // for scripts
  bool m_AlignRight = false;
  bool m_Tree = false;    // contains the branches if drawn as a tree
  std::size_t m_Min = 0;  // minimum width when drawn, so that successive tables line up
  // How a table is fitted to a terminal: first the columns that shrink are cut, with an ellipsis;
  // then columns are omitted, those with the highest rank first. Rank 0 is never omitted.
  std::size_t m_Rank = 0;
  bool m_Shrinks = false;
};

struct Row {
  std::vector<Cell> m_Cells;            // as many as there are columns
  std::optional<std::size_t> m_Parent;  // in a tree: the index of an earlier row
};

struct Table {
  std::vector<Column> m_Columns;
  std::vector<Row> m_Rows;
  const char* m_Gap = " ";  // between two columns
};

// Returns a cell with the same text for people and for scripts. The text may contain unprintable
// characters; they are escaped.
Cell TextCell(const std::string& text);
// Returns a cell with a value, with its unit for people and without it for scripts, and with the
// value's severity. The text for people is in lower case for a healthy value; with `ascii`, its
// unit is ASCII.
Cell ValueCell(const Value& value, bool ascii);

// Returns a cell with a time in milliseconds since the epoch; "-" for 0. Scripts get it in UTC.
Cell TimeCell(std::uint64_t milliseconds);

// Returns the columns of a table with one row per changed property: its value before and after.
std::vector<Column> ChangeColumns();

// Renders the table for people, with colors, headings and ASCII branches according to `style`. Each
// line ends with a line feed. With `tree`, rows are below their parents. If the table has columns
// that shrink or have a rank, no line is longer than the style's width. Returns an empty string if
// the table has no rows.
std::string DrawTable(const Table& table, const Style& style, bool tree);

// Renders tab-separated values for scripts, one row per line. With `headings`, the first line
// contains the names of the columns, even if the table has no rows.
std::string WriteTsv(const Table& table, bool headings);

}  // namespace Console
