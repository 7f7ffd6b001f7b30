// Measured numbers as text for people.
#pragma once

#include <string>
#include <vector>

#include "console/model/Value.h"

namespace Console {

// Returns a number in its base unit as text: "48 °C", "97 %", "1.5 W". `decimals` are added to
// those that values of this kind always have.
std::string NumberText(double number, ValueKind kind, bool ascii, int decimals);

// Returns `HumanText` with as many decimals as it takes to differ from the limits: "78.4 °C" if a
// limit is 78 °C. A value that equals a limit has the same text.
std::string TextApartFrom(const std::vector<Value>& limits, const Value& value, bool ascii);

}  // namespace Console
