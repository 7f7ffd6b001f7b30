// What the host declares about its tables. Written while the host builds its storage, then only
// read, by any thread.
//
// This layer does not create tables: the host does, with columns as declared here.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "models/Visibility.h"

namespace DatabaseORM {

// How the cells of a column are read: as the field of the row type that has that kind, in order.
// The numbers are fixed, because hosts set them. A column with any other number is skipped.
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
  column_kind_t kind;  // must be that of the field
  bool autoIncrement;  // the database assigns the value; at most one column of a table, its key
};

// Allows tables of different row types in one list.
class CORVANE_API tableBase_t {
 public:
  virtual ~tableBase_t() = default;
};

// The table of one row type. Shares the ownership of its columns, none of which may be null.
template <class Row>
class CORVANE_API table_t : public tableBase_t {
 public:
  bool foreignKeys = false;  // statements that write switch the checks of foreign keys on
  std::string name;          // as in the database; written into statements without quotes
  std::vector<std::shared_ptr<column_t<Row>>> columns;  // in the order of `SELECT *`
};

}  // namespace DatabaseORM
