// The state as JSON text and back. People edit the file: names are those of the attributes, and
// anything invalid is reported with its place.
#pragma once

#include <string>
#include <vector>

#include "cardsim/store/JsonReading.h"
#include "cardsim/store/State.h"

namespace CardSim {

// Throws `std::runtime_error` with one line that names the place, such as
// "cards[0].serial_number: must be a string".
State ParseState(const std::string& text);
std::string FormatState(const State& state);

// Throws as above unless names, ids and device paths are each used once.
void CheckState(const State& state);

// Sets an attribute to `text`: JSON, or for string and unsigned attributes an unquoted string or a
// hexadecimal number. Throws `NoSuchThing` for an unknown attribute, `std::runtime_error` for a
// value that its type does not have.
void SetFromText(Card& card, const std::string& attribute, const std::string& text);
// Throws as above, naming `place`, unless `json` is a valid value of the attribute.
void CheckValue(const std::string& attribute, const Json& json, const std::string& place);
// Throws `NoSuchThing` for an unknown attribute.
void CheckAttribute(const std::string& attribute);
// Makes the attribute absent; throws `NoSuchThing`.
void RemoveValue(Card& card, const std::string& attribute);
// The value as JSON text, or "absent"; throws `NoSuchThing`.
std::string GetAsText(const Card& card, const std::string& attribute);

// The names of all attributes, and "volumes".
std::vector<std::string> AttributeNames();
// The storage units of a card; throws as `CheckValue`.
std::vector<Volume> VolumesFromJson(const Json& json, const std::string& place);
// The number that a text such as "0x1003" means, or `json` as it is.
Json WithHexNumber(const Json& json);

}  // namespace CardSim
