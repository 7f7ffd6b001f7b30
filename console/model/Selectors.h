// Object names as users type them.
#pragma once

#include <string>
#include <vector>

#include "console/model/Model.h"

namespace Console {

// The name of all objects that a command applies to.
inline constexpr const char* kAllObjects = "all";

// Returns the object that `text` names: a selector, a serial number, a name, a unique id, a control
// device, an object id, a PCI address with or without "pci:", or "slot:" and the number of a slot.
// Throws `Failure` if no object or more than one object matches.
const Object& Select(const Model& model, const std::string& text);
// Returns the object, which `text` names, for a change. Throws `Failure` if the card is missing, or
// if it cannot be read and the plug-in does not report it.
const Object& RequireReported(const Object& object, const std::string& text);
// Like `Select`, for a change. Also throws `Failure` if the card is missing, or if it cannot be
// read and the plug-in does not report it.
const Object& SelectReported(const Model& model, const std::string& text);

// Like `Select`, but returns null if no object matches.
const Object* FindObject(const Model& model, const std::string& text);

// Like `Select`, for a command that needs an object of this kind: the name of a card with exactly
// one drive also names that drive, and a name that a card shares with its drive is not ambiguous.
// Returns an object of another kind if `text` names only that.
const Object& SelectKind(const Model& model, const std::string& text, Kind kind);

// Returns all names by which `Select` finds the object, the selector first. A name may be that of
// several objects.
std::vector<std::string> NamesOf(const Object& object);

}  // namespace Console
