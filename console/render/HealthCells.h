// The health of an object in tables.
#pragma once

#include <string>

#include "console/model/Health.h"
#include "console/render/Table.h"

namespace Console {

// A status for people: healthy ones in lower case.
std::string StatusText(const Value& status);

// The cell of a status as shown to people; scripts get the plug-in's status.
Cell StatusCell(const Health& health);

}  // namespace Console
