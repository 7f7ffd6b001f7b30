// A table or tree as a value: what people see and what scripts get, cell by cell.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "console/base/Output.h"
#include "console/model/FieldTable.h"

namespace Console {

struct Cell {
  std::string m_Human;  // made printable when drawn
  std::string m_Bare;   // printable
  Severity m_Severity = Severity::Neutral;
};

struct Column {
  std::string m_Heading;  // for people
  std::string m_Name;     // for scripts
  bool m_Right = false;
  bool m_Tree = false;      // carries the branches when drawn as a tree
  std::size_t m_Least = 0;  // width for people, so that tables drawn one after the other agree
};

struct Row {
  std::vector<Cell> m_Cells;  // as many as there are columns
  std::optional<std::size_t> m_Parent;
};

struct Table {
  std::vector<Column> m_Columns;
  std::vector<Row> m_Rows;
};

Cell TextCell(const std::string& text);
Cell ValueCell(const Value& value, bool ascii);

// The columns of a table with one row per changed property: its value before and after.
std::vector<Column> ChangeColumns();

// The table for people; nothing at all when it has no rows.
std::string DrawTable(const Table& table, const Style& style, bool tree);

// Tab-separated values for scripts, with names for headings.
std::string WriteTsv(const Table& table, bool headings);

}  // namespace Console
