// Names of cards for what is kept outside this program: time series and graphs.
#pragma once

#include <map>
#include <string>

#include "console/model/Model.h"

namespace Console {

// Makes a text fit for where the name goes.
using Sanitizer = std::string (*)(const std::string&);

// A unique name for each adapter: its serial number, which does not depend on its slot; if that is
// missing or not unique, its PCI address as a selector; else its selector.
std::map<const Object*, std::string> CardNames(const Model& model, Sanitizer sanitize);

}  // namespace Console
