// Tables with a row for each object.
#pragma once

#include <string>
#include <vector>

#include "console/model/Model.h"
#include "console/render/Table.h"

namespace Console {

// The names of all columns that such a table can have.
std::vector<std::string> ObjectColumnNames();

// The columns of these names. Throws `Failure` for an unknown name.
std::vector<Column> ObjectColumns(const std::vector<std::string>& names);

// What a kind of object cannot have is left blank for people, and is unknown to scripts.
Cell ObjectCell(const Model& model, const Object& object, const std::string& name, bool ascii);

}  // namespace Console
