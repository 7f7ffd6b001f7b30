// Object names as users type them.
#pragma once

#include <string>

#include "console/model/Model.h"

namespace Console {

// The one object that `text` names, as for `Select`, or null for none. Throws `Failure` for more
// than one.
const Object* FindObject(const Model& model, const std::string& text);

// The one object that `text` names: a selector, a serial number, a name, pci:ADDRESS, a control
// device or an object id. Throws `Failure` if there is none, or more than one; the failure then
// lists them.
const Object& Select(const Model& model, const std::string& text);

}  // namespace Console
