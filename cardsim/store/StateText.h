// The state as JSON text and back. The file is for people too: its names are those of the
// attributes, and whatever does not fit is refused with the place where it stands.
#pragma once

#include <string>

#include "cardsim/store/JsonReading.h"
#include "cardsim/store/State.h"

namespace CardSim {

// Throws `std::runtime_error` with one line that names the place, such as
// "cards[0].serial_number: must be a text".
State ParseState(const std::string& text);
std::string FormatState(const State& state);

// Whether names, ids and device paths are each used once; throws as above.
void CheckState(const State& state);

// Gives a card's attribute the value of `text`: JSON, or a bare text or hexadecimal number where
// one is wanted. Throws `NoSuchThing` for an unknown attribute, `std::runtime_error` for a value
// outside the attribute's type.
void SetFromText(Card& card, const std::string& attribute, const std::string& text);
// Whether `json` would fit the attribute as it is; throws as above, naming `place`.
void CheckValue(const std::string& attribute, const Json& json, const std::string& place);
void CheckAttribute(const std::string& attribute);
void RemoveValue(Card& card, const std::string& attribute);
// As JSON text, or "absent".
std::string GetAsText(const Card& card, const std::string& attribute);

}  // namespace CardSim
