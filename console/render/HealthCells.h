// The health of an object in tables.
#pragma once

#include <string>

#include "console/model/Health.h"
#include "console/render/Table.h"

namespace Console {

// A status for people: what is well needs no shouting.
std::string StatusText(const Value& status);

// The cell of a status as people are told it; scripts keep the plug-in's.
Cell StatusCell(const Health& health);

}  // namespace Console
