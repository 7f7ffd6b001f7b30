#include "console/render/TableFit.h"

#include <algorithm>

#include "base/Printable.h"
#include "console/render/TextWidth.h"

namespace Console {
namespace {

// Shorter names would no longer distinguish cards.
constexpr std::size_t kMinName = 12;

std::size_t LongestLine(const std::string& text) {
  std::size_t longest = 0;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    longest = std::max(longest, ColumnsOf(text.substr(begin, end - begin)));
    begin = end + 1;
  }
  return longest;
}

// Color sequences have no width, so the table is measured without them.
std::size_t WidthOf(const Table& table, Style style, bool tree) {
  style.m_Color = false;
  return LongestLine(DrawUnfitted(table, style, tree));
}

std::size_t ColumnWidth(const Table& table, std::size_t column) {
  std::size_t width = 0;
  for (const Row& row : table.m_Rows) {
    width = std::max(width, ColumnsOf(Base::Printable(row.m_Cells[column].m_Human)));
  }
  return width;
}

void ShrinkColumn(Table& table, std::size_t column, std::size_t width, bool ascii) {
  for (Row& row : table.m_Rows) {
    std::string& text = row.m_Cells[column].m_Human;
    text = Shorten(Base::Printable(text), width, ascii);
  }
}

// Shortens the cells of the columns that shrink until the table fits. Returns whether it fits.
bool ShrinkNames(Table& table, const Style& style, bool tree) {
  for (std::size_t i = 0; i < table.m_Columns.size(); ++i) {
    const std::size_t width = WidthOf(table, style, tree);
    if (width <= style.m_Width) return true;
    if (!table.m_Columns[i].m_Shrinks) continue;
    const std::size_t excess = width - style.m_Width;
    const std::size_t natural = ColumnWidth(table, i);
    const std::size_t left = natural > excess ? natural - excess : 0;
    ShrinkColumn(table, i, std::max(left, kMinName), style.m_Ascii);
  }
  return WidthOf(table, style, tree) <= style.m_Width;
}

// Removes the column with the highest rank. Returns false if no column has a rank.
bool DropColumn(Table& table) {
  const auto last = std::max_element(
      table.m_Columns.begin(), table.m_Columns.end(),
      [](const Column& one, const Column& other) { return one.m_Rank < other.m_Rank; });
  if (last == table.m_Columns.end() || last->m_Rank == 0) return false;
  const auto at = last - table.m_Columns.begin();
  table.m_Columns.erase(last);
  for (Row& row : table.m_Rows) row.m_Cells.erase(row.m_Cells.begin() + at);
  return true;
}

}  // namespace

Table FitTable(const Table& table, const Style& style, bool tree) {
  const bool canFit =
      std::any_of(table.m_Columns.begin(), table.m_Columns.end(),
                  [](const Column& column) { return column.m_Shrinks || column.m_Rank != 0; });
  if (!canFit) return table;
  Table fitted = table;
  Table shrunk = fitted;
  while (!ShrinkNames(shrunk, style, tree)) {
    if (!DropColumn(fitted)) break;
    shrunk = fitted;
  }
  return shrunk;
}

}  // namespace Console
