// Conversion of the state to JSON text and back. People edit the file, so members are named after
// the attributes, and errors are reported with their location.
#pragma once

#include <string>
#include <vector>

#include "cardsim/store/JsonReading.h"
#include "cardsim/store/State.h"

namespace CardSim {

// `ParseState` throws `std::runtime_error` with one line that starts with the location, such as
// "cards[0].serial_number: must be a string".
State ParseState(const std::string& text);
std::string FormatState(const State& state);

// Throws like `ParseState` unless all names, ids and device paths are unique.
void CheckState(const State& state);

// Sets an attribute to `text`, which is JSON, an unquoted string for a string attribute, or a
// hexadecimal number for an unsigned attribute. Setting `iom_state` also ends the card's job.
// Throws `UnknownName` for an unknown attribute, and `std::runtime_error` for a value that is not
// valid for the attribute's type.
void SetFromText(Card& card, const std::string& attribute, const std::string& text);
// Throws like `SetFromText`, naming `location`, unless `json` is a valid value of the attribute.
void CheckValue(const std::string& attribute, const Json& json, const std::string& location);
// Throws `UnknownName` for an unknown attribute.
void CheckAttribute(const std::string& attribute);
// Makes the attribute absent. Throws `UnknownName` for an unknown attribute.
void RemoveValue(Card& card, const std::string& attribute);
// Returns the value as JSON text, or "absent". Throws `UnknownName` for an unknown attribute.
std::string GetAsText(const Card& card, const std::string& attribute);

// Returns the names of all attributes, and "volumes".
std::vector<std::string> AttributeNames();
// Returns the volumes in a JSON array. Throws like `CheckValue`.
std::vector<Volume> VolumesFromJson(const Json& json, const std::string& location);
// Returns the number for a string such as "0x1003", or `json` unchanged.
Json ParseHexNumber(const Json& json);

}  // namespace CardSim
