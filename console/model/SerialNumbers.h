// Serial numbers that do not identify a card.
#pragma once

#include <string>

#include "console/model/Model.h"

namespace Console {

// The message id of the failure for a name that several objects have.
inline constexpr const char* kAmbiguous = "AMBIGUOUS";

// Returns the card with this serial number, or null. A missing card is found only if no card that
// is present has the number. Throws `Failure` if the number does not identify a card.
const Object* CardWithSerial(const Model& model, const std::string& serial);

}  // namespace Console
