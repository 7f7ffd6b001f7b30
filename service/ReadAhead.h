// Reading a card before the plug-in gets it.
#pragma once

#include "service/CardGuard.h"

namespace Service {

// Opens the card, reads all its values and closes it, so that the guard has values if the card
// stops responding while the plug-in reads it for the first time. Returns false if the card cannot
// be opened or does not respond. The handle must not be open, and the plug-in must not have it yet.
bool ReadAhead(const GuardedHandlePtr& handle);

}  // namespace Service
