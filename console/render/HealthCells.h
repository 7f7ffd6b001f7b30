// Table cells for the health of an object.
#pragma once

#include <string>

#include "console/model/Health.h"
#include "console/render/Table.h"

namespace Console {

// Returns a status as text for people; a healthy status is in lower case.
std::string StatusText(const Value& status);

// Returns a cell with the displayed status for people and the plug-in's status for scripts.
Cell StatusCell(const Health& health);

}  // namespace Console
