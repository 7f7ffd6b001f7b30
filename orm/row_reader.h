// Converts the cells of a result to rows. The functions access only their arguments.
//
// Cells are one flat list of strings, row by row, in the order of the table's columns. SQL NULL is
// the word NULL, which cannot be distinguished from a stored string "NULL".
//
// Cells are expected to have been written by this layer. A cell that does not fit its column throws
// an exception, and no rows are returned.
#pragma once

#include <locale.h>
#include <stdlib.h>

#include <algorithm>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <cerrno>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "models/FieldsMap.h"
#include "orm/lookup.h"
#include "orm/table.h"
#include "orm/words.h"

namespace DatabaseORM {

// Sets `value` from a cell; the word NULL becomes the null value of the type. Throws
// `std::invalid_argument` if the cell is not a number, and `std::out_of_range` if the number is out
// of range; `value` is then unchanged. This layer does not catch these exceptions. White space
// before the number and any text after it are ignored.
inline void read_cell(const std::string& cell, int& value) {
  value = cell == null_word ? RaidDataModels::null_int : std::stoi(cell);
}

// SQL integers are signed 64-bit numbers. A larger number in a cell is out of range; a negative one
// becomes the unsigned number with the same bits.
inline void read_cell(const std::string& cell, unsigned long& value) {
  value =
      cell == null_word ? RaidDataModels::null_ulong : static_cast<unsigned long>(std::stoll(cell));
}

// `std::stod` for the C locale, because the host's locale may have a decimal comma, which the
// database never uses. Throws the same exceptions as `std::stod`. Preserves errno.
inline double number_of(const std::string& cell) {
  static const locale_t c_locale = newlocale(LC_ALL_MASK, "C", nullptr);
  const int errno_before = std::exchange(errno, 0);
  char* end = nullptr;
  const double value = strtod_l(cell.c_str(), &end, c_locale);
  const int failure = std::exchange(errno, errno_before);
  if (end == cell.c_str()) throw std::invalid_argument("stod");
  if (failure == ERANGE) throw std::out_of_range("stod");
  return value;
}

inline void read_cell(const std::string& cell, double& value) {
  value = cell == null_word ? RaidDataModels::null_double : number_of(cell);
}

// Copies the cell. The word NULL needs no conversion, because it is the null value of a string.
inline void read_cell(const std::string& cell, std::string& value) {
  value = cell;
}

// Splits the cell at "?" and drops empty elements. A list has no null value, so the word NULL
// becomes a list with "NULL" as its only element.
inline void read_cell(const std::string& cell, RaidDataModels::string_list& value) {
  boost::algorithm::split(value, cell, boost::algorithm::is_any_of(element_separator));
  value.erase(std::remove(value.begin(), value.end(), std::string()), value.end());
}

// Reads the cells of one row from left to right. The map's fields of each type are filled in
// sequence, so they must be in the order of the columns; their indexes are not used. Not
// thread-safe.
template <class Row>
class row_reader_t {
 public:
  // Creates a reader for one row. The map must outlive the reader.
  explicit row_reader_t(const fields_map_t<Row>& map) : m_map(map) {}

  // Sets the next field of type `kind` in `row`. Does nothing if the map has no more fields of this
  // type, or if `kind` is not a valid enumerator. If the cell cannot be converted, the exception of
  // `read_cell` propagates, the field keeps its value, and the next call continues with the field
  // after it.
  void read(column_kind_t kind, const std::string& cell, Row& row) {
    switch (kind) {
      case string_column:
        return read_into(m_map.stringFields, m_strings, cell, row);
      case list_column:
        return read_into(m_map.listFields, m_lists, cell, row);
      case int_column:
        return read_into(m_map.intFields, m_ints, cell, row);
      case ulong_column:
        return read_into(m_map.ulongFields, m_ulongs, cell, row);
      case double_column:
        return read_into(m_map.doubleFields, m_doubles, cell, row);
    }
  }

 private:
  template <class Fields>
  static void read_into(const Fields& fields, std::size_t& cursor, const std::string& cell,
                        Row& row) {
    if (cursor < fields.size()) read_cell(cell, row.*fields[cursor++].member);
  }

  const fields_map_t<Row>& m_map;
  std::size_t m_strings = 0;
  std::size_t m_lists = 0;
  std::size_t m_ints = 0;
  std::size_t m_ulongs = 0;
  std::size_t m_doubles = 0;
};

// Converts `cells` to rows. Drops an incomplete last row; if the table has no columns, returns no
// rows. Fields without a column keep their default values. Throws the same exceptions as
// `read_cell`. The columns of `table` must not be null.
template <class Row>
std::vector<Row> read_rows(const fields_map_t<Row>& map, const table_t<Row>& table,
                           const std::vector<std::string>& cells) {
  std::vector<Row> rows;
  const std::size_t width = table.columns.size();
  const std::size_t count = width == 0 ? 0 : cells.size() / width;
  for (std::size_t i = 0; i < count; ++i) {
    Row& row = rows.emplace_back();
    row_reader_t<Row> reader(map);
    for (std::size_t column = 0; column < width; ++column) {
      reader.read(table.columns[column]->kind, cells[i * width + column], row);
    }
  }
  return rows;
}

}  // namespace DatabaseORM
