// Table cells for the health of an object.
#pragma once

#include <string>

#include "console/model/Health.h"
#include "console/render/Table.h"

namespace Console {

// Returns a status as text for people; a healthy status is in lower case.
std::string StatusText(const Value& status);

}  // namespace Console
