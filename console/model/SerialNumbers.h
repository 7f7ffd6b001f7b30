// Serial numbers that do not identify a card.
#pragma once

#include <string>

#include "console/model/Model.h"

namespace Console {

// The message id of the failure for a name that several objects have.
inline constexpr const char* kAmbiguous = "AMBIGUOUS";

// Throws `Failure` if several cards have this serial number.
void RequireUniqueSerial(const Model& model, const std::string& serial);

}  // namespace Console
