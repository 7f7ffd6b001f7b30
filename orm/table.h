// The host's declarations of its tables. The host sets them while it builds its storage; afterwards
// they are only read, on any thread.
//
// The host creates the tables in the database, with the columns declared here.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "models/Visibility.h"

namespace DatabaseORM {

// The type of the field that a column is read into. The numbers are fixed, because hosts set them.
// A column with any other number is skipped.
enum column_kind_t : std::int32_t {
  string_column = 0,
  list_column = 1,
  int_column = 2,
  ulong_column = 3,
  double_column = 4
};

// One column. Its name is in the map of the row type.
template <class Row>
struct column_t {
  column_kind_t kind;  // must match the type of the field
  bool autoIncrement;  // the database assigns the value; only the key of a table may have it
};

// The base class of tables, so that one list can contain tables of different row types.
class CORVANE_API tableBase_t {
 public:
  virtual ~tableBase_t() = default;
};

// The table of one row type. Its columns must not be null.
template <class Row>
class CORVANE_API table_t : public tableBase_t {
 public:
  bool foreignKeys = false;  // whether statements that write enable foreign key checks
  std::string name;          // the name in the database; not quoted in statements
  std::vector<std::shared_ptr<column_t<Row>>> columns;  // in the order of `SELECT *`
};

}  // namespace DatabaseORM
