// Tables with one row per object.
#pragma once

#include <string>
#include <vector>

#include "console/model/Model.h"
#include "console/render/Table.h"

namespace Console {

// Returns a cell with a list; "-" if it is empty. People get spaces after the commas, at which long
// lists are wrapped.
Cell ListCell(const std::vector<std::string>& texts);

// Returns the names of all columns that such a table can have.
std::vector<std::string> ObjectColumnNames();

// Returns the columns with these names. Throws `Failure` for an unknown name.
std::vector<Column> ObjectColumns(const std::vector<std::string>& names);

// Returns the cell of an object in the column `name`. If the object's kind does not have the
// column, the cell is blank for people and "-" for scripts.
Cell ObjectCell(const Object& object, const std::string& name, bool ascii);

}  // namespace Console
