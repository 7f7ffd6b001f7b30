// Texts of limits, and sizes as vendors state them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "console/model/Model.h"
#include "console/model/Value.h"

namespace Console {

// Lists the limits of a field that the card reports, such as "warning 78, critical 85"; empty if it
// reports none.
std::string LimitsText(const Object& object, const std::string& field);

// Returns the limits of a field that the card reports, as values.
std::vector<Value> LimitValues(const Object& object, const std::string& field);

}  // namespace Console
