// Names of cards for time series and graphs, which are stored outside this program.
#pragma once

#include <map>
#include <string>

#include "console/model/Model.h"

namespace Console {

// Replaces the characters that the destination of a name does not allow.
using Sanitizer = std::string (*)(const std::string&);

// Returns a unique name for each adapter: its serial number, which does not depend on the slot; if
// that is missing or not unique, "pci:" and its PCI address; otherwise its selector.
std::map<const Object*, std::string> CardNames(const Model& model, Sanitizer sanitize);

}  // namespace Console
