// What the host says about its tables.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "models/Visibility.h"

namespace DatabaseORM {

enum column_kind_t : std::int32_t {
  string_column = 0,
  list_column = 1,
  int_column = 2,
  ulong_column = 3,
  double_column = 4
};

template <class Row>
struct column_t {
  column_kind_t kind;
  bool autoIncrement;  // the database gives the value; at most one column of a table, its key
};

// Lets tables of different row types stand in one list.
class CORVANE_API tableBase_t {
 public:
  virtual ~tableBase_t() = default;
};

// The table of one row type.
template <class Row>
class CORVANE_API table_t : public tableBase_t {
 public:
  bool foreignKeys = false;  // statements that write switch the checks of the database on
  std::string name;
  std::vector<std::shared_ptr<column_t<Row>>> columns;  // in the order of `SELECT *`
};

}  // namespace DatabaseORM
