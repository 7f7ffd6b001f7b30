// Object names as users type them.
#pragma once

#include <string>

#include "console/model/Model.h"

namespace Console {

// Returns the object that `text` names: a selector, a serial number, a name, pci:ADDRESS, a control
// device or an object id. Throws `Failure` if no object or more than one object matches.
const Object& Select(const Model& model, const std::string& text);
// Like `Select`, for a change. Also throws `Failure` if the card is missing, or if it cannot be read
// and the plug-in does not report it.
const Object& SelectReported(const Model& model, const std::string& text);

// Like `Select`, but returns null if no object matches.
const Object* FindObject(const Model& model, const std::string& text);

}  // namespace Console
