// Texts and colors for the health of an object.
#pragma once

#include <string>

#include "console/model/Health.h"
#include "console/render/Table.h"

namespace Console {

// Returns a status as text for people; a healthy status is in lower case.
std::string StatusText(const Value& status);

// Returns the text in the color of the severity, if the style has colors.
std::string Colored(const std::string& text, Severity severity, const Style& style);

}  // namespace Console
