// The text of `show`: the properties of an object in groups, with bars.
#pragma once

#include <string>

#include "console/base/Output.h"
#include "console/model/Model.h"
#include "console/render/Table.h"

namespace Console {

// Returns the rows of a table of names and values in groups, with a heading for each group that has
// rows. A value with a limit is followed by a bar and the limits. Lines are broken at the style's
// width.
std::string GroupedText(const Object& object, const Table& table, const Style& style);

}  // namespace Console
